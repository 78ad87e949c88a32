#include "broker/broker.h"

#include <QList>
#include <utility>

namespace velto::broker {

namespace {

const QByteArray kGreeting = QByteArrayLiteral(";info:velto-broker " VELTO_VERSION);

char lower(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

/// The line's start, ignoring letter case as the client's prefixes do.
bool begins(const QByteArray& line, QByteArrayView prefix) {
    if (line.size() < prefix.size()) return false;
    for (qsizetype i = 0; i < prefix.size(); ++i)
        if (lower(line[i]) != prefix[i]) return false;
    return true;
}

/// The whole line, give or take white space, ignoring letter case.
bool is(const QByteArray& line, QByteArrayView word) {
    const QByteArray t = line.trimmed();
    return t.size() == word.size() && begins(t, word);
}

/// Client text for the operator's log, with no control characters to play tricks there.
QString text(const QByteArray& bytes) {
    QByteArray shown = bytes;
    for (char& c : shown)
        if (static_cast<unsigned char>(c) < ' ' || c == 0x7f) c = '?';
    return QString::fromUtf8(shown);
}

}  // namespace

struct Broker::Session {
    enum class State { Greeted, Checking, LoggedIn };

    quint64 id = 0;
    std::unique_ptr<Connection> connection;
    QByteArray address;
    State state = State::Greeted;
    QByteArray name;  // as in the users file
    QByteArray key;   // lower case
    QByteArray profile;

    Session* peer = nullptr;     // linked with
    Session* asking = nullptr;   // this one's open request
    Session* askedBy = nullptr;  // the request open at this one
    TimerId deadline = 0;        // for the login
    TimerId requestTimer = 0;    // for `asking`

