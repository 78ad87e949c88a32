#pragma once
// The menu bar: every item a model with its caption, shortcut and enablement. Items marked
// manual are enabled by code alone; the others are on whenever a handler exists.

#include <vector>

#include "platform/controls.h"

namespace velto {

class MenuEntry : public MenuItem {
public:
    MenuEntry(QString name, QString caption, QString shortcut = {}, bool manual = false)
        : MenuItem(std::move(name), std::move(caption), std::move(shortcut)), manual_(manual) {}
    bool manual() const { return manual_; }
    bool separator() const { return caption() == QLatin1String("-"); }

private:
    bool manual_;
};

struct Menu {
    QString name;
    QString caption;
    std::vector<MenuEntry*> items;
};

struct MenuBar {
    MenuBar();
    MenuBar(const MenuBar&) = delete;
    MenuBar& operator=(const MenuBar&) = delete;

    MenuEntry FileNewmessage{QStringLiteral("FileNewmessage"), QStringLiteral("New message"), QStringLiteral("Cmd+N")};
    MenuEntry UntitledSeparator{QStringLiteral("UntitledSeparator"), QStringLiteral("-")};
    MenuEntry openFavs{QStringLiteral("openFavs"), QStringLiteral("Open"), QStringLiteral("Cmd+O")};
    MenuEntry saveAll{QStringLiteral("saveAll"), QStringLiteral("Save"), QStringLiteral("Cmd+S")};
    MenuEntry SaveAs{QStringLiteral("SaveAs"), QString::fromUtf8("Save As\u2026"), QStringLiteral("Cmd+Shift+S")};
    MenuEntry UntitledSeparator0{QStringLiteral("UntitledSeparator0"), QStringLiteral("-")};
    MenuEntry activityToggle{QStringLiteral("activityToggle"), QStringLiteral("Activity"), QStringLiteral("Cmd+0")};
    MenuEntry FileCheckforupdate{QStringLiteral("FileCheckforupdate"), QStringLiteral("Check for update")};
    MenuEntry FileQuit{QStringLiteral("FileQuit"), QStringLiteral("&Quit"), QStringLiteral("Cmd+Q")};
    MenuEntry prefsMenu{QStringLiteral("prefsMenu"), QStringLiteral("Preferences")};
    MenuEntry aboutMenu{QStringLiteral("aboutMenu"), QStringLiteral("About ...")};

    MenuEntry EditUndo{QStringLiteral("EditUndo"), QStringLiteral("&Undo"), QStringLiteral("Cmd+Z")};
    MenuEntry UntitledMenu1{QStringLiteral("UntitledMenu1"), QStringLiteral("-")};
    MenuEntry EditCut{QStringLiteral("EditCut"), QStringLiteral("Cu&t"), QStringLiteral("Cmd+X")};
    MenuEntry EditCopy{QStringLiteral("EditCopy"), QStringLiteral("&Copy"), QStringLiteral("Cmd+C")};
    MenuEntry EditPaste{QStringLiteral("EditPaste"), QStringLiteral("&Paste"), QStringLiteral("Cmd+V")};
    MenuEntry EditClear{QStringLiteral("EditClear"), QStringLiteral("&Delete")};
    MenuEntry UntitledMenu0{QStringLiteral("UntitledMenu0"), QStringLiteral("-")};
    MenuEntry EditSelectAll{QStringLiteral("EditSelectAll"), QStringLiteral("Select &All"), QStringLiteral("Cmd+A")};

    MenuEntry vbConnect{QStringLiteral("vbConnect"), QStringLiteral("Connect to server"), QStringLiteral("Cmd+L"), true};
    MenuEntry vbQuit{QStringLiteral("vbQuit"), QStringLiteral("Disconnect server"), QStringLiteral("Cmd+Shift+L"), true};
    MenuEntry vbRequest{QStringLiteral("vbRequest"), QStringLiteral("Request user list"), QStringLiteral("Cmd+R"), true};
    MenuEntry vbDisconnect{QStringLiteral("vbDisconnect"), QStringLiteral("Terminate control"), QStringLiteral("Cmd+T"), true};
    MenuEntry vbBlock{QStringLiteral("vbBlock"), QStringLiteral("Terminate && block"), QStringLiteral("Cmd+Shift+T"), true};
    MenuEntry vbManager{QStringLiteral("vbManager"), QStringLiteral("Users && profile"), QStringLiteral("Cmd+U")};
    MenuEntry aboutVB{QStringLiteral("aboutVB"), QStringLiteral("About...")};

    MenuEntry veltoConnect{QStringLiteral("veltoConnect"), QStringLiteral("Velto Connect"), QStringLiteral("Cmd+E")};
    MenuEntry disconnect{QStringLiteral("disconnect"), QStringLiteral("Disconnect"), QStringLiteral("Cmd+D")};

    MenuEntry openStore{QStringLiteral("openStore"), QStringLiteral("Open store")};

    /// The VeltoBroker menu as a whole: off for good once a connect session has begun.
    Control VeltoBroker{QStringLiteral("VeltoBroker")};

    /// The menus in order, with their items in order.
    std::vector<Menu> menus;
    /// The items that the platform moves into the application menu.
    std::vector<MenuEntry*> applicationItems() { return {&FileCheckforupdate, &prefsMenu, &aboutMenu}; }
};

/// A shortcut as Qt reads it: "Cmd" becomes "Ctrl", which Qt puts on Command on macOS and on
/// Control elsewhere. Captions need no change: "&&" and "&x" mean the same to Qt.
QString platformShortcut(const QString& shortcut);

}  // namespace velto
