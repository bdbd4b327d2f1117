#include "standalone/leftovers_p.h"

#include "platform/filenames.h"

#include "standalone/standalone.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <sys/stat.h>
#include <unistd.h>

namespace standalone {

namespace {

constexpr qint64 c_nOldSeconds = 3600; // no write takes as long

struct Entry {
    QString strPath;
    struct stat info { };
};

bool isReplacement(const QString& name)
{
    static const QRegularExpression s_name(
        QStringLiteral("^%1[A-Za-z0-9]{6}$").arg(QRegularExpression::escape(c_szReplacement)));
    return s_name.match(name).hasMatch();
}

QStringList foldersOf(const QString& configDir)
{
    const QDir user(configDir);
    return { configDir, user.filePath(KW::c_szCopiesFolder), user.filePath(KW::c_szSettingsFolder),
             user.filePath(KW::c_szHistoryFolder) };
}

QVector<Entry> oldReplacements(const QString& directory)
{
    QVector<Entry> found;
    const QDir folder(directory);
    const qint64 nNow = QDateTime::currentSecsSinceEpoch();
    const auto names = folder.entryList({ QLatin1String(c_szReplacement) + '*' },
                                        QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    for (const QString& name : names) {
        Entry entry { folder.filePath(name) };
        if (isReplacement(name)
            && ::lstat(QFile::encodeName(entry.strPath).constData(), &entry.info) == 0
            && S_ISREG(entry.info.st_mode) && nNow - entry.info.st_mtime > c_nOldSeconds) {
            found.append(entry);
        }
    }
    return found;
}

} // namespace

void removeLeftoversIn(const QByteArray& directory)
{
    const auto found = oldReplacements(QFile::decodeName(directory));
    for (const Entry& entry : found) {
        if (entry.info.st_uid == ::geteuid()) {
            ::unlink(QFile::encodeName(entry.strPath).constData());
        }
    }
}

QStringList leftovers(const QString& configDir)
{
    QStringList paths;
    const auto folders = foldersOf(configDir);
    for (const QString& folder : folders) {
        const auto found = oldReplacements(folder);
        for (const Entry& entry : found) {
            paths.append(entry.strPath);
        }
    }
    return paths;
}

void removeLeftovers(const QString& configDir)
{
    const auto folders = foldersOf(configDir);
    for (const QString& folder : folders) {
        removeLeftoversIn(QFile::encodeName(folder));
    }
}

} // namespace standalone
