// The settings file: "veltoprefs.ini" with the fuzz bytes, read at start-up, then Connect in
// whatever mode it chose, with the numbers it gave.

#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velto;
    fuzz::quietQt();
    Rig rig;
    rig.writePref(QStringLiteral("veltoprefs.ini"), QString::fromUtf8(fuzz::bytes(data, size)));
    fuzz::startAndConnect(rig);
    rig.remoteControl.peerConnects(QStringLiteral("127.0.0.7"));
    rig.advance(5000);
    return 0;
}
