// Remote lines: the same reads from the peer to a slave (device commands, the extended language
// and the status commands) and to a master (status lines and the extended responses).

#include "fuzz_support.h"
#include "support/slave_rig.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velto;
    fuzz::quietQt();
    const QByteArrayList reads = fuzz::reads(data, size);
    {
        SlaveRig slave;
        slave->_activityToggle_Action();
        addFav(slave, {.name = QStringLiteral("Fuzz")});
        for (const QByteArray& read : reads) slave.send(read, 50);
        slave.advance(5000);
    }
    {
        Rig master;
        master.writePref(QStringLiteral("veltoprefs.ini"),
                         QStringLiteral("mode=master\nhost=127.0.0.1\n"));
        master.open();
        master->_activityToggle_Action();
        master->Connect.push();
        master.remoteControl.peerConnects();
        master.advance(1);
        for (const QByteArray& read : reads) {
            master.remoteControl.peerSends(read);
            master.advance(50);
        }
        master.advance(5000);
    }
    return 0;
}
