// The favourites file: "veltofavourites.ini" with the fuzz bytes, read at start-up; then the
// first rows played as a user would, and the list saved back.

#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velto;
    fuzz::quietQt();
    Rig rig;
    rig.writePref(QStringLiteral("veltofavourites.ini"), QString::fromUtf8(fuzz::bytes(data, size)));
    fuzz::startAndConnect(rig);
    const int rows = std::min(rig->favsList.listCount(), 3);
    for (int row = 0; row < rows; ++row) {
        rig->favsList.setListIndex(row);
        rig->playSelected.push();
        rig.advance(20000);
        rig->playbackStop.push();
        rig.advance(1000);
    }
    rig.boundary.run([&] { rig->_saveAll_Action(); });
    return 0;
}
