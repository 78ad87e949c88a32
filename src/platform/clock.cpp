#include "platform/clock.h"

#include "platform/boundary.h"

namespace velto {

void Clock::pause(qint64 ms) {
    // More than `ms` whole milliseconds must pass: wait for the next whole one after it.
    waitUntilMs(nowMs() + (ms < 0 ? 0 : ms) + 1);
}

void Clock::dispatch(const std::function<void()>& event) {
    if (boundary_)
        boundary_->run(event);
    else
        event();
}

}  // namespace velto
