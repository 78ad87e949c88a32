#include "platform/headless_dialogs.h"

namespace velto {

void HeadlessDialogs::print(const QString& text) {
    // One line per message, whatever line ends the text holds.
    QString line = text;
    line.replace(QLatin1String("\r\n"), QLatin1String(" ")).replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\r'), QLatin1Char(' '));
    std::fprintf(out_, "message: %s\n", line.toUtf8().constData());
    std::fflush(out_);
}

}  // namespace velto
