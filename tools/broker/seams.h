#pragma once
// What the broker's logic needs from outside, small enough to fake in tests: a client's
// connection, time, and the PIN check, which the server runs away from the event loop.

#include <QByteArray>
#include <QtGlobal>
#include <functional>

namespace velto::broker {

struct Credential;

/// One client's connection, its TLS already up. The broker owns it; after close() it raises
/// no more events and only waits to be destroyed.
class Connection {
public:
    virtual ~Connection() = default;
    /// Queues bytes for the client.
    virtual void write(const QByteArray& bytes) = 0;
    /// Bytes written that the client hasn't taken yet.
    virtual qint64 unsentBytes() const = 0;
    /// Ends the connection. With `flush`, what is queued goes out first, for a short while at
    /// most; without, it is dropped.
    virtual void close(bool flush) = 0;
};

using TimerId = quint64;

class Clock {
public:
    virtual ~Clock() = default;
    /// Monotonic milliseconds.
    virtual qint64 nowMs() const = 0;
    /// Runs `action` once, `delayMs` from now, unless cancelled first. Never returns 0.
    virtual TimerId after(qint64 delayMs, std::function<void()> action) = 0;
    /// Forgets a timer; 0, or one that has fired, is no error.
    virtual void cancel(TimerId id) = 0;
};

class PinCheck {
public:
    virtual ~PinCheck() = default;
    /// Calls `done` with whether `pin` matches the credential, on the event loop's thread: at once
    /// or later.
    virtual void check(const Credential& credential, const QByteArray& pin,
                       std::function<void(bool matches)> done) = 0;
};

}  // namespace velto::broker
