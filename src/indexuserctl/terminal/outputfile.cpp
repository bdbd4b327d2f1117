#include "terminal/outputfile.h"

#include "failure.h"

#include <inspect/belongings.h>

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringList>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t c_nPermissions = 07777;
constexpr mode_t c_nOwnerOnly = 0600;

QStringList& inputs()
{
    static QStringList s_inputs;
    return s_inputs;
}

bool writeTo(QFileDevice& file, const QByteArray& content)
{
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size()
        && file.flush(); // neither commit() nor close() would tell
}

// The group of a file that becomes another's is not let in by the permissions of the old one.
mode_t modeLike(int descriptor, const struct stat& old)
{
    const mode_t nMode = old.st_mode & c_nPermissions;
    if (::fchown(descriptor, old.st_uid, old.st_gid) == 0) {
        return nMode;
    }
    const bool bGroup = ::fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) == 0;
    return nMode & ~static_cast<mode_t>(S_ISUID | S_ISGID | (bGroup ? 0U : S_IRWXG));
}

} // namespace

void noteInput(const QString& path)
{
    inputs().append(path);
}

void requireNothingOfTheUser(const QString& configDir, const QString& path)
{
    const QString strOwn = inspect::belongingAt(configDir, path);
    if (!strOwn.isEmpty()) {
        throw CFailure(ExitStatus::Usage,
                       path + ": that is the user's own " + strOwn + ", where no output goes",
                       { path });
    }
    const bool bInput = std::any_of(inputs().begin(), inputs().end(), [&](const QString& input) {
        return inspect::isSameFile(path, input);
    });
    if (bInput) {
        throw CFailure(ExitStatus::Usage, path + ": that is an input, which no output replaces");
    }
}

// A device or a pipe is written to; the name of a file is taken by a whole new one.
QString replaceOutput(const QString& path, const QByteArray& content, Readers readers)
{
    const QFileInfo target(path);
    if (target.exists() && !target.isFile() && !target.isDir()) {
        QFile device(path);
        return writeTo(device, content) ? QString() : device.errorString();
    }
    const QString strEnd = inspect::endOfLinks(path);
    struct stat old { };
    const bool bOld = ::stat(QFile::encodeName(strEnd).constData(), &old) == 0;
    QSaveFile file(strEnd);
    if (!writeTo(file, content)) {
        return file.errorString();
    }
    const mode_t nLike = bOld ? modeLike(file.handle(), old) : c_nOwnerOnly;
    const mode_t nMode = readers == Readers::OwnerOnly ? c_nOwnerOnly : nLike;
    if (::fchmod(file.handle(), nMode) != 0) {
        return QString::fromLocal8Bit(std::strerror(errno));
    }
    return file.commit() ? QString() : file.errorString();
}
