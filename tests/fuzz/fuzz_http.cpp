// HTTP request lines: a slave in HTTP mode, each read from a client of its own, as browsers do
// (the slave answers and closes after every request).

#include "fuzz_support.h"
#include "support/slave_rig.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velto;
    fuzz::quietQt();
    SlaveRig rig(QStringLiteral("http=true\n"));
    rig->_activityToggle_Action();
    addFav(rig, {.name = QStringLiteral("Fuzz")});
    for (const QByteArray& read : fuzz::reads(data, size)) {
        if (!rig.remoteControl.isConnected()) {
            rig.remoteControl.peerConnects(QStringLiteral("127.0.0.7"));
            rig.advance(1);
        }
        rig.send(read, 50);
    }
    rig.advance(5000);
    return 0;
}
