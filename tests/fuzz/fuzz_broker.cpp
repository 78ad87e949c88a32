// Broker-session lines: the service's reads to a slave and to a master that have logged in.

#include "fuzz_support.h"
#include "support/broker_rig.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velto;
    fuzz::quietQt();
    const QByteArrayList reads = fuzz::reads(data, size);
    for (const char* mode : {"slave", "master"}) {
        BrokerRig rig(QString::fromLatin1(mode), QStringLiteral("brokeraccept=friend@velto.example\n"));
        rig->_activityToggle_Action();
        for (const QByteArray& read : reads) {
            rig.brokerSocket.peerSends(read);
            rig.advance(50);
        }
        rig.advance(5000);
    }
    return 0;
}
