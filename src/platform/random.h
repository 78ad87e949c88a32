#pragma once
// Random numbers, seeded by the platform (or by a test, for repeatable runs).

#include <QtGlobal>
#include <optional>
#include <random>

namespace velto {

class Random {
public:
    /// Real randomness unless a seed is given.
    explicit Random(std::optional<quint64> seed = std::nullopt);
    /// a to b, both included (b < a gives a).
    qint64 InRange(qint64 a, qint64 b);
    /// 0 to n - 1 (0 when n < 1).
    qint64 LessThan(qint64 n);

private:
    std::mt19937_64 engine_;
};

}  // namespace velto
