// The brokering service's sessions on fake connections, in virtual time: logins and their
// limits, requests and links, the relay, and the limits that end a connection.

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <memory>
#include <set>

#include "broker/broker.h"
#include "platform/virtual_clock.h"

using namespace velto::broker;

namespace {

/// The broker's clock on virtual time.
struct ManualClock final : Clock {
    qint64 nowMs() const override { return time.nowMs(); }
    TimerId after(qint64 delayMs, std::function<void()> action) override {
        live.insert(++last);
        time.post(delayMs, [this, id = last, action = std::move(action)] {
            if (live.erase(id)) action();
        });
        return last;
    }
    void cancel(TimerId id) override { live.erase(id); }
    void advance(qint64 ms) { time.advance(ms); }
    velto::VirtualClock time;
    TimerId last = 0;
    std::set<TimerId> live;
};

/// Answers at once, or, when `deferred`, when the test says so.
struct FakePins final : PinCheck {
    void check(const Credential& c, const QByteArray& pin, std::function<void(bool)> done) override {
        auto answer = [c, pin, done] { done(c.matches(pin)); };
        deferred ? waiting.push_back(answer) : answer();
    }
    bool deferred = false;
    std::vector<std::function<void()>> waiting;
};

/// What the broker did to one connection; outlives it. `stalled`: the client reads nothing.
struct Wire {
    QByteArray written;
    qint64 unsent = 0;
    bool stalled = false, closed = false, flushed = false;
};

struct FakeConnection final : Connection {
    explicit FakeConnection(std::shared_ptr<Wire> w) : wire(std::move(w)) {}
    void write(const QByteArray& bytes) override {
        EXPECT_FALSE(wire->closed) << "written after close";
        wire->written += bytes;
        if (wire->stalled) wire->unsent += bytes.size();
    }
    qint64 unsentBytes() const override { return wire->unsent; }
    void close(bool flush) override {
        wire->closed = true;
        wire->flushed = flush;
    }
    std::shared_ptr<Wire> wire;
};

class BrokerServer : public ::testing::Test {
protected:
    struct Client {
        Broker* broker;
        quint64 id;
        std::shared_ptr<Wire> wire;
        QByteArray name;
        void send(const QByteArray& bytes) const { broker->received(id, bytes); }
        /// The lines written since the last call; each must end in CR LF.
        QByteArrayList lines() const {
            const QByteArray out = std::exchange(wire->written, {});
            EXPECT_TRUE(out.isEmpty() || out.endsWith("\r\n")) << out.constData();
            QByteArrayList lines;
            for (qsizetype at = 0, end; (end = out.indexOf("\r\n", at)) >= 0; at = end + 2)
                lines.append(out.mid(at, end - at));
            return lines;
        }
        /// Sends `bytes`; the lines `reader` (this client when null) got.
        QByteArrayList ask(const QByteArray& bytes, const Client* reader = nullptr) const {
            send(bytes);
            return (reader ? *reader : *this).lines();
        }
        bool closed() const { return wire->closed; }
    };

    BrokerServer() {
        for (const char* name : {"Ann@example.org", "bob@example.org", "cy@example.org", "dee@example.org"})
            users.set(name, Credential::make("1234", 1));
    }

    Client connect(const QByteArray& address = "10.0.0.1") {
        auto wire = std::make_shared<Wire>();
        const quint64 id = broker.accept(std::make_unique<FakeConnection>(wire), address);
        return Client{&broker, id, wire, {}};
    }
    /// Logged in, its greeting and welcome read.
    Client login(const QByteArray& name, const QByteArray& profile = "a profile") {
        Client c = connect();
        c.send(";register=" + name + ";1234;v2;" + profile + "\r");
        c.name = users.find(name)->id;
        EXPECT_EQ(c.lines().value(1), ";registered:" + c.name);
        return c;
    }
    /// `master` asks for `slave`, which accepts.
    static void link(const Client& master, const Client& slave) {
        master.send(";connect=" + slave.name + "\r");
        EXPECT_TRUE(slave.lines().value(0).startsWith(QByteArray(";connect=" + master.name + ';')));
        slave.send(";accept=" + master.name + "\r");
        EXPECT_EQ(master.lines(), QByteArrayList{";connected"});
        EXPECT_EQ(slave.lines(), QByteArrayList{";connected"});
    }

    ManualClock clock;
    FakePins pins;
    Users users;
    Broker broker{clock, pins, [this]() -> const Users& { return users; }};
};

}  // namespace

