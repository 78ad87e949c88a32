#pragma once
// Saving a file all or nothing: written beside the old one and renamed over it, so a save that
// fails or is cut short leaves the old file whole.

#include <QByteArray>
#include <QString>

namespace velto {

/// Writes `bytes` to `path` whole, or leaves the file as it was and returns false. `text`
/// writes the platform's line endings for "\n".
bool saveWhole(const QString& path, const QByteArray& bytes, bool text = true);

}  // namespace velto
