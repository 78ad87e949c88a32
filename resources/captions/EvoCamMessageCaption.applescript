-- Sets the message caption of a camera in EvoCam, or removes it when the text is empty:
-- osascript EvoCamMessageCaption.scpt <text> <camera>
--
-- The scripting terms of EvoCam come from its own dictionary, which we could not consult: the
-- ones below are our best reading of it. Check them against the dictionary (File > Open
-- Dictionary in Script Editor) if a message does not show or does not go.
--
-- The inner script is compiled when it runs, against the installed EvoCam, so that compiling
-- this file at build time does not need EvoCam on the build machine.

on run argv
	set captionText to item 1 of argv
	set cameraName to item 2 of argv
	run script "on run {captionText, cameraName}
	tell application \"EvoCam\"
		tell camera cameraName
			if captionText is \"\" then
				if exists caption \"Message\" then delete caption \"Message\"
			else
				if not (exists caption \"Message\") then make new caption with properties {name:\"Message\"}
				set text of caption \"Message\" to captionText
				set visible of caption \"Message\" to true
			end if
		end tell
	end tell
end run" with parameters {captionText, cameraName}
end run
