// The brokering service on fake connections in virtual time, and its users file.

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <memory>
#include <set>

#include "broker/broker.h"
#include "platform/virtual_clock.h"

using namespace velto::broker;

namespace {

struct ManualClock final : Clock {
    qint64 nowMs() const override { return time.nowMs(); }
    TimerId after(qint64 delayMs, std::function<void()> action) override {
        time.post(delayMs, [this, id = ++last, action = std::move(action)] {
            if (!cancelled.count(id)) action();
        });
        return last;
    }
    void cancel(TimerId id) override { cancelled.insert(id); }
    velto::VirtualClock time;
    TimerId last = 0;
    std::set<TimerId> cancelled;
};

/// Answers at once, or, when `deferred`, when the test says so.
struct FakePins final : PinCheck {
    void check(const Credential& c, const QByteArray& pin,
               std::function<void(bool)> done) override {
        auto answer = [c, pin, done] { done(c.matches(pin)); };
        deferred ? waiting.push_back(answer) : answer();
    }
    bool deferred = false;
    std::vector<std::function<void()>> waiting;
};

/// What the broker did to one connection; outlives it. `stalled`: the client reads nothing.
struct Wire {
    QByteArray written;
    bool stalled = false, closed = false, flushed = false;
};

struct FakeConnection final : Connection {
    explicit FakeConnection(std::shared_ptr<Wire> w) : wire(std::move(w)) {}
    void write(const QByteArray& bytes) override { wire->written += bytes; }
    qint64 unsentBytes() const override { return wire->stalled ? wire->written.size() : 0; }
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
        QByteArrayList lines() const {
            const QByteArray out = std::exchange(wire->written, {});
            EXPECT_TRUE(out.isEmpty() || out.endsWith("\r\n")) << out.constData();
            QByteArrayList lines;
            for (qsizetype at = 0, end; (end = out.indexOf("\r\n", at)) >= 0; at = end + 2)
                lines.append(out.mid(at, end - at));
            return lines;
        }
        QByteArrayList ask(const QByteArray& bytes) const {
            send(bytes);
            return lines();
        }
    };

