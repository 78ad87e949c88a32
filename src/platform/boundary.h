#pragma once
// The one place where failures that the system lets happen are caught. Code that may read past
// the end of short input uses a checked accessor that throws OutOfBounds; every event is
// dispatched through an ExceptionBoundary, which reports the failure and lets the program go on.

#include <QString>
#include <QStringList>
#include <functional>
#include <stdexcept>

namespace velto {

class OutOfBounds : public std::out_of_range {
public:
    explicit OutOfBounds(const std::string& what) : std::out_of_range(what) {}
};

/// Checked element access for the arrays of the system: throws OutOfBounds.
template <class List>
decltype(auto) at(List& list, qsizetype index) {
    if (index < 0 || index >= static_cast<qsizetype>(list.size()))
        throw OutOfBounds("index " + std::to_string(index) + " out of bounds (size " +
                          std::to_string(list.size()) + ")");
    return list[index];
}

class ExceptionBoundary {
public:
    using Reporter = std::function<void(const QString& what)>;

    /// Where reports go: a message box, standard error, or a record in tests.
    void setReporter(Reporter reporter) { reporter_ = std::move(reporter); }

    /// Runs one event handler; whatever escapes it is reported, never propagated.
    void run(const std::function<void()>& handler) noexcept;

    /// A handler wrapped so that every call runs through this boundary.
    template <class F>
    std::function<void()> wrap(F handler) {
        return [this, handler] { run(handler); };
    }

    const QStringList& reports() const { return reports_; }
    void clearReports() { reports_.clear(); }

private:
    void report(const QString& what) noexcept;

    Reporter reporter_;
    QStringList reports_;
};

}  // namespace velto
