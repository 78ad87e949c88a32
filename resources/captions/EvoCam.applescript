-- Sets the status caption of a camera in EvoCam: osascript EvoCam.scpt <text> <camera>
--
-- The scripting terms of EvoCam come from its own dictionary, which we could not consult: the
-- ones below are our best reading of it. Check them against the dictionary (File > Open
-- Dictionary in Script Editor) if a caption does not show.
--
-- The inner script is compiled when it runs, against the installed EvoCam, so that compiling
-- this file at build time does not need EvoCam on the build machine.

on run argv
	set captionText to item 1 of argv
	set cameraName to item 2 of argv
	run script "on run {captionText, cameraName}
	tell application \"EvoCam\"
		tell camera cameraName
			if not (exists caption \"Status\") then make new caption with properties {name:\"Status\"}
			set text of caption \"Status\" to captionText
			set visible of caption \"Status\" to true
		end tell
	end tell
end run" with parameters {captionText, cameraName}
end run
