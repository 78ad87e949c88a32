// Device replies and status decoding: a slave with a peer and the serial trace on, whose box has
// answered the connect and then goes on answering with the fuzz bytes, one delivery per read,
// while the program polls, checks, corrects and relays.

#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velto;
    fuzz::quietQt();
    Rig rig;
    rig.writePref(QStringLiteral("veltoprefs.ini"),
                  QStringLiteral("mode=slave\nerrorcorrection=true\nlogserial=true\n"));
    rig.connect();
    rig->_activityToggle_Action();
    rig.remoteControl.peerConnects();
    rig.advance(1);
    // From here on the box is silent: only the fuzz bytes answer.
    rig.serial.device = nullptr;
    for (const QByteArray& read : fuzz::reads(data, size)) {
        rig.serial.deliver(read);
        rig.advance(20);
    }
    rig.advance(3000);
    return 0;
}
