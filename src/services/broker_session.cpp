// The brokering service's session. Its TLS client arrives with the services; until then a
// Connect through the broker opens nothing.

#include "device/main_app.h"

namespace velto {

void MainApp::startBroker(bool slave) {
    Q_UNUSED(slave);
}

}  // namespace velto
