#pragma once
// The brokering service's sessions. A client is greeted with ";info:", logs in with
// ";register=", lists the others, asks one of them for a link, and once the asked user accepts
// the two are linked: every line that isn't a service command then goes to the peer as it
// came, with CR LF. Commands end in CR, LF or CR LF; lines to clients end in CR LF.

#include <QByteArray>
#include <QString>
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "broker/failure_limit.h"
#include "broker/seams.h"
#include "broker/users.h"

namespace velto::broker {

class Broker {
public:
    static constexpr qint64 kLoginDeadlineMs = 10'000;
    /// A request the asked user doesn't answer in this time is given up with ";busy".
    static constexpr qint64 kRequestTimeoutMs = 60'000;
    static constexpr qsizetype kMaxLine = 4096;
    static constexpr qint64 kMaxUnsent = 1 << 20;
    /// Failed logins: 5 from an address, then one a minute; 10 for an identity, then one
    /// every 5 minutes.
    static constexpr int kAddressBurst = 5;
    static constexpr qint64 kAddressIntervalMs = 60'000;
    static constexpr int kUserBurst = 10;
    static constexpr qint64 kUserIntervalMs = 300'000;

    /// `users` gives the users at each login, so a changed file counts at once.
    Broker(Clock& clock, PinCheck& pins, std::function<const Users&()> users);
    ~Broker();
    Broker(const Broker&) = delete;
    Broker& operator=(const Broker&) = delete;

    /// A new client, from `address` (the key of its failed-login limit). Returns its id.
    quint64 accept(std::unique_ptr<Connection> connection, const QByteArray& address);
    void received(quint64 id, const QByteArray& bytes);
    /// The client's connection went down.
    void dropped(quint64 id);
    /// ";broadcast:" `text` to every user logged in; returns how many.
    int broadcast(const QByteArray& text);
    /// Ends every connection, telling linked users their link is lost, as the service stops.
    void closeAll();

    qsizetype connections() const { return static_cast<qsizetype>(sessions_.size()); }
    qsizetype usersOnline() const { return static_cast<qsizetype>(online_.size()); }
    qsizetype linkedPairs() const { return linked_ / 2; }

    /// One line for the operator per login, failure, link and departure.
    std::function<void(const QString&)> log;

private:
    struct Session;
    struct Entry;
    enum class Close { Flush, Abort };

    Session* find(quint64 id) const;
    void take(Session& s, const QByteArray& line);
    bool command(Session& s, const QByteArray& line);
    void login(Session& s, const QByteArray& fields);
    void loginChecked(quint64 id, bool matches, const QByteArray& name, const QByteArray& profile);
    void listUsers(Session& s);
    void request(Session& s, const QByteArray& name);
    void answer(Session& s, const QByteArray& name, bool accepted);
    void chat(Session& s, const QByteArray& fields);
    void link(Session& requester, Session& asked);
    void unlink(Session& s);
    void withdraw(Session& requester);
    void send(Session& s, const QByteArray& line);
    void finish(Session& s, Close how);
    void reap();
    void note(const QString& text);

    Clock& clock_;
    PinCheck& pins_;
    std::function<const Users&()> users_;
    Credential decoy_;
    FailureLimit addressLimit_{kAddressBurst, kAddressIntervalMs};
    FailureLimit userLimit_{kUserBurst, kUserIntervalMs};
    quint64 nextId_ = 1;
    std::unordered_map<quint64, std::unique_ptr<Session>> sessions_;
    std::map<QByteArray, Session*> online_;  // by lower-case identity
    qsizetype linked_ = 0;
    std::vector<quint64> finished_;
    int depth_ = 0;
};

}  // namespace velto::broker
