// The update check against a scripted service.

#include <gtest/gtest.h>

#include "support/rig.h"

using namespace velto;

namespace {
const QString kDownload = QStringLiteral("https://dl.velto.example/velto-2.7.0.zip");

/// A reply with `status` (none when null) and `latestbuild`, written as given.
QByteArray appinfo(const char* status, const char* latestbuild) {
    const QString head =
        status ? QStringLiteral(R"("status":"%1",)").arg(QLatin1String(status)) : QString();
    return QStringLiteral(R"({%1"appinfo":{"latestbuild":%2,"latestversion":"2.7.0",)"
                          R"("notes":"Faster ramps.","url":"%3"}})")
        .arg(head, QLatin1String(latestbuild), kDownload)
        .toUtf8();
}
}  // namespace

TEST(UpdateCheck, TheRequestItsRepliesAndWhatTheUserIsShown) {
    using Outcome = MainApp::UpdateOutcome;
    const QString unable =
        QStringLiteral("Unable to get update information from the server. Please try later");
    const QString offer = QStringLiteral(
        "There is a new version of this app available\r\rVersion 2.7.0 (build %1)\r\rFaster "
        "ramps.\r\rDo you want to download the update?");
    const struct {
        QByteArray reply;
        bool answerYes;
        Outcome outcome;
        QString shown;
    } cases[] = {
        {QByteArray(), true, Outcome::Failed, unable},
        {appinfo("Error", "999"), true, Outcome::Failed, unable},
        {appinfo("ok", "260"), true, Outcome::UpToDate, QStringLiteral("This app is up to date")},
        {appinfo("ok", "261"), false, Outcome::Offered, offer.arg(261)},
        {appinfo(nullptr, R"("300")"), true, Outcome::Offered, offer.arg(300)},
    };
    for (const auto& c : cases) {
        Rig rig;
        RecordingBrowser browser;
        rig.platform->browser = &browser;
        rig.https.reply = c.reply;
        rig.dialogs.answers.push_back(c.answerYes);
        EXPECT_EQ(rig->offerUpdate(), c.outcome) << c.reply.constData();
        EXPECT_EQ(rig.https.requests.at(0).timeoutMs, 30000);
        EXPECT_EQ(rig.dialogs.messages, QStringList{c.shown}) << c.reply.constData();
        const bool offered = c.outcome == Outcome::Offered;  // as a Yes/No question
        EXPECT_EQ(rig.dialogs.questions.size(), offered ? 1u : 0u);
        EXPECT_EQ(browser.opened, offered && c.answerYes ? QStringList{kDownload} : QStringList{});
    }
    // A reply without its build number goes to the unhandled report.
    Rig rig;
    rig.https.reply = R"({"appinfo":{"latestversion":"2"}})";
    rig->MenuBar1.FileCheckforupdate.push();
    EXPECT_EQ(rig.boundary.reports().size(), 1);
}
