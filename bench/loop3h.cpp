// Three hours of loop playback over 20 favourites, in virtual time, with the simulated box
// behind the fake serial port. Prints the CPU time it took and the device commands it sent.

#include <QString>
#include <cstdio>
#include <ctime>

#include "support/rig.h"

using namespace velto;

int main() {
    constexpr qint64 kThreeHoursMs = 3LL * 60 * 60 * 1000;
    const char* modes[] = {"Pulse",  "Bounce",    "Continuous", "Asplit",  "Bsplit",
                           "Wave",   "Waterfall", "Squeeze",    "Milk",    "Throb",
                           "Thrust", "Random",    "Step",       "Training"};

    Rig rig;
    rig.connect();
    for (int i = 0; i < 20; ++i) {
        const int row = rig->favsList.addRow(
            {QStringLiteral("bench %1").arg(i), QString::number(10 + 5 * (i % 11)),
             QString::number(20 + 10 * (i % 10)), QString::number(10 + i % 20)});
        const QStringList cells{
            QLatin1String(modes[i % 14]), QString::number(10 + 2 * i),
            QString::number(60 - 2 * i),  QString::number(20 + i),
            QString::number(80 - i),      i % 2 ? QStringLiteral("H") : QStringLiteral("L")};
        for (int c = 0; c < cells.size(); ++c) rig->favsList.setCell(row, 5 + c, cells[c]);
        rig->favsList.setCellCheck(row, 4, true);
    }
    rig->loopPower.setValue(true);
    rig->loopBoostA.setText(QStringLiteral("1"));
    rig->loopBoostB.setText(QStringLiteral("1"));
    rig->randomPower.setValue(true);
    rig->loopTimeout.setValue(true);
    rig->loopRuntime.setText(QStringLiteral("180"));

    const size_t mark = rig.serial.writes.size();
    const std::clock_t start = std::clock();
    rig->randomLoop.push();
    rig.advance(kThreeHoursMs);
    const double cpu = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;

    long commands = 0;
    for (size_t i = mark; i < rig.serial.writes.size(); ++i)
        if (rig.serial.writes[i].bytes != "V\r") ++commands;  // the poll is not playback
    if (!rig.boundary.reports().isEmpty()) {
        std::fprintf(stderr, "loop3h: %s\n", qPrintable(rig.boundary.reports().first()));
        return 1;
    }
    std::printf("loop3h_cpu_s %.3f s\n", cpu);
    std::printf("loop3h_commands %ld commands\n", commands);
    return 0;
}
