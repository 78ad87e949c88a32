// Connect-service lines: a copy that entered a key and whose TLS link is up, taking the
// service's reads (codes, then the far box's status lines).

#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velto;
    fuzz::quietQt();
    Rig rig;
    rig.open();
    rig->serverLogging = true;
    rig->MenuBar1.veltoConnect.push();
    rig->connectWindow.connectKey.setText(QStringLiteral("abCD1234efGH5678"));
    rig->connectWindow.connectButton.push();
    rig.connectSocket.peerConnects();
    rig.advance(1);
    for (const QByteArray& read : fuzz::reads(data, size)) {
        rig.connectSocket.peerSends(read);
        rig.advance(50);
    }
    rig.advance(5000);
    return 0;
}
