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

// Nobody has saved tomorrow.
bool isOfDayToCome(const Candidate& copy)
{
    return copy.kind == CandidateKind::Copy
        && QDate::fromString(copy.strName, Qt::ISODate) > QDate::currentDate();
}

QVector<Candidate> copies(const QString& configDir)
{
    QVector<Candidate> found;
    const auto all = inspect::snapshots(configDir);
    for (const inspect::Snapshot& copy : all) {
        found.append({ CandidateKind::Copy, copy.date.toString(Qt::ISODate), copy.strPath,
                       timeOf(copy.strPath) });
    }
    std::stable_partition(found.begin(), found.end(),
                          [](const Candidate& copy) { return !isOfDayToCome(copy); });
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
                            strPath, entry.time.toLocalTime(), entry.before });
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

// The mirror is the last save, so copies of earlier ones come behind it: where that of its own save
// is torn, or was not written, nothing that has been saved since is lost.
QVector<Candidate> saves(const QString& configDir)
{
    QVector<Candidate> found = copies(configDir);
    const auto all = mirrors(configDir);
    for (const Candidate& mirror : all) {
        const auto older = std::find_if(found.begin(), found.end(), [&](const Candidate& copy) {
            return isOfDayToCome(copy)
                || copy.time.secsTo(mirror.time) > inspect::c_nSecondsOfASave;
        });
        found.insert(older, mirror);
    }
    return found;
}

bool holds(const Candidate& candidate, const QByteArray& digest)
{
    return digestOf(inspect::readBytes(candidate.strPath).bytes) == digest;
}

// Opened only where no name tells, and no save is younger than what is looked for.
QVector<Candidate>::iterator findLast(QVector<Candidate>& all, const LastState& last)
{
    const auto it = std::find_if(all.begin(), all.end(), [&](const Candidate& candidate) {
        return candidate.digest == last.digest;
    });
    return it != all.end() || all.isEmpty() || all.first().time >= last.time
        ? it
        : std::find_if(all.begin(), all.end(),
                       [&](const Candidate& candidate) { return holds(candidate, last.digest); });
}

// An undo or a restore is no save: copies and mirror still hold what it took away.
QVector<Candidate> withLastFirst(QVector<Candidate> all, const std::optional<LastState>& last)
{
    const auto it = last ? findLast(all, *last) : all.end();
    if (it == all.end()) {
        return all;
    }
    Candidate found = *it;
    found.time = last->time;
    all.erase(it);
    const auto older = std::find_if(all.begin(), all.end(), [&](const Candidate& candidate) {
        return isOfDayToCome(candidate) || candidate.time < last->time;
    });
    all.insert(older, found);
    return all;
}

} // namespace

QVector<Candidate> candidates(const QString& configDir)
{
    return withLastFirst(saves(configDir) + states(configDir), lastState(configDir))
        + asides(configDir);
}

inspect::FileBytes bytesOf(const Candidate& candidate)
{
    const inspect::FileBytes file = inspect::readBytes(candidate.strPath);
    const bool bAltered = file.state == inspect::FileState::Whole && !candidate.digest.isEmpty()
        && digestOf(file.bytes) != candidate.digest;
    return bAltered
        ? inspect::FileBytes { inspect::FileState::Damaged,
                               {},
                               { inspect::FileCause::Altered, candidate.strPath, {}, {} } }
        : file;
}

// Of an edit that has come to nothing the file is what it was.
std::optional<LastState> lastState(const QString& configDir)
{
    const auto all = CHistory(configDir).entries();
    const auto it = std::find_if(all.rbegin(), all.rend(), [](const HistoryEntry& entry) {
        return entry.strSetting.isEmpty() && !(entry.before + entry.after).isEmpty();
    });
    return it == all.rend()
        ? std::nullopt
        : std::make_optional(
            LastState { it->after.isEmpty() ? it->before : it->after, it->time.toLocalTime() });
}

std::optional<Candidate> newestWhole(const QVector<Candidate>& all)
{
    const auto it = std::find_if(all.begin(), all.end(), [](const Candidate& candidate) {
        return candidate.kind != CandidateKind::SetAside
            && inspect::userFileOf(bytesOf(candidate)).state == inspect::FileState::Whole;
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
