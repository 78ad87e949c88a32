#pragma once
// A minimal observer list: the control models raise their events through it, and both the
// handlers of MainApp and the views listen. No moc, no threads, no ownership games.

#include <functional>
#include <utility>
#include <vector>

namespace velto {

template <class... Args>
class Signal {
public:
    using Slot = std::function<void(Args...)>;

    /// Adds a listener; returns its id for disconnect().
    int connect(Slot slot) {
        slots_.push_back({++lastId_, std::move(slot)});
        return lastId_;
    }
    void disconnect(int id) {
        for (auto it = slots_.begin(); it != slots_.end(); ++it)
            if (it->first == id) {
                slots_.erase(it);
                return;
            }
    }
    void operator()(Args... args) const {
        // A copy, so that a listener may connect or disconnect while the event runs.
        const auto slots = slots_;
        for (const auto& entry : slots) entry.second(args...);
    }
    bool empty() const { return slots_.empty(); }

private:
    std::vector<std::pair<int, Slot>> slots_;
    int lastId_ = 0;
};

}  // namespace velto