    QByteArray partial;  // a line not ended yet
    bool afterCR = false;
    QList<QByteArray> held;  // lines that came while the PIN was checked
    qsizetype heldBytes = 0;
    bool finished = false;
};

/// Each way in from outside holds one; sessions that finished meanwhile are destroyed when the
/// outermost lets go, so no handler is ever left holding a dead one.
struct Broker::Entry {
    explicit Entry(Broker& b) : broker(b) { ++broker.depth_; }
    ~Entry() {
        if (--broker.depth_ == 0) broker.reap();
    }
    Broker& broker;
};

Broker::Broker(Clock& clock, PinCheck& pins, std::function<const Users&()> users)
    : clock_(clock), pins_(pins), users_(std::move(users)),
      decoy_(Credential::make(QByteArrayLiteral("decoy"))) {}

Broker::~Broker() {
    for (auto& [id, s] : sessions_) {
        clock_.cancel(s->deadline);
        clock_.cancel(s->requestTimer);
    }
}

Broker::Session* Broker::find(quint64 id) const {
    const auto it = sessions_.find(id);
    return it == sessions_.end() || it->second->finished ? nullptr : it->second.get();
}

quint64 Broker::accept(std::unique_ptr<Connection> connection, const QByteArray& address) {
    Entry entry(*this);
    const quint64 id = nextId_++;
    auto session = std::make_unique<Session>();
    Session& s = *session;
    s.id = id;
    s.connection = std::move(connection);
    s.address = address;
    sessions_.emplace(id, std::move(session));
    s.deadline = clock_.after(kLoginDeadlineMs, [this, id] {
        Entry entry(*this);
        if (Session* late = find(id)) {
            late->deadline = 0;
            send(*late, QByteArrayLiteral(";failed - no login within 10 seconds"));
            finish(*late, Close::Flush);
        }
    });
    send(s, kGreeting);
    return id;
}

void Broker::received(quint64 id, const QByteArray& bytes) {
    Entry entry(*this);
    Session* s = find(id);
    const char* p = bytes.constData();
    const char* const end = p + bytes.size();
    while (s && !s->finished && p < end) {
        // CR LF is one line end, even when a read ends between the two.
        if (std::exchange(s->afterCR, false) && *p == '\n') {
            ++p;
            continue;
        }
        const char* e = p;
        while (e < end && *e != '\r' && *e != '\n') ++e;
        if (s->partial.size() + (e - p) > kMaxLine) {
            note(QStringLiteral("line over 4 KiB from %1; closed").arg(text(s->address)));
            send(*s, QByteArrayLiteral(";error:Line too long"));
            finish(*s, Close::Flush);
            return;
        }
        if (e == end) {
            s->partial.append(p, e - p);
            return;
        }
        QByteArray line = std::exchange(s->partial, {});
        line.append(p, e - p);
        s->afterCR = *e == '\r';
        p = e + 1;
        take(*s, line);
    }
}

void Broker::dropped(quint64 id) {
    Entry entry(*this);
    if (Session* s = find(id)) finish(*s, Close::Abort);
}

int Broker::broadcast(const QByteArray& message) {
    Entry entry(*this);
    QByteArray line = QByteArrayLiteral(";broadcast:") + message;
    line.replace('\r', ' ').replace('\n', ' ');
    std::vector<Session*> all;
    for (const auto& [key, s] : online_) all.push_back(s);
    for (Session* s : all) send(*s, line);
    note(QStringLiteral("broadcast to %1 users: %2").arg(all.size()).arg(text(message)));
    return int(all.size());
}

void Broker::closeAll() {
    Entry entry(*this);
    for (const auto& [id, s] : sessions_) {
        if (!s->peer) continue;
        unlink(*s);  // tells the peer
        send(*s, QByteArrayLiteral(";disconnected"));
    }
    for (const auto& [id, s] : sessions_) finish(*s, Close::Flush);
}

void Broker::take(Session& s, const QByteArray& line) {
    if (s.state == Session::State::Checking) {
        // The login's answer is on its way; what comes meanwhile waits for it.
        s.heldBytes += line.size();
        if (s.heldBytes > kMaxLine) {
            finish(s, Close::Abort);
            return;
        }
        s.held.append(line);
        return;
    }
    if (line.startsWith(';') && command(s, line)) return;
    if (s.state != Session::State::LoggedIn) {
        if (!line.trimmed().isEmpty()) send(s, QByteArrayLiteral(";error:Log in first"));
        return;
    }
    if (s.peer) send(*s.peer, line);
}

bool Broker::command(Session& s, const QByteArray& line) {
    const bool loggedIn = s.state == Session::State::LoggedIn;
    if (begins(line, ";register=")) {
        if (loggedIn)
            send(s, QByteArrayLiteral(";error:Already logged in"));
        else
            login(s, line.mid(10));
        return true;
    }
    // Whole-line commands are matched whole, so a peer line that merely begins like one
    // still reaches the peer.
    enum { Users, End, Quit, Connect, Accept, Reject, Chat, None } which = None;
    if (is(line, ";users")) which = Users;
    else if (is(line, ";end")) which = End;
    else if (is(line, ";quit")) which = Quit;
    else if (begins(line, ";connect=")) which = Connect;
    else if (begins(line, ";accept=")) which = Accept;
    else if (begins(line, ";reject=")) which = Reject;
    else if (begins(line, ";chat=")) which = Chat;
    if (which == None) return false;
    if (!loggedIn) {
        send(s, QByteArrayLiteral(";error:Log in first"));
        return true;
    }
    switch (which) {
        case Users: listUsers(s); break;
        case End:
            unlink(s);
            withdraw(s);
            break;
        case Quit: finish(s, Close::Flush); break;
        case Connect: request(s, line.mid(9).trimmed()); break;
        case Accept: answer(s, line.mid(8).trimmed(), true); break;
        case Reject: answer(s, line.mid(8).trimmed(), false); break;
        case Chat: chat(s, line.mid(6)); break;
        case None: break;
    }
    return true;
}

void Broker::login(Session& s, const QByteArray& fields) {
    const QList<QByteArray> f = fields.split(';');
    const QByteArray name = f.value(0).trimmed();
    const QByteArray pin = f.value(1).trimmed();
    // The client's protocol marker, ";v2;", stands between the PIN and the profile.
    const qsizetype from = f.size() > 2 && is(f[2], "v2") ? 3 : 2;
    const QByteArray profile = f.mid(from).join(';');

    const qint64 now = clock_.nowMs();
    if (!addressLimit_.allows(s.address, now) || !userLimit_.allows(name.toLower(), now)) {
        note(QStringLiteral("login of %1 from %2 refused: too many failures")
                 .arg(text(name), text(s.address)));
        send(s, QByteArrayLiteral(";failed - too many failed logins; try again later"));
        finish(s, Close::Flush);
        return;
    }
    const Users::User* user = users_().find(name);
    s.state = Session::State::Checking;
    const quint64 id = s.id;
    const bool known = user != nullptr;
    const QByteArray canonical = known ? user->id : name;
    // An unknown identity costs as much as a wrong PIN: the time taken doesn't tell them apart.
    pins_.check(known ? user->credential : decoy_, pin,
                [this, id, known, canonical, profile](bool matches) {
                    loginChecked(id, known && matches, canonical, profile);
                });
}

void Broker::loginChecked(quint64 id, bool matches, const QByteArray& name,
                          const QByteArray& profile) {
    Entry entry(*this);
    Session* s = find(id);
    if (!s) return;
    const QByteArray key = name.toLower();
    if (!matches) {
        const qint64 now = clock_.nowMs();
        addressLimit_.fail(s->address, now);
        userLimit_.fail(key, now);
        note(QStringLiteral("failed login of %1 from %2").arg(text(name), text(s->address)));
        send(*s, QByteArrayLiteral(";failed - unknown user or wrong PIN"));
        finish(*s, Close::Flush);
        return;
    }
    clock_.cancel(std::exchange(s->deadline, 0));
    // One session per user: the newer login wins.
    if (const auto it = online_.find(key); it != online_.end()) {
        send(*it->second, QByteArrayLiteral(";error:Logged in again elsewhere"));
        finish(*it->second, Close::Flush);
    }
    s->state = Session::State::LoggedIn;
    s->name = name;
    s->key = key;
    s->profile = profile;
    online_[key] = s;
    note(QStringLiteral("%1 logged in from %2").arg(text(name), text(s->address)));
    send(*s, QByteArrayLiteral(";registered:") + name);
    const QList<QByteArray> held = std::exchange(s->held, {});
    s->heldBytes = 0;
    for (const QByteArray& line : held) {
        if (s->finished) break;
        take(*s, line);
    }
}

void Broker::listUsers(Session& s) {
    int others = 0;
    for (const auto& [key, other] : online_) {
        if (other == &s) continue;
        send(s, QByteArrayLiteral(";user:") + other->name + ';' + other->profile);
        ++others;
    }
    send(s, QByteArrayLiteral(";total:") + QByteArray::number(others));
}

void Broker::request(Session& s, const QByteArray& name) {
    if (s.peer) {
        send(s, QByteArrayLiteral(";error:End the present link first"));
        return;
    }
    const auto it = online_.find(name.toLower());
    Session* asked = it == online_.end() ? nullptr : it->second;
    if (!asked || asked == &s) {
        send(s, QByteArrayLiteral(";unavailable"));
        return;
    }
    if (asked->askedBy == &s) return;  // asked already: the answer is to come
    if (asked->peer || asked->askedBy) {
        send(s, QByteArrayLiteral(";busy"));
        return;
    }
    withdraw(s);
    s.asking = asked;
    asked->askedBy = &s;
    const quint64 id = s.id;
    s.requestTimer = clock_.after(kRequestTimeoutMs, [this, id] {
        Entry entry(*this);
        if (Session* requester = find(id)) {
            requester->requestTimer = 0;
            withdraw(*requester);
            send(*requester, QByteArrayLiteral(";busy"));
        }
    });
    send(*asked, QByteArrayLiteral(";connect=") + s.name + ';' + s.profile);
}

void Broker::answer(Session& s, const QByteArray& name, bool accepted) {
    Session* requester = s.askedBy;
    if (!requester || requester->key != name.toLower()) {
        if (accepted) send(s, QByteArrayLiteral(";error:The request from ") + name + " is no longer open");
        return;
    }
    if (accepted) {
        link(*requester, s);
    } else {
        withdraw(*requester);
        send(*requester, QByteArrayLiteral(";denied"));
    }
}

void Broker::chat(Session& s, const QByteArray& fields) {
    const qsizetype semicolon = fields.indexOf(';');
    const QByteArray name = (semicolon < 0 ? fields : fields.left(semicolon)).trimmed();
    // The client reads two fields: a text is always sent, if empty.
    const QByteArray message = semicolon < 0 ? QByteArray() : fields.mid(semicolon + 1);
    const auto it = online_.find(name.toLower());
    if (it == online_.end()) {
        send(s, QByteArrayLiteral(";unavailable"));
        return;
    }
    send(*it->second, QByteArrayLiteral(";chat=") + s.name + ';' + message);
}

void Broker::link(Session& requester, Session& asked) {
    withdraw(requester);
    withdraw(asked);
    // Anyone waiting on either of the two now waits in vain.
    for (Session* one : {&requester, &asked}) {
        if (Session* waiting = one->askedBy) {
            withdraw(*waiting);
            send(*waiting, QByteArrayLiteral(";busy"));
        }
    }
    requester.peer = &asked;
    asked.peer = &requester;
    linked_ += 2;
    note(QStringLiteral("%1 linked with %2").arg(text(requester.name), text(asked.name)));
    send(requester, QByteArrayLiteral(";connected"));
    send(asked, QByteArrayLiteral(";connected"));
}

void Broker::unlink(Session& s) {
    Session* peer = std::exchange(s.peer, nullptr);
    if (!peer) return;
    peer->peer = nullptr;
    linked_ -= 2;
    note(QStringLiteral("%1 and %2 unlinked").arg(text(s.name), text(peer->name)));
    send(*peer, QByteArrayLiteral(";disconnected"));
}

void Broker::withdraw(Session& requester) {
    if (Session* asked = std::exchange(requester.asking, nullptr)) asked->askedBy = nullptr;
    clock_.cancel(std::exchange(requester.requestTimer, 0));
}

void Broker::send(Session& s, const QByteArray& line) {
    if (s.finished) return;
    QByteArray out;
    out.reserve(line.size() + 2);
    out.append(line).append("\r\n");
    s.connection->write(out);
    if (s.connection->unsentBytes() > kMaxUnsent) {
        note(QStringLiteral("%1 from %2 left over 1 MiB unread; closed")
                 .arg(text(s.name), text(s.address)));
        finish(s, Close::Abort);
    }
}

void Broker::finish(Session& s, Close how) {
    if (s.finished) return;
    s.finished = true;
    clock_.cancel(std::exchange(s.deadline, 0));
    unlink(s);
    withdraw(s);
    if (Session* waiting = s.askedBy) {
        withdraw(*waiting);
        send(*waiting, QByteArrayLiteral(";unavailable"));
    }
    if (const auto it = online_.find(s.key); it != online_.end() && it->second == &s) {
        online_.erase(it);
        note(text(s.name) + QStringLiteral(" left"));
    }
    s.connection->close(how == Close::Flush);
    finished_.push_back(s.id);
}

void Broker::reap() {
    for (const quint64 id : std::exchange(finished_, {})) sessions_.erase(id);
}

void Broker::note(const QString& line) {
    if (log) log(line);
}

}  // namespace velto::broker
