#pragma once
// The user's Preferences folder, where the three files of the program live.

#include <QString>
#include <optional>

namespace velto {

class Preferences {
public:
    /// The folder, or nothing when there is none.
    explicit Preferences(std::optional<QString> folder) : folder_(std::move(folder)) {}
    /// $XDG_CONFIG_HOME/velto (~/.config/velto) on Linux, ~/Library/Preferences on macOS, the
    /// application-data folder on Windows; made if missing, readable by the user alone.
    static Preferences platformDefault();

    bool available() const { return folder_.has_value(); }
    const std::optional<QString>& folder() const { return folder_; }
    /// Full path of a child of the folder; empty when there is no folder.
    QString child(const QString& fileName) const;

private:
    std::optional<QString> folder_;
};

}  // namespace velto