    BrokerServer() {
        for (const char* name : {"Ann@example.org", "bob@example.org", "cy@example.org", "d@x.org"})
            users.set(name, Credential::make("1234", 1));
    }
    Client connect(const QByteArray& address = "10.0.0.1") {
        auto wire = std::make_shared<Wire>();
        const quint64 id = broker.accept(std::make_unique<FakeConnection>(wire), address);
        return Client{&broker, id, wire, {}};
    }
    Client login(const QByteArray& name, const QByteArray& profile = "a profile") {
        Client c = connect();
        c.send(";register=" + name + ";1234;v2;" + profile + "\r");
        c.name = users.find(name)->id;
        EXPECT_EQ(c.lines().value(1), ";registered:" + c.name);
        return c;
    }
    static void link(const Client& master, const Client& slave) {
        master.send(";connect=" + slave.name + "\r");
        EXPECT_TRUE(slave.lines().last().startsWith(QByteArray(";connect=" + master.name + ';')));
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

TEST_F(BrokerServer, LogsInLinksUsersAndEndsWhatOverstaysOrOverflows) {
    // Nothing but a login for ten seconds; the name as the users file has it, the profile whole.
    Client idle = connect();
    EXPECT_EQ(idle.lines(), QByteArrayList{";info:velto-broker " VELTO_VERSION});
    EXPECT_EQ(idle.ask(";users\r"), QByteArrayList{";error:Log in first"});
    // Lines behind a login wait for its PIN check; one gone before its check is forgotten.
    pins.deferred = true;
    Client ann = connect(), gone = connect();
    ann.send(";register=ANN@example.org;1234;v2;likes; semicolons\r;users\r");
    gone.send(";register=cy@example.org;1234;v2;p\r");
    broker.dropped(gone.id);  // forgotten: not in bob's list below
    for (const auto& answer : std::exchange(pins.waiting, {})) answer();
    pins.deferred = false;
    EXPECT_EQ(ann.lines(), (QByteArrayList{";info:velto-broker " VELTO_VERSION,
                                           ";registered:Ann@example.org", ";total:0"}));
    ann.name = "Ann@example.org";
    clock.time.advance(9999);
    EXPECT_FALSE(idle.wire->closed);
    clock.time.advance(1);
    EXPECT_EQ(idle.lines(), QByteArrayList{";failed - no login within 10 seconds"});
    EXPECT_TRUE(idle.wire->closed && idle.wire->flushed);
    EXPECT_FALSE(ann.wire->closed);

    Client oldBob = login("bob@example.org", "");
    EXPECT_EQ(oldBob.ask(";users\r"),
              (QByteArrayList{";user:Ann@example.org;likes; semicolons", ";total:1"}));

    // A new login of the same user ends the old session, and its link with it.
    link(ann, oldBob);
    Client bob = login("Bob@Example.org"), cy = login("cy@example.org");
    EXPECT_EQ(oldBob.lines(), QByteArrayList{";error:Logged in again elsewhere"});
    EXPECT_TRUE(oldBob.wire->closed);
    EXPECT_EQ(ann.lines(), QByteArrayList{";disconnected"});

    EXPECT_EQ(ann.ask(";connect=zed@example.org\r;connect=ann@example.org\r"),
              (QByteArrayList{";unavailable", ";unavailable"}));

    // A user being asked is busy to others; a refusal is told to the one who asked.
    ann.send(";connect= BOB@example.org \r");
    EXPECT_EQ(bob.lines(), QByteArrayList{";connect=Ann@example.org;likes; semicolons"});
    EXPECT_EQ(cy.ask(";connect=bob@example.org\r"), QByteArrayList{";busy"});
    bob.send(";reject=Ann@example.org\r");
    EXPECT_EQ(ann.lines(), QByteArrayList{";denied"});

    // A request not answered in a minute is given up.
    cy.send(";connect=bob@example.org\r");
    clock.time.advance(59999);
    EXPECT_TRUE(cy.lines().isEmpty());
    clock.time.advance(1);
    EXPECT_EQ(cy.lines(), QByteArrayList{";busy"});

    // Linked users are busy.
    link(ann, bob);
    EXPECT_EQ(cy.ask(";connect=ann@example.org\r"), QByteArrayList{";busy"});

    // Any line end, torn reads, a peer line like a command, the longest line; the service's own
    // stay with it.
    ann.send("A55\rB2");
    ann.send("0\r");
    ann.send("\n;goto=50,40\n;MSG=hi; there\r\n;endless\r\n" + QByteArray(4096, 'E') + '\r');
    EXPECT_EQ(bob.lines(), (QByteArrayList{"A55", "B20", ";goto=50,40", ";MSG=hi; there",
                                           ";endless", QByteArray(4096, 'E')}));
    EXPECT_EQ(ann.ask(";users\r").size(), 3);

    // ";end" tells the peer, and lines go nowhere after it.
    bob.send(";end\r");
    EXPECT_EQ(ann.lines(), QByteArrayList{";disconnected"});
    ann.send("A1\r");  // would come before bob's next line

    // One whose asked user leaves hears so at once.
    cy.send(";connect=bob@example.org\r");
    EXPECT_EQ(bob.lines(), QByteArrayList{";connect=cy@example.org;a profile"});
    bob.send(";quit\r");
    EXPECT_TRUE(bob.wire->closed && bob.wire->flushed);
    EXPECT_EQ(cy.lines(), QByteArrayList{";unavailable"});

    // A slave that reads nothing: the master's lines pile up until they pass 1 MiB.
    link(ann, cy);
    cy.wire->stalled = true;
    int sent = 0;
    for (; !cy.wire->closed && sent < 2000; ++sent) ann.send(QByteArray(1000, 'B') + '\r');
    EXPECT_EQ(sent, (1 << 20) / 1002 + 1);
    EXPECT_FALSE(cy.wire->flushed);
    EXPECT_EQ(ann.lines(), QByteArrayList{";disconnected"});

    // Four KiB and one byte, with no line end yet, even before a login.
    Client big = connect();
    big.lines();
    big.send(QByteArray(4096, 'C'));
    EXPECT_FALSE(big.wire->closed);
    EXPECT_EQ(big.ask("C"), QByteArrayList{";error:Line too long"});
    EXPECT_TRUE(big.wire->closed);

    // As the service stops, linked users hear that their link is lost.
    const Client stranger = connect(), d = login("d@x.org");
    link(ann, d);
    broker.closeAll();
    for (const Client& c : {ann, d}) EXPECT_EQ(c.lines(), QByteArrayList{";disconnected"});
    EXPECT_TRUE(ann.wire->closed && d.wire->closed && stranger.wire->closed);
    EXPECT_EQ(broker.connections(), 0);
}

TEST_F(BrokerServer, FailedLoginsAreLimitedPerAddressAndPerIdentity) {
    auto attempt = [&](const QByteArray& address, const QByteArray& name, const QByteArray& pin) {
        return connect(address).ask(";register=" + name + ';' + pin + ";v2;\r").value(1);
    };
    const QByteArray wrong = ";failed - unknown user or wrong PIN";
    const QByteArray refused = ";failed - too many failed logins; try again later";

    // A wrong PIN and an unknown user get the same answer. Five failures from one address;
    // then even a right PIN is refused there, not elsewhere, until a minute has passed.
    EXPECT_EQ(attempt("10.0.0.9", "zed@example.org", "1234"), wrong);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(attempt("10.0.0.9", "cy@example.org", "0"), wrong);
    EXPECT_EQ(attempt("10.0.0.9", "Ann@example.org", "1234"), refused);
    EXPECT_EQ(attempt("10.0.0.8", "Ann@example.org", "1234"), ";registered:Ann@example.org");
    clock.time.advance(59999);
    EXPECT_EQ(attempt("10.0.0.9", "Ann@example.org", "1234"), refused);
    clock.time.advance(1);
    EXPECT_EQ(attempt("10.0.0.9", "Ann@example.org", "1234"), ";registered:Ann@example.org");

    // Ten failures for one identity from any addresses: refused from all for five minutes.
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(attempt("10.1.0." + QByteArray::number(i), "bob@example.org", "0"), wrong);
    EXPECT_EQ(attempt("10.2.0.1", "BOB@example.org", "1234"), refused);
    clock.time.advance(300000);
    EXPECT_EQ(attempt("10.2.0.1", "bob@example.org", "1234"), ";registered:bob@example.org");
}

TEST(BrokerUsers, TheFileIsItsOwnersAloneAndReadAgainWhenItChanges) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("users"));
    UsersFile file(path), running(path);
    file.users().set("ann@example.org", Credential::make("1234", 2));
    file.users().set("bob@example.org", Credential::make("5678", 2));
    ASSERT_TRUE(file.save(nullptr));
    EXPECT_EQ(QFile::permissions(path),
              QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser);
    ASSERT_TRUE(running.load(nullptr));
    EXPECT_TRUE(running.current().find("ANN@example.org")->credential.matches("1234"));
    file.users().remove("ANN@example.org");
    ASSERT_TRUE(file.save(nullptr));
    EXPECT_EQ(running.current().size(), 1);
}
