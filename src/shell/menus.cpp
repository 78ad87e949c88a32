#include "shell/menus.h"

namespace velto {

MenuBar::MenuBar() {
    menus = {
        {QStringLiteral("FileMenu"), QStringLiteral("&File"),
         {&FileNewmessage, &UntitledSeparator, &openFavs, &saveAll, &SaveAs, &UntitledSeparator0,
          &activityToggle, &FileCheckforupdate, &FileQuit, &prefsMenu, &aboutMenu}},
        {QStringLiteral("EditMenu"), QStringLiteral("&Edit"),
         {&EditUndo, &UntitledMenu1, &EditCut, &EditCopy, &EditPaste, &EditClear, &UntitledMenu0,
          &EditSelectAll}},
        {QStringLiteral("VeltoBroker"), QStringLiteral("VeltoBroker"),
         {&vbConnect, &vbQuit, &vbRequest, &vbDisconnect, &vbBlock, &vbManager, &aboutVB}},
        {QStringLiteral("connectMenu"), QStringLiteral("Connect"), {&veltoConnect, &disconnect}},
        {QStringLiteral("storeMenu"), QStringLiteral("velto store"), {&openStore}},
    };
    // Until the broker says otherwise, only connecting to it makes sense.
    for (MenuEntry* item : {&vbQuit, &vbRequest, &vbDisconnect, &vbBlock}) item->setEnabled(false);
}

QString platformShortcut(const QString& shortcut) {
    // Qt's "Ctrl" is the Command key on macOS and Control elsewhere.
    QString s = shortcut;
    return s.replace(QLatin1String("Cmd"), QLatin1String("Ctrl"));
}

}  // namespace velto
