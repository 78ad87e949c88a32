// The update check against a scripted service.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

namespace {

const QString kUnable =
    QStringLiteral("Unable to get update information from the server. Please try later");
const QString kUpToDate = QStringLiteral("This app is up to date");
const QString kDownload = QStringLiteral("https://dl.velto.example/velto-2.7.0.zip");

// A reply with the given status (none when null) and latest build, written as given.
QByteArray appinfo(const char* status, const char* latestbuild) {
    const QString head =
        status ? QStringLiteral(R"("status":"%1",)").arg(QLatin1String(status)) : QString();
    return QStringLiteral(R"({%1"appinfo":{"latestbuild":%2,"latestversion":"2.7.0",)"
                          R"("notes":"Faster ramps.","url":"%3"}})")
        .arg(head, QLatin1String(latestbuild), kDownload)
        .toUtf8();
}

QString offer(const char* build) {
    return QStringLiteral(
               "There is a new version of this app available\r\rVersion 2.7.0 (build "
               "%1)\r\rFaster ramps.\r\rDo you want to download the update?")
        .arg(QLatin1String(build));
}

}  // namespace

TEST(UpdateCheck, TheRequestItsRepliesAndWhatTheUserIsShown) {
    using Outcome = MainApp::UpdateOutcome;
    const struct {
        const char* what;
        QByteArray reply;
        bool answerYes;
        Outcome outcome;
        QString shown;
    } cases[] = {
        {"empty reply", QByteArray(), true, Outcome::Failed, kUnable},
        {"error status", appinfo("Error", "999"), true, Outcome::Failed, kUnable},
        {"the same build", appinfo("ok", "260"), true, Outcome::UpToDate, kUpToDate},
        {"a newer build, Yes", appinfo("ok", "261"), true, Outcome::Offered, offer("261")},
        {"a newer build, No", appinfo("success", "261"), false, Outcome::Offered, offer("261")},
        {"no status, build as text", appinfo(nullptr, R"("300")"), true, Outcome::Offered,
         offer("300")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Rig rig;
        RecordingBrowser browser;
        rig.platform->browser = &browser;
        rig->updateServiceUrl = QStringLiteral("https://127.0.0.1:8443");
        rig.https.reply = c.reply;
        rig.dialogs.answers.push_back(c.answerYes);

        EXPECT_EQ(rig->offerUpdate(), c.outcome);

        ASSERT_EQ(rig.https.requests.size(), 1u);
        const FakeHttpsClient::Request& request = rig.https.requests[0];
        EXPECT_EQ(request.url, QStringLiteral("https://127.0.0.1:8443/appinfo/"));
        EXPECT_EQ(request.form,
                  (HttpsClient::Form{{QStringLiteral("platform"), QStringLiteral("mac")},
                                     {QStringLiteral("appcode"), QStringLiteral("1")}}));
        EXPECT_EQ(request.timeoutMs, 30000);

        EXPECT_EQ(rig.dialogs.messages, QStringList{c.shown});
        const bool offered = c.outcome == Outcome::Offered;
        ASSERT_EQ(rig.dialogs.questions.size(), offered ? 1u : 0u);
        if (offered) {
            EXPECT_EQ(rig.dialogs.questions[0].title, QStringLiteral("Update available"));
            EXPECT_EQ(rig.dialogs.questions[0].icon, Dialogs::Question);
        }
        EXPECT_EQ(browser.opened, offered && c.answerYes ? QStringList{kDownload} : QStringList{});
    }

    // With no browser to open, Yes does nothing.
    Rig rig;
    rig.https.reply = appinfo("ok", "261");
    rig.dialogs.answers.push_back(true);
    EXPECT_EQ(rig->offerUpdate(), Outcome::Offered);
}

TEST(UpdateCheck, RepliesItCantReadGoToTheUnhandledReport) {
    Rig rig;
    for (const char* reply : {"<html>Bad gateway</html>", R"({"status":"ok"})",
                              R"({"appinfo":{"latestversion":"2.7.0"}})"}) {
        SCOPED_TRACE(reply);
        rig.boundary.clearReports();
        rig.https.reply = reply;
        rig->MenuBar1.FileCheckforupdate.push();
        EXPECT_EQ(rig.boundary.reports().size(), 1);
        EXPECT_TRUE(rig.dialogs.messages.isEmpty());
    }
    // The program goes on: the next check is answered as usual.
    rig.https.reply = appinfo("ok", "1");
    rig->MenuBar1.FileCheckforupdate.push();
    EXPECT_EQ(rig.dialogs.messages, QStringList{kUpToDate});
}
