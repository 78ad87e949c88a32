#pragma once
// The command line: additions for headless use and testing. Without options the program
// behaves as designed.

#include <QString>
#include <QStringList>
#include <optional>

namespace velto {

struct CommandLine {
    bool headless = false;
    std::optional<QString> prefs;
    bool connect = false;
    bool log = false;
    bool logSerial = false;
    std::optional<QString> broadcast;
    bool version = false;
    bool help = false;
    /// Set when the line could not be understood; the text says why.
    QString error;

    static CommandLine parse(const QStringList& arguments);
    static QString usage();
};

}  // namespace velto
