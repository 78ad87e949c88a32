// The random file: "veltorandom.ini" with the fuzz bytes, read at start-up; then a random run
// and a loop run over two quick favourites with the waits, limits and boosts it gave.

#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace velto;
    fuzz::quietQt();
    Rig rig;
    rig.writePref(QStringLiteral("veltorandom.ini"), QString::fromUtf8(fuzz::bytes(data, size)));
    rig.writePref(QStringLiteral("veltofavourites.ini"),
                  QStringLiteral("Quick,2,1,2,1,Pulse,40,20,50,60,L\nOther,1,1,1,1,Wave,30,30,50,50,H\n"));
    fuzz::startAndConnect(rig);
    rig->randomStart.push();
    rig.advance(60000);
    rig->randomStop.push();
    rig->randomLoop.push();
    rig.advance(60000);
    rig->randomStop.push();
    rig.boundary.run([&] { rig->_saveAll_Action(); });
    return 0;
}
