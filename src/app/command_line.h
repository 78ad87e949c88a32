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
    /// The one address a slave listens on (all of the machine's when not given).
    std::optional<QString> listen;
    /// The brokering service, HOST[:PORT] (the port 37846 when none is given).
    std::optional<QString> broker;
    /// The connect service, HOST[:PORT] (the port 57846 when none is given).
    std::optional<QString> connectService;
    /// A Connect Key or link, entered as in the connect window once start-up has finished.
    std::optional<QString> connectKey;
    /// The update service, https://HOST[:PORT].
    std::optional<QString> updateUrl;
    /// A PEM file of CA certificates trusted besides the system's.
    std::optional<QString> caFile;
    /// Check for an update and exit, with no window, no box and no start-up files.
    bool checkUpdate = false;
    bool version = false;
    bool help = false;
    /// Set when the line could not be understood; the text says why.
    QString error;

    static CommandLine parse(const QStringList& arguments);
    /// Host and port of HOST[:PORT], or nothing when it names no host or no valid port.
    static std::optional<std::pair<QString, int>> hostPort(const QString& text, int defaultPort);
    static QString usage();
};

}  // namespace velto
