#pragma once
// The service's users: an identity (an e-mail address, compared in any letter case) and the
// PBKDF2 digest of its PIN with a salt of its own. The file holds one user a line:
//   id:pbkdf2-sha256:ITERATIONS:SALT:DIGEST      (salt and digest in base64)
// Lines that begin with "#" and blank lines are skipped.

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <map>
#include <optional>

namespace velto::broker {

struct Credential {
    /// About 40 ms of one core per check here; the server runs checks off the event loop.
    static constexpr int kIterations = 10000;

    QByteArray salt;
    int iterations = 0;
    QByteArray digest;

    /// A fresh random salt and the digest of `pin` with it.
    static Credential make(const QByteArray& pin, int iterations = kIterations);
    /// Compares in time that doesn't depend on where the digests differ.
    bool matches(const QByteArray& pin) const;
};

class Users {
public:
    struct User {
        QByteArray id;  // as it was added
        Credential credential;
    };

    /// The users of a file's text; nullopt, with the line's number and fault in `error`, when
    /// a line can't be read.
    static std::optional<Users> parse(const QByteArray& text, QString* error = nullptr);
    QByteArray text() const;

    const User* find(const QByteArray& id) const;
    /// Adds the user, or replaces the one with the same identity in any letter case.
    void set(const QByteArray& id, const Credential& credential);
    bool remove(const QByteArray& id);
    qsizetype size() const { return static_cast<qsizetype>(users_.size()); }

    /// Why `id` can't be an identity (the wire's separators, spaces), or empty if it can.
    static QString idProblem(const QByteArray& id);
    /// Why `pin` can't be a PIN, or empty if it can.
    static QString pinProblem(const QByteArray& pin);

private:
    std::map<QByteArray, User> users_;  // by lower-case identity
};

/// The users file on disk, read again when it changes, so users added while the service runs
/// can log in at once.
class UsersFile {
public:
    explicit UsersFile(QString path) : path_(std::move(path)) {}

    /// Reads the file; a missing one has no users. False, with the reason, if it can't be read.
    bool load(QString* error);
    /// The users, read again first if the file changed; a file gone bad keeps the old ones.
    const Users& current();
    Users& users() { return users_; }
    /// Writes the whole file anew, readable by its owner only.
    bool save(QString* error) const;
    const QString& path() const { return path_; }

private:
    QString path_;
    Users users_;
    QDateTime modified_;
    qint64 size_ = -1;
};

}  // namespace velto::broker
