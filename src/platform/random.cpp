#include "platform/random.h"

namespace velto {

Random::Random(std::optional<quint64> seed) : engine_(seed ? *seed : std::random_device{}()) {}

qint64 Random::InRange(qint64 a, qint64 b) {
    if (b <= a) return a;
    return std::uniform_int_distribution<qint64>(a, b)(engine_);
}

qint64 Random::LessThan(qint64 n) {
    if (n < 1) return 0;
    return std::uniform_int_distribution<qint64>(0, n - 1)(engine_);
}

}  // namespace velto
