// The update check against a scripted service, in virtual time.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

namespace {

const QString kUnable = QStringLiteral("Unable to get update information from the server. Please try later");
const QString kUpToDate = QStringLiteral("This app is up to date");
const QString kDownload = QStringLiteral("https://dl.velto.example/velto-2.7.0.zip");

QByteArray appinfo(const QString& status, const QString& latestbuild) {
    const QString head = status.isNull() ? QString() : QStringLiteral(R"("status":")") + status + QStringLiteral(R"(",)");
    return (QStringLiteral("{") + head + QStringLiteral(R"("appinfo":{"latestbuild":)") + latestbuild +
            QStringLiteral(R"(,"latestversion":"2.7.0","notes":"Faster ramps.","url":")") + kDownload +
            QStringLiteral(R"("}})"))
        .toUtf8();
}

QString offer(const QString& build) {
    return QStringLiteral("There is a new version of this app available\r\rVersion 2.7.0 (build ") + build +
           QStringLiteral(")\r\rFaster ramps.\r\rDo you want to download the update?");
}

}  // namespace

TEST(UpdateCheck, PostsToTheServiceAndServesOtherEventsWhileItWaits) {
    Rig rig;
    RecordingBrowser browser;
    rig.platform->browser = &browser;
    rig->updateServiceUrl = QStringLiteral("https://127.0.0.1:8443");
    rig.https.reply = appinfo(QStringLiteral("ok"), QStringLiteral("260"));
    rig.https.replyAfterMs = 4000;
    std::vector<qint64> ranAt;
    rig.clock.post(1000, [&] { ranAt.push_back(rig.clock.nowMs()); });
    rig.clock.post(3000, [&] { ranAt.push_back(rig.clock.nowMs()); });

    rig->MenuBar1.FileCheckforupdate.push();

    ASSERT_EQ(rig.https.requests.size(), 1u);
    const FakeHttpsClient::Request& request = rig.https.requests[0];
    EXPECT_EQ(request.url, QStringLiteral("https://127.0.0.1:8443/appinfo/"));
    EXPECT_EQ(request.form, (HttpsClient::Form{{QStringLiteral("platform"), QStringLiteral("mac")},
                                               {QStringLiteral("appcode"), QStringLiteral("1")}}));
    EXPECT_EQ(request.timeoutMs, 30000);
    // The handler waited four seconds; the two events came in their time, not after it.
    EXPECT_EQ(ranAt, (std::vector<qint64>{1000, 3000}));
    EXPECT_EQ(rig.clock.nowMs(), 4000);
    EXPECT_EQ(rig.dialogs.messages, QStringList{kUpToDate});

    // A service that stays silent is given up after 30 s, and that is a failed check.
    rig.dialogs.messages.clear();
    rig.https.replyAfterMs = 60000;
    rig->MenuBar1.FileCheckforupdate.push();
    EXPECT_EQ(rig.clock.nowMs(), 34000);
    EXPECT_EQ(rig.dialogs.messages, QStringList{kUnable});
    EXPECT_TRUE(browser.opened.isEmpty());
    EXPECT_TRUE(rig.boundary.reports().isEmpty());
}

TEST(UpdateCheck, RepliesAndWhatTheUserIsShown) {
    using Outcome = MainApp::UpdateOutcome;
    struct Case {
        const char* what;
        QByteArray reply;
        bool answerYes;
        QString shown;
        bool asked;
        bool opens;
        Outcome outcome;
    };
    const std::vector<Case> cases = {
        {"empty reply", QByteArray(), true, kUnable, false, false, Outcome::Failed},
        {"error status, appinfo or not", appinfo(QStringLiteral("Error"), QStringLiteral("999")), true, kUnable,
         false, false, Outcome::Failed},
        {"the same build", appinfo(QStringLiteral("ok"), QStringLiteral("260")), true, kUpToDate, false, false,
         Outcome::UpToDate},
        {"an older build as text", appinfo(QStringLiteral("ok"), QStringLiteral(R"("259")")), true, kUpToDate,
         false, false, Outcome::UpToDate},
        {"a newer build, Yes", appinfo(QStringLiteral("ok"), QStringLiteral("261")), true, offer(QStringLiteral("261")),
         true, true, Outcome::Offered},
        {"a newer build, No", appinfo(QStringLiteral("success"), QStringLiteral("261")), false,
         offer(QStringLiteral("261")), true, false, Outcome::Offered},
        {"no status, build as text", appinfo(QString(), QStringLiteral(R"("300")")), true, offer(QStringLiteral("300")),
         true, true, Outcome::Offered},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Rig rig;
        RecordingBrowser browser;
        rig.platform->browser = &browser;
        rig.https.reply = c.reply;
        rig.dialogs.answers.push_back(c.answerYes);

        EXPECT_EQ(rig->offerUpdate(), c.outcome);

        EXPECT_EQ(rig.dialogs.messages, QStringList{c.shown});
        ASSERT_EQ(rig.dialogs.questions.size(), c.asked ? 1u : 0u);
        if (c.asked) {
            EXPECT_EQ(rig.dialogs.questions[0].title, QStringLiteral("Update available"));
            EXPECT_EQ(rig.dialogs.questions[0].icon, Dialogs::Question);
        }
        EXPECT_EQ(browser.opened, c.opens ? QStringList{kDownload} : QStringList{});
    }

    // With no browser to open, Yes does nothing.
    Rig rig;
    rig.https.reply = appinfo(QStringLiteral("ok"), QStringLiteral("261"));
    rig.dialogs.answers.push_back(true);
    EXPECT_EQ(rig->offerUpdate(), Outcome::Offered);
}

TEST(UpdateCheck, RepliesItCantReadGoToTheUnhandledReport) {
    Rig rig;
    for (const QByteArray& reply : {QByteArrayLiteral("<html>Bad gateway</html>"), QByteArrayLiteral(R"({"status":"ok"})"),
                                    QByteArrayLiteral(R"({"appinfo":{"latestversion":"2.7.0"}})")}) {
        SCOPED_TRACE(reply.constData());
        rig.boundary.clearReports();
        rig.https.reply = reply;
        rig->MenuBar1.FileCheckforupdate.push();
        EXPECT_EQ(rig.boundary.reports().size(), 1);
        EXPECT_TRUE(rig.dialogs.messages.isEmpty());
    }
    // The program goes on: the next check is answered as usual.
    rig.https.reply = appinfo(QStringLiteral("ok"), QStringLiteral("1"));
    rig->MenuBar1.FileCheckforupdate.push();
    EXPECT_EQ(rig.dialogs.messages, QStringList{kUpToDate});
}
