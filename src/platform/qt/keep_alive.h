#pragma once
// TCP keep-alive on a peer's socket, so that a peer that vanished without closing (a laptop shut,
// a cable pulled) is noticed as a lost connection instead of holding the line for hours.

class QAbstractSocket;

namespace velto {

/// Probes after this long idle, every kKeepAliveIntervalS, and gives up after kKeepAliveProbes
/// unanswered: a vanished peer is noticed within a minute.
constexpr int kKeepAliveIdleS = 30;
constexpr int kKeepAliveIntervalS = 10;
constexpr int kKeepAliveProbes = 3;

/// Turns keep-alive on for a connected socket (on Linux with the timings above; elsewhere the
/// system's own, which are longer).
void keepAlive(QAbstractSocket& socket);

}  // namespace velto
