#include "mend/candidates.h"

#include "mend/history.h"

#include <inspect/snapshots.h>
#include <platform/filenames.h>

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace mend {

namespace {

QDateTime timeOf(const QString& path)
{
    return QFileInfo(path).lastModified();
}

QVector<Candidate> copies(const QString& configDir)
{
    QVector<Candidate> found;
    const auto all = inspect::snapshots(configDir);
    for (const inspect::Snapshot& copy : all) {
        found.append({ CandidateKind::Copy, copy.date.toString(Qt::ISODate), copy.strPath,
                       timeOf(copy.strPath) });
    }
    return found;
}

// The settings store keeps a value a file, under its section, which is empty, and its key.
QVector<Candidate> mirrors(const QString& configDir)
{
    const QString strPath = QDir(configDir).filePath(KW::c_szSettingsFolder + QStringLiteral("/=")
                                                     + KW::c_szMirrorKey);
    return QFileInfo::exists(strPath)
        ? QVector<Candidate> { { CandidateKind::Mirror, QStringLiteral("mirror"), strPath,
                                 timeOf(strPath) } }
        : QVector<Candidate>();
}

QVector<Candidate> states(const QString& configDir)
{
    QVector<Candidate> found;
    const CHistory history(configDir);
    const auto entries = history.entries();
    for (const HistoryEntry& entry : entries) {
        const QString strPath = history.statePath(entry.before);
        if (entry.strSetting.isEmpty() && !entry.before.isEmpty() && QFileInfo::exists(strPath)) {
            found.prepend({ CandidateKind::History, QStringLiteral("history %1").arg(entry.nNumber),
                            strPath, entry.time.toLocalTime() });
        }
    }
    return found;
}

QVector<Candidate> asides(const QString& configDir)
{
    QVector<Candidate> found;
    const QStringList names { KW::c_szLiveFile + QStringLiteral(".damaged-*"),
                              KW::c_szLiveFile + QStringLiteral(".replaced-*") };
    const auto files = QDir(configDir).entryInfoList(names, QDir::Files, QDir::Time);
    for (const QFileInfo& file : files) {
        found.append(
            { CandidateKind::SetAside, file.fileName(), file.filePath(), file.lastModified() });
    }
    return found;
}

// A save writes the mirror and the copy of the day at once, and takes less than this.
constexpr qint64 c_nSecondsOfASave = 10;

// The mirror is the last save, so copies of earlier ones come behind it: where that of its own save
// is torn, or was not written, nothing that has been saved since is lost.
QVector<Candidate> saves(const QString& configDir)
{
    QVector<Candidate> found = copies(configDir);
    const auto all = mirrors(configDir);
    for (const Candidate& mirror : all) {
        const auto older = std::find_if(found.begin(), found.end(), [&](const Candidate& copy) {
            return copy.time.secsTo(mirror.time) > c_nSecondsOfASave;
        });
        found.insert(older, mirror);
    }
    return found;
}

} // namespace

QVector<Candidate> candidates(const QString& configDir)
{
    return saves(configDir) + states(configDir) + asides(configDir);
}

std::optional<Candidate> newestWhole(const QVector<Candidate>& all)
{
    const auto it = std::find_if(all.begin(), all.end(), [](const Candidate& candidate) {
        return candidate.kind != CandidateKind::SetAside
            && inspect::readUserFile(candidate.strPath).state == inspect::FileState::Whole;
    });
    return it == all.end() ? std::nullopt : std::make_optional(*it);
}

std::optional<Candidate> newerCopy(const QString& configDir)
{
    const QVector<Candidate> all = copies(configDir);
    const QString strLive = inspect::livePath(configDir);
    if (all.isEmpty() || all.first().time <= timeOf(strLive)) {
        return std::nullopt;
    }
    const inspect::FileBytes copy = inspect::readBytes(all.first().strPath);
    const bool bDiffers = copy.bytes != inspect::readBytes(strLive).bytes;
    return bDiffers && inspect::userFileOf(copy).state == inspect::FileState::Whole
        ? std::make_optional(all.first())
        : std::nullopt;
}

QString kindName(CandidateKind kind)
{
    switch (kind) {
    case CandidateKind::Copy:
        return QStringLiteral("dated copy");
    case CandidateKind::Mirror:
        return QStringLiteral("mirror");
    case CandidateKind::History:
        return QStringLiteral("history");
    case CandidateKind::SetAside:
        break;
    }
    return QStringLiteral("set aside");
}

} // namespace mend
