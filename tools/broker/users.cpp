#include "broker/users.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QPasswordDigestor>
#include <QRandomGenerator>
#include <QSaveFile>
#include <unistd.h>

namespace velto::broker {

namespace {

constexpr qsizetype kSaltBytes = 16;
constexpr qsizetype kDigestBytes = 32;
const QByteArray kScheme = QByteArrayLiteral("pbkdf2-sha256");

QByteArray digestOf(const QByteArray& pin, const QByteArray& salt, int iterations) {
    return QPasswordDigestor::deriveKeyPbkdf2(QCryptographicHash::Sha256, pin, salt, iterations,
                                              kDigestBytes);
}

QByteArray keyOf(const QByteArray& id) { return id.toLower(); }

}  // namespace

Credential Credential::make(const QByteArray& pin, int iterations) {
    Credential c;
    c.salt.resize(kSaltBytes);
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(c.salt.data()),
                                          kSaltBytes / sizeof(quint32));
    c.iterations = iterations;
    c.digest = digestOf(pin, c.salt, iterations);
    return c;
}

bool Credential::matches(const QByteArray& pin) const {
    const QByteArray other = digestOf(pin, salt, iterations);
    if (other.size() != digest.size() || digest.isEmpty()) return false;
    unsigned char difference = 0;
    for (qsizetype i = 0; i < digest.size(); ++i) difference |= digest[i] ^ other[i];
    return difference == 0;
}

std::optional<Users> Users::parse(const QByteArray& text, QString* error) {
    Users users;
    const QList<QByteArray> lines = text.split('\n');
    for (qsizetype n = 0; n < lines.size(); ++n) {
        const QByteArray line = lines[n].trimmed();
        if (line.isEmpty() || line.startsWith('#')) continue;
        const QList<QByteArray> f = line.split(':');
        QString problem;
        Credential c;
        if (f.size() != 5 || f[1] != kScheme) {
            problem = QStringLiteral("not id:pbkdf2-sha256:iterations:salt:digest");
        } else if (problem = idProblem(f[0]); problem.isEmpty()) {
            bool ok = false;
            c.iterations = f[2].toInt(&ok);
            c.salt = QByteArray::fromBase64(f[3]);
            c.digest = QByteArray::fromBase64(f[4]);
            if (!ok || c.iterations < 1 || c.salt.isEmpty() || c.digest.size() != kDigestBytes)
                problem = QStringLiteral("bad iterations, salt or digest");
        }
        if (!problem.isEmpty()) {
            if (error) *error = QStringLiteral("line %1: %2").arg(n + 1).arg(problem);
            return std::nullopt;
        }
        users.set(f[0], c);
    }
    return users;
}

QByteArray Users::text() const {
    QByteArray out = QByteArrayLiteral(
        "# velto-broker users: id:pbkdf2-sha256:iterations:salt:digest\n"
        "# Change with velto-broker --users FILE --add-user EMAIL or --remove-user EMAIL.\n");
    for (const auto& [key, user] : users_) {
        const Credential& c = user.credential;
        out += user.id + ':' + kScheme + ':' + QByteArray::number(c.iterations) + ':' +
               c.salt.toBase64() + ':' + c.digest.toBase64() + '\n';
    }
    return out;
}

const Users::User* Users::find(const QByteArray& id) const {
    const auto it = users_.find(keyOf(id));
    return it == users_.end() ? nullptr : &it->second;
}

void Users::set(const QByteArray& id, const Credential& credential) {
    users_[keyOf(id)] = User{id, credential};
}

bool Users::remove(const QByteArray& id) { return users_.erase(keyOf(id)) > 0; }

QString Users::idProblem(const QByteArray& id) {
    if (id.isEmpty()) return QStringLiteral("the identity is empty");
    if (id.size() > 254) return QStringLiteral("the identity is longer than 254 characters");
    for (const char ch : id) {
        // The wire splits fields at these, with no escaping.
        if (ch == ';' || ch == ':' || ch == '=' || ch == ',')
            return QStringLiteral("the identity can't hold ; : = or ,");
        if (static_cast<unsigned char>(ch) <= ' ' || ch == 0x7f)
            return QStringLiteral("the identity can't hold spaces or control characters");
    }
    return {};
}

QString Users::pinProblem(const QByteArray& pin) {
    if (pin.isEmpty()) return QStringLiteral("the PIN is empty");
    if (pin.size() > 256) return QStringLiteral("the PIN is longer than 256 characters");
    if (pin.trimmed() != pin) return QStringLiteral("the PIN can't begin or end with a space");
    for (const char ch : pin) {
        if (ch == ';') return QStringLiteral("the PIN can't hold ;");
        if (static_cast<unsigned char>(ch) < ' ' || ch == 0x7f)
            return QStringLiteral("the PIN can't hold control characters");
    }
    return {};
}

bool UsersFile::load(QString* error) {
    QFile file(path_);
    const QFileInfo info(path_);
    if (!info.exists()) {
        users_ = Users();
        modified_ = {};
        size_ = -1;
        return true;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        if (error) *error = path_ + QStringLiteral(": ") + file.errorString();
        return false;
    }
    QString problem;
    std::optional<Users> users = Users::parse(file.readAll(), &problem);
    if (!users) {
        if (error) *error = path_ + QStringLiteral(", ") + problem;
        return false;
    }
    users_ = std::move(*users);
    modified_ = info.lastModified();
    size_ = info.size();
    return true;
}

const Users& UsersFile::current() {
    const QFileInfo info(path_);
    const qint64 size = info.exists() ? info.size() : -1;
    // A file that can't be read leaves the users as they were.
    if (size != size_ || (info.exists() && info.lastModified() != modified_)) load(nullptr);
    return users_;
}

bool UsersFile::save(QString* error) const {
    // A file replaced keeps its owner, group and mode, so a service user that reads it through
    // its group still can after root added someone; a new one is its owner's alone.
    const QFileInfo old(path_);
    const bool replacing = old.exists();
    const QFileDevice::Permissions mode =
        replacing ? old.permissions() : QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    const uint owner = old.ownerId(), group = old.groupId();
    QSaveFile file(path_);
    const bool ok = file.open(QIODevice::WriteOnly) && file.setPermissions(mode) &&
                    file.write(users_.text()) >= 0 && file.commit();
    if (!ok) {
        if (error) *error = path_ + QStringLiteral(": ") + file.errorString();
        return false;
    }
    if (replacing) {
        // Only root can give the new file back to its owner; anyone else owns it already.
        [[maybe_unused]] const int given = ::chown(QFile::encodeName(path_).constData(), owner, group);
    }
    return true;
}

}  // namespace velto::broker