TEST_F(BrokerServer, LogsInWithTheRightPinOnlyAndOneSessionPerUser) {
    // Greeted at once; nothing but a login is taken before it.
    Client early = connect();
    EXPECT_EQ(early.lines(), QByteArrayList{";info:velto-broker " VELTO_VERSION});
    EXPECT_EQ(early.ask(";users\r"), QByteArrayList{";error:Log in first"});

    // A wrong PIN and an unknown user get the same answer, and the connection goes.
    for (const char* attempt :
         {";register=bob@example.org;9999;v2;x\r", ";register=zed@example.org;1234;v2;x\r"}) {
        Client c = connect();
        c.lines();
        EXPECT_EQ(c.ask(attempt), QByteArrayList{";failed - unknown user or wrong PIN"});
        EXPECT_TRUE(c.closed() && c.wire->flushed);
    }

    // The identity in any case, the name back as the users file has it, the profile whole.
    Client ann = login("ANN@example.org", "likes; semicolons");
    Client bob = login("bob@example.org", "");
    bob.send(";users\r");
    EXPECT_EQ(bob.lines(), (QByteArrayList{";user:Ann@example.org;likes; semicolons", ";total:1"}));
    ann.send(";register=Ann@example.org;1234;v2;x\r");
    EXPECT_EQ(ann.lines(), QByteArrayList{";error:Already logged in"});

    // A new login of the same user ends the old session, and its link with it.
    link(ann, bob);
    Client bobAgain = login("Bob@Example.org");
    EXPECT_EQ(bob.lines(), QByteArrayList{";error:Logged in again elsewhere"});
    EXPECT_TRUE(bob.closed());
    EXPECT_EQ(ann.lines(), QByteArrayList{";disconnected"});
    EXPECT_EQ(ann.ask(";users\r"), (QByteArrayList{";user:bob@example.org;a profile", ";total:1"}));
    EXPECT_EQ(broker.usersOnline(), 2);
}

TEST_F(BrokerServer, FailedLoginsAreLimitedPerAddressAndPerIdentity) {
    auto attempt = [&](const QByteArray& address, const QByteArray& name, const QByteArray& pin) {
        Client c = connect(address);
        c.lines();
        c.send(";register=" + name + ';' + pin + ";v2;\r");
        return c.lines().value(0);
    };
    const QByteArray wrong = ";failed - unknown user or wrong PIN";
    const QByteArray refused = ";failed - too many failed logins; try again later";

    // Five failures from one address; then even a right PIN is refused there, not elsewhere,
    // until a minute has passed.
    for (int i = 0; i < Broker::kAddressBurst; ++i) EXPECT_EQ(attempt("10.0.0.9", "cy@example.org", "0"), wrong);
    EXPECT_EQ(attempt("10.0.0.9", "dee@example.org", "1234"), refused);
    EXPECT_EQ(attempt("10.0.0.8", "dee@example.org", "1234"), ";registered:dee@example.org");
    clock.advance(Broker::kAddressIntervalMs - 1);
    EXPECT_EQ(attempt("10.0.0.9", "dee@example.org", "1234"), refused);
    clock.advance(1);
    EXPECT_EQ(attempt("10.0.0.9", "dee@example.org", "1234"), ";registered:dee@example.org");

    // Ten failures for one identity from as many addresses; then it is refused from any.
    for (int i = 0; i < Broker::kUserBurst; ++i)
        EXPECT_EQ(attempt("10.1.0." + QByteArray::number(i), "bob@example.org", "0"), wrong);
    EXPECT_EQ(attempt("10.2.0.1", "BOB@example.org", "1234"), refused);
    clock.advance(Broker::kUserIntervalMs);
    EXPECT_EQ(attempt("10.2.0.1", "bob@example.org", "1234"), ";registered:bob@example.org");
}

