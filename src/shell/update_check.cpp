// The update check, run on the user's command, and the About window.

#include <QUrl>

#include "device/main_app.h"
#include "platform/text.h"

namespace velto {

JSONItem MainApp::checkSoftwareVersion() {
    QUrl url(updateServiceUrl);
    url.setPath(QStringLiteral("/appinfo/"));
    const HttpsClient::Form form = {{QStringLiteral("platform"), QStringLiteral("mac")},
                                    {QStringLiteral("appcode"), Str(qint64{1})}};
    QString text;
    if (p_.https) text = QString::fromUtf8(p_.https->post(url.toString(), form, kUpdateTimeoutMs));
    // No answer and no connection look alike to the user: both are a failed check.
    if (text.isEmpty()) text = QStringLiteral(R"({"status":"error","info":"Connection failed"})");
    return JSONItem(text);
}

namespace {
// A build number may come as a number or as its text.
qint64 buildNumber(const QVariant& value) {
    if (value.typeId() == QMetaType::QString) return ValInt(value.toString());
    return Trunc(value.toDouble());
}
}  // namespace

MainApp::UpdateOutcome MainApp::offerUpdate() {
    const JSONItem reply = checkSoftwareVersion();
    if (same(reply.Lookup(QStringLiteral("status"), QString()).toString(), QStringLiteral("error"))) {
        p_.dialogs.message(QStringLiteral("Unable to get update information from the server. Please try later"));
        return UpdateOutcome::Failed;
    }
    const JSONItem appinfo = reply.Child(QStringLiteral("appinfo"));
    const qint64 latestbuild = buildNumber(appinfo.Value(QStringLiteral("latestbuild")));
    if (latestbuild <= kBuildNumber) {
        p_.dialogs.message(QStringLiteral("This app is up to date"));
        return UpdateOutcome::UpToDate;
    }
    const QString cr = QStringLiteral("\r");
    const QString text = QStringLiteral("There is a new version of this app available") + cr + cr +
                         QStringLiteral("Version ") + appinfo.Value(QStringLiteral("latestversion")).toString() +
                         QStringLiteral(" (build ") + Str(latestbuild) + QStringLiteral(")") + cr + cr +
                         appinfo.Value(QStringLiteral("notes")).toString() + cr + cr +
                         QStringLiteral("Do you want to download the update?");
    if (p_.dialogs.yesNo(text, Dialogs::Question, QStringLiteral("Update available")) && p_.browser)
        p_.browser->open(appinfo.Value(QStringLiteral("url")).toString());
    return UpdateOutcome::Offered;
}

bool MainApp::_FileCheckforupdate_Action() {
    offerUpdate();
    return true;
}

void MainApp::wireAbout() {
    ExceptionBoundary& b = p_.boundary;
    aboutQTR.docsButton.action.connect(b.wrap([this] { docsButton_Action(); }));
    aboutQTR.aboutVBbutton.action.connect(b.wrap([this] { aboutVBbutton_Action(); }));
    aboutQTR.appInfoText.setText(QStringLiteral(
        "Velto Control/Server drives the 2B from this computer, and lets it be driven from another "
        "one across the room or across the world.\n\nIt is written and kept up in spare time. If it "
        "is of use to you, buying from the velto store, telling others about it, or reporting what "
        "goes wrong is what keeps it going. Thank you to everyone who has tested it and sent ideas."));
}

void MainApp::aboutQTR_Open() {
    aboutQTR.versionMajor.setText(QStringLiteral("Version: ") + QString::fromLatin1(kVersion));
    aboutQTR.buildInfo.setText(QStringLiteral("Build: ") + Str(qint64{kBuildNumber}) + QStringLiteral(" (OS X)"));
}

bool MainApp::_aboutMenu_Action() {
    // One shared window: it opens at first use, and again after it was closed.
    if (!aboutQTR.window.visible()) aboutQTR_Open();
    aboutQTR.window.show();
    return true;
}

bool MainApp::changelog_MouseDown() {
    if (p_.browser) p_.browser->open(QString::fromLatin1(kChangesUrl));
    return false;
}

void MainApp::docsButton_Action() {
    if (p_.browser) p_.browser->open(QString::fromLatin1(kDocsUrl));
}

void MainApp::aboutVBbutton_Action() {
    if (p_.browser) p_.browser->open(QString::fromLatin1(kServiceAboutUrl));
}

}  // namespace velto
