#pragma once
// Shared by the fuzz targets: the input cut into reads, and the program started as a test rig
// starts it. A fresh rig per input keeps every crash reproducible from its input alone.

#include <QByteArrayList>
#include <QtGlobal>
#include <cstddef>
#include <cstdint>

#include "support/rig.h"

namespace velto::fuzz {

/// The byte that separates one read (or one delivery) from the next in an input. The ASCII
/// record separator: rare in real traffic, and the seeds stay readable.
constexpr char kReadSeparator = '\x1e';

/// The input as the reads of a peer or a device, in order. Empty reads are kept: an empty
/// data event is a case too.
inline QByteArrayList reads(const uint8_t* data, size_t size) {
    return QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)).split(kReadSeparator);
}

inline QByteArray bytes(const uint8_t* data, size_t size) {
    return {reinterpret_cast<const char*>(data), qsizetype(size)};
}

/// Qt's warnings cost time at every input and say nothing a crash report would not.
inline void quietQt() {
    static const bool once = [] {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        return true;
    }();
    (void)once;
}

/// Start-up as the program runs it, through the boundary (a short line in a file fails there
/// and the program goes on), then Connect in whatever mode the files chose.
inline void startAndConnect(Rig& rig) {
    rig.boundary.run([&] { rig.open(); });
    rig->Connect.push();
    rig.advance(100);
}

}  // namespace velto::fuzz