TEST_F(BrokerServer, ALoginHasTenSecondsAndWhatComesDuringItsCheckWaits) {
    Client idle = connect();
    Client ann = login("Ann@example.org");
    clock.advance(Broker::kLoginDeadlineMs - 1);
    EXPECT_FALSE(idle.closed());
    clock.advance(1);
    EXPECT_EQ(idle.lines().value(1), ";failed - no login within 10 seconds");
    EXPECT_TRUE(idle.closed());
    EXPECT_FALSE(ann.closed());

    // Lines behind the login are taken once the PIN is found right; a client gone by then,
    // or timed out, is forgotten.
    pins.deferred = true;
    Client bob = connect();
    bob.lines();
    bob.send(";register=bob@example.org;1234;v2;p\r;users\r");
    Client cy = connect();
    cy.send(";register=cy@example.org;1234;v2;p\r");
    broker.dropped(cy.id);
    EXPECT_TRUE(bob.lines().isEmpty());
    for (const auto& answer : std::exchange(pins.waiting, {})) answer();
    EXPECT_EQ(bob.lines(), (QByteArrayList{";registered:bob@example.org", ";user:Ann@example.org;a profile",
                                           ";total:1"}));
    Client dee = connect();
    dee.send(";register=dee@example.org;1234;v2;p\r");
    clock.advance(Broker::kLoginDeadlineMs);
    EXPECT_TRUE(dee.closed());
    for (const auto& answer : std::exchange(pins.waiting, {})) answer();
    EXPECT_EQ(broker.usersOnline(), 2);
    EXPECT_EQ(broker.connections(), 2);
}

TEST_F(BrokerServer, RequestsAreAnsweredAndAnAcceptedOneLinksTheTwo) {
    Client ann = login("Ann@example.org"), bob = login("bob@example.org");
    Client cy = login("cy@example.org"), dee = login("dee@example.org");
    ann.send(";connect=zed@example.org\r;connect=ann@example.org\r");
    EXPECT_EQ(ann.lines(), (QByteArrayList{";unavailable", ";unavailable"}));

    // A user being asked is busy to others; a refusal is told to the one who asked.
    ann.send(";connect= BOB@example.org \r");
    EXPECT_EQ(bob.lines(), QByteArrayList{";connect=Ann@example.org;a profile"});
    EXPECT_EQ(cy.ask(";connect=bob@example.org\r"), QByteArrayList{";busy"});
    EXPECT_EQ(bob.ask(";reject=Ann@example.org\r", &ann), QByteArrayList{";denied"});
    bob.send(";accept=Ann@example.org\r");
    EXPECT_EQ(bob.lines(), QByteArrayList{";error:The request from Ann@example.org is no longer open"});
    EXPECT_TRUE(ann.lines().isEmpty());

    // Linked users are busy, and ask no one else.
    link(ann, bob);
    EXPECT_EQ(cy.ask(";connect=ann@example.org\r"), QByteArrayList{";busy"});
    ann.send(";connect=cy@example.org\r");
    EXPECT_EQ(ann.lines(), QByteArrayList{";error:End the present link first"});

    // A request not answered in a minute is given up; one whose user leaves, at once.
    cy.send(";connect=dee@example.org\r");
    dee.lines();
    clock.advance(Broker::kRequestTimeoutMs - 1);
    EXPECT_TRUE(cy.lines().isEmpty());
    clock.advance(1);
    EXPECT_EQ(cy.lines(), QByteArrayList{";busy"});
    cy.send(";connect=dee@example.org\r");
    EXPECT_EQ(dee.lines(), QByteArrayList{";connect=cy@example.org;a profile"});
    dee.send(";quit\r");
    EXPECT_TRUE(dee.closed() && dee.wire->flushed);
    EXPECT_EQ(cy.lines(), QByteArrayList{";unavailable"});
    EXPECT_EQ(broker.linkedPairs(), 1);

    // As the service stops, linked users hear that their link is lost.
    broker.closeAll();
    for (const Client& linked : {ann, bob}) EXPECT_EQ(linked.lines(), QByteArrayList{";disconnected"});
    EXPECT_TRUE(ann.closed() && bob.closed() && cy.closed());
    EXPECT_EQ(broker.connections(), 0);
}

