// A master's reading of the slave's extended lines. It understands little: the greeting, the
// progress figure, favourites and messages. Everything else is ignored without a word.

#include "device/main_app.h"
#include "platform/boundary.h"
#include "platform/text.h"

namespace velto {

void MainApp::extendedResponse(const QString& text) {
    // The colon is tested first: a message holding one is lost here, unlike on a slave.
    qsizetype cut = text.indexOf(QLatin1Char(':'));
    if (cut < 0) cut = text.indexOf(QLatin1Char('='));
    const QString key = cut < 0 ? text : text.left(cut);
    const QString value = cut < 0 ? QString() : text.mid(cut + 1);

    if (same(key, QStringLiteral("status"))) {
        if (same(Left(value, 4), QStringLiteral("type"))) {
            advancedRemote = true;
            sendRemoteData(QStringLiteral(";getfavs"));
        } else if (same(Left(value, 7), QStringLiteral("percent"))) {
            const qsizetype eq = value.indexOf(QLatin1Char('='));
            const QString figure = eq < 0 ? QString() : value.mid(eq + 1);
            if (same(figure, QStringLiteral("DONE")) || figure == QLatin1String("100")) {
                tickCounter.setText(QStringLiteral("DONE"));
                manualControl = true;
            } else {
                tickCounter.setText(figure + QLatin1Char('%'));
            }
        }
    } else if (same(key, QStringLiteral("fav"))) {
        const QStringList items = value.split(QLatin1Char(','));
        logIf(QStringLiteral("Added remote favourite to list"));
        // Short rows fail at the first missing item, as far as they got.
        const int row = favsList.addRow({at(items, 0), at(items, 1), at(items, 2), at(items, 3)});
        favsList.setCellCheck(row, 4, at(items, 4) == QLatin1String("1"));
        for (int c = 5; c <= 10; ++c) favsList.setCell(row, c, at(items, c));
        favsList.setRowTag(row, QStringLiteral("remote"));
        favsList.setCellItalic(row, 0, true);
    } else if (same(key, QStringLiteral("msg"))) {
        showMessage(value);
    }
}

}  // namespace velto
