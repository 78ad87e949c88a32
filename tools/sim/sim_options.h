#pragma once
// The command-line options of velto-sim, shared with the tests that stand a Sim2B in for it.

#include <QString>
#include <QStringList>

#include "sim2b.h"

namespace velto::sim {

struct SimOptions {
    /// File to append "microseconds command" lines to; empty for none.
    QString trace;
    /// Time between the reads of a split reply, in ms.
    int gapMs = 20;
    /// End when the parent process ends (for children of tests).
    bool exitWithParent = false;
    bool help = false;
};

/// Applies `args` (without the program name) to `box` and `options`. Returns an error text,
/// empty when every option was understood.
QString applyOptions(const QStringList& args, Sim2B& box, SimOptions& options);

/// The --help text.
QString usage();

}  // namespace velto::sim