TEST_F(BrokerServer, LinkedUsersGetEachOthersLinesAsTheyCame) {
    Client master = login("Ann@example.org"), slave = login("bob@example.org"), cy = login("cy@example.org");
    master.send("A50\r");  // before the link: to no one
    link(master, slave);

    // Any line end, lines and CR LF torn between reads, a peer line that only begins like
    // a command.
    master.send("A55\rB2");
    master.send("0\r");
    master.send("\n;goto=50,40\n;MSG=hi; there\r\n;endless\r\n");
    EXPECT_EQ(slave.lines(), (QByteArrayList{"A55", "B20", ";goto=50,40", ";MSG=hi; there", ";endless"}));

    // The service's commands stay with the service.
    master.send(";chat=cy@example.org;hello; you\r;chat=zed@example.org;hi\r;users\r");
    EXPECT_EQ(cy.lines(), QByteArrayList{";chat=Ann@example.org;hello; you"});
    EXPECT_EQ(master.lines(), (QByteArrayList{";unavailable", ";user:bob@example.org;a profile",
                                              ";user:cy@example.org;a profile", ";total:2"}));
    EXPECT_TRUE(slave.lines().isEmpty());

    // ";end" tells the peer, and lines go nowhere after it.
    EXPECT_EQ(slave.ask(";end\r", &master), QByteArrayList{";disconnected"});
    master.send("A1\r");
    EXPECT_TRUE(slave.lines().isEmpty());
    EXPECT_EQ(broker.linkedPairs(), 0);

    // The operator's broadcast reaches those logged in, on one line.
    Client stranger = connect();
    stranger.lines();
    EXPECT_EQ(broker.broadcast("Down at 10:00\nfor an hour"), 3);
    for (const Client& c : {master, slave, cy}) EXPECT_EQ(c.lines(), QByteArrayList{";broadcast:Down at 10:00 for an hour"});
    EXPECT_TRUE(stranger.lines().isEmpty());
}

TEST_F(BrokerServer, AnOverlongLineOrAMegabyteUnreadEndsTheConnection) {
    Client master = login("Ann@example.org"), slave = login("bob@example.org");
    link(master, slave);
    master.send(QByteArray(Broker::kMaxLine, 'A') + '\r');
    EXPECT_EQ(slave.lines().value(0).size(), Broker::kMaxLine);

    // A slave that reads nothing: the master's lines pile up until they pass 1 MiB.
    slave.wire->stalled = true;
    const QByteArray line = QByteArray(1000, 'B') + '\r';
    int sent = 0;
    while (!slave.closed() && sent < 2000) {
        master.send(line);
        ++sent;
    }
    EXPECT_EQ(sent, Broker::kMaxUnsent / 1002 + 1);
    EXPECT_FALSE(slave.wire->flushed);
    EXPECT_EQ(master.lines(), QByteArrayList{";disconnected"});

    // Four KiB and one byte, with no line end yet.
    Client cy = login("cy@example.org");
    cy.send(QByteArray(Broker::kMaxLine, 'C'));
    EXPECT_FALSE(cy.closed());
    EXPECT_EQ(cy.ask("C"), QByteArrayList{";error:Line too long"});
    EXPECT_TRUE(cy.closed());
}

TEST(BrokerUsers, SaltedDigestsInAFileReadAgainWhenItChanges) {
    Users users;
    users.set("ann@example.org", Credential::make("1234", 2));
    users.set("bob@example.org", Credential::make("1234", 2));
    const QByteArray text = users.text();
    EXPECT_FALSE(text.contains("1234"));
    const Credential& ann = users.find("ANN@example.org")->credential;
    const Credential& bob = users.find("bob@example.org")->credential;
    EXPECT_NE(ann.salt, bob.salt);

    const std::optional<Users> read = Users::parse(text);
    ASSERT_TRUE(read);
    QString error;
    EXPECT_FALSE(Users::parse(text + "cy@example.org:pbkdf2-sha256:0:AAAA:AAAA\n", &error));
    EXPECT_EQ(error, QStringLiteral("line 5: bad iterations, salt or digest"));

    // Only what the wire can carry between its separators.
    for (const char* id : {"", "a;b", "a:b", "a=b", "a,b", "a b", "a\tb"})
        EXPECT_FALSE(Users::idProblem(id).isEmpty()) << id;
    EXPECT_TRUE(Users::idProblem("a.b+c@example.org").isEmpty());
    for (const char* pin : {"", "12;3", " 123", "12\r"}) EXPECT_FALSE(Users::pinProblem(pin).isEmpty()) << pin;

    // The file is its owner's alone, and a running service sees it change.
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("users"));
    UsersFile file(path);
    ASSERT_TRUE(file.load(nullptr));
    file.users() = *read;
    ASSERT_TRUE(file.save(nullptr));
    EXPECT_EQ(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther),
              QFile::Permissions());
    UsersFile running(path);
    ASSERT_TRUE(running.load(nullptr));
    EXPECT_EQ(running.current().size(), 2);
    file.users().remove("ANN@example.org");
    ASSERT_TRUE(file.save(nullptr));
    EXPECT_EQ(running.current().size(), 1);
}
