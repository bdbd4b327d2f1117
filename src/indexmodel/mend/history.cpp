#include "mend/history.h"

#include "mend/asidename_p.h"
#include "mend/durable_p.h"

#include <inspect/userfile.h>
#include <platform/filenames.h>

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace mend {

namespace {

// What is kept unasked: enough to undo a bad week, never more than a few files of the largest
// users.
constexpr int c_nMostEdits = 200;
constexpr int c_nFewestEdits = 10;
constexpr qint64 c_nMostBytes = 64LL * 1024 * 1024;
// Nobody gets there by editing, and there is room to count on from it.
constexpr int c_nHighestNumber = 1000000000;

const QMap<HistoryAction, QString>& actionNames()
{
    static const QMap<HistoryAction, QString> s_names { { HistoryAction::Edit, "edit" },
                                                        { HistoryAction::Undo, "undo" },
                                                        { HistoryAction::Redo, "redo" } };
    return s_names;
}

QByteArray lineOf(const HistoryEntry& entry)
{
    const QJsonObject line { { "number", entry.nNumber },
                             { "time", entry.time.toString(Qt::ISODateWithMs) },
                             { "account", entry.strAccount },
                             { "host", entry.strHost },
                             { "command", entry.strCommand },
                             { "before", QString::fromLatin1(entry.before) },
                             { "after", QString::fromLatin1(entry.after) },
                             { "action", actionNames().value(entry.action) },
                             { "of", entry.nOf },
                             { "setting", entry.strSetting } };
    return QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
}

HistoryEntry entryOf(const QJsonObject& line)
{
    return { line["number"].toInt(),
             QDateTime::fromString(line["time"].toString(), Qt::ISODateWithMs),
             line["account"].toString(),
             line["host"].toString(),
             line["command"].toString(),
             line["before"].toString().toLatin1(),
             line["after"].toString().toLatin1(),
             actionNames().key(line["action"].toString(), HistoryAction::Edit),
             line["of"].toInt(),
             line["setting"].toString() };
}

// It becomes the name of a file.
bool isDigest(const QByteArray& digest)
{
    static const QRegularExpression s_digest(QStringLiteral("\\A([0-9a-f]{64})?\\z"));
    return s_digest.match(QString::fromLatin1(digest)).hasMatch();
}

bool isEntry(const HistoryEntry& entry)
{
    return entry.nNumber > 0 && entry.nNumber <= c_nHighestNumber && entry.time.isValid()
        && isDigest(entry.before) && isDigest(entry.after);
}

// A line that cannot be read has had a number, too.
int nextNumber(const HistoryLog& log)
{
    int nHighest = 0;
    for (const HistoryEntry& entry : log.entries) {
        nHighest = std::max(nHighest, entry.nNumber);
    }
    return nHighest + log.nBadLines + 1;
}

QString asidePattern()
{
    return QStringLiteral("log.jsonl.damaged-*");
}

// Those that were undone at the end, and those that were not, the last of each first to be asked.
struct Stacks {
    QVector<HistoryEntry> done;
    QVector<HistoryEntry> undone;
};

// What the undo or redo \a step was of may be forgotten: then the step itself tells its states.
HistoryEntry forgotten(const HistoryEntry& step)
{
    HistoryEntry entry = step;
    const bool bUndo = step.action == HistoryAction::Undo;
    entry.nNumber = step.nOf;
    entry.before = bUndo ? step.after : step.before;
    entry.after = bUndo ? step.before : step.after;
    return entry;
}

void move(QVector<HistoryEntry>& from, QVector<HistoryEntry>& to, const HistoryEntry& step)
{
    to.append(from.isEmpty() ? forgotten(step) : from.takeLast());
}

// Without a file before there is nothing to go back to; a setting can be removed again.
bool isDone(const HistoryEntry& entry, const QByteArray& foundNext)
{
    const bool bFile = entry.strSetting.isEmpty();
    return (!bFile || (!entry.before.isEmpty() && !entry.after.isEmpty()))
        && entry.after != entry.before && foundNext != entry.before;
}

QByteArray foundBehind(const QVector<HistoryEntry>& entries, int index, const DigestNow& now)
{
    const QString& strSetting = entries[index].strSetting;
    const auto it
        = std::find_if(entries.begin() + index + 1, entries.end(),
                       [&](const HistoryEntry& entry) { return entry.strSetting == strSetting; });
    return it == entries.end() ? now(strSetting) : it->before;
}

Stacks stacksOf(const QVector<HistoryEntry>& entries, const DigestNow& now)
{
    Stacks stacks;
    for (int i = 0; i < entries.size(); ++i) {
        const HistoryEntry& entry = entries[i];
        if (!isDone(entry, foundBehind(entries, i, now))) {
            continue;
        }
        switch (entry.action) {
        case HistoryAction::Edit:
            stacks.done.append(entry);
            stacks.undone.clear();
            break;
        case HistoryAction::Undo:
            move(stacks.done, stacks.undone, entry);
            break;
        case HistoryAction::Redo:
            move(stacks.undone, stacks.done, entry);
            break;
        }
    }
    return stacks;
}

std::optional<HistoryEntry> lastOf(const QVector<HistoryEntry>& entries)
{
    return entries.isEmpty() ? std::nullopt : std::make_optional(entries.last());
}

QSet<QByteArray> statesOf(const QVector<HistoryEntry>& entries)
{
    QSet<QByteArray> states;
    for (const HistoryEntry& entry : entries) {
        states << entry.before << entry.after;
    }
    return states;
}

} // namespace

QByteArray digestOf(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
}

CHistory::CHistory(const QString& configDir)
    : m_strDirectory(QDir(configDir).filePath(KW::c_szHistoryFolder))
{
}

HistoryLog CHistory::log() const
{
    const inspect::FileBytes file = inspect::readBytes(logPath());
    HistoryLog log;
    if (file.state != inspect::FileState::Whole) {
        const bool bMissing = file.state == inspect::FileState::Missing;
        log.state = bMissing ? LogState::Whole : LogState::Unreadable;
        return log;
    }
    const auto lines = file.bytes.split('\n');
    for (const QByteArray& line : lines) {
        const HistoryEntry entry = entryOf(QJsonDocument::fromJson(line).object());
        if (isEntry(entry)) {
            log.entries.append(entry);
        } else if (!line.isEmpty()) {
            ++log.nBadLines;
        }
    }
    log.state = log.nBadLines > 0 ? LogState::Damaged : LogState::Whole;
    return log;
}

bool CHistory::begin(HistoryEntry& entry, const std::optional<QByteArray>& before)
{
    const HistoryLog known = log();
    HistoryEntry numbered = entry;
    numbered.nNumber = nextNumber(known);
    numbered.before = before ? digestOf(*before) : QByteArray();
    if (known.state == LogState::Unreadable || !makeDurableDirectory(m_strDirectory)
        || (before && !state(numbered.before)
            && !writeDurably(statePath(numbered.before), *before))) {
        return false;
    }
    QVector<HistoryEntry> all = known.entries;
    all.append(numbered);
    const bool bMany = all.size() > c_nMostEdits || bytes() > c_nMostBytes;
    const int nKept = all.size() > c_nMostEdits ? c_nMostEdits : all.size() - 1;
    if (bMany && all.size() > c_nFewestEdits) {
        all = all.mid(all.size() - nKept);
    }
    if (!write(known, all) || (bMany && !removeUnused(all))) {
        return false;
    }
    entry = numbered;
    return true;
}

bool CHistory::end(int number, const QByteArray& after)
{
    const HistoryLog known = log();
    QVector<HistoryEntry> all = known.entries;
    const auto it = std::find_if(
        all.begin(), all.end(), [&](const HistoryEntry& entry) { return entry.nNumber == number; });
    if (it == all.end()) {
        return false;
    }
    it->after = after;
    return write(known, all);
}

std::optional<QByteArray> CHistory::state(const QByteArray& digest) const
{
    const inspect::FileBytes file = inspect::readBytes(statePath(digest));
    return file.state == inspect::FileState::Whole && digestOf(file.bytes) == digest
        ? std::make_optional(file.bytes)
        : std::nullopt;
}

std::optional<int> CHistory::prune(const QDateTime& time)
{
    const HistoryLog known = log();
    if (known.state == LogState::Unreadable) {
        return std::nullopt;
    }
    const QVector<HistoryEntry>& all = known.entries;
    QVector<HistoryEntry> kept;
    std::copy_if(all.begin(), all.end(), std::back_inserter(kept),
                 [&](const HistoryEntry& entry) { return entry.time >= time; });
    // The last one stays, since numbers go on from it.
    if (kept.isEmpty() && !all.isEmpty()) {
        kept.append(all.last());
    }
    const int nGone = all.size() - kept.size();
    const bool bDone
        = removeAsides(time) && (nGone == 0 || write(known, kept)) && removeUnused(kept);
    return bDone ? std::make_optional(nGone) : std::nullopt;
}

qint64 CHistory::bytes() const
{
    qint64 nBytes = 0;
    QDirIterator files(m_strDirectory, QDir::Files | QDir::Hidden);
    while (files.hasNext()) {
        files.next();
        nBytes += files.fileInfo().size();
    }
    return nBytes;
}

QString CHistory::logPath() const
{
    return m_strDirectory + "/log.jsonl";
}

QString CHistory::statePath(const QByteArray& digest) const
{
    return m_strDirectory + '/' + QString::fromLatin1(digest) + ".xml";
}

// What is torn may still tell a person of an edit.
bool CHistory::keepDamaged(const HistoryLog& known)
{
    if (known.state != LogState::Damaged) {
        return true;
    }
    const inspect::FileBytes file = inspect::readBytes(logPath());
    const QString strAside = nameAside(logPath(), "damaged");
    if (file.state != inspect::FileState::Whole || !writeDurably(strAside, file.bytes)) {
        return false;
    }
    m_strSetAside = strAside;
    return true;
}

bool CHistory::write(const HistoryLog& known, const QVector<HistoryEntry>& entries)
{
    if (!keepDamaged(known)) {
        return false;
    }
    QByteArray lines;
    for (const HistoryEntry& entry : entries) {
        lines += lineOf(entry);
    }
    return writeDurably(logPath(), lines);
}

// A state that only a damaged line tells of may be the one that somebody looks for.
QByteArray CHistory::asides() const
{
    QByteArray told;
    const auto files = QDir(m_strDirectory).entryInfoList({ asidePattern() }, QDir::Files);
    for (const QFileInfo& file : files) {
        told += inspect::readBytes(file.filePath()).bytes + '\n';
    }
    return told;
}

bool CHistory::removeAsides(const QDateTime& before) const
{
    const auto files = QDir(m_strDirectory).entryInfoList({ asidePattern() }, QDir::Files);
    return std::all_of(files.begin(), files.end(), [&](const QFileInfo& file) {
        return file.lastModified() >= before || QFile::remove(file.filePath());
    });
}

bool CHistory::removeUnused(const QVector<HistoryEntry>& entries) const
{
    const QSet<QByteArray> used = statesOf(entries);
    const QByteArray told = asides();
    const QDir directory(m_strDirectory);
    const auto names = directory.entryList({ QStringLiteral("*.xml") }, QDir::Files);
    return std::all_of(names.begin(), names.end(), [&](const QString& name) {
        const QByteArray digest = name.chopped(4).toLatin1();
        return used.contains(digest) || told.contains(digest)
            || QFile::remove(directory.filePath(name));
    });
}

std::optional<HistoryEntry> toUndo(const QVector<HistoryEntry>& entries, const DigestNow& now)
{
    return lastOf(stacksOf(entries, now).done);
}

std::optional<HistoryEntry> toRedo(const QVector<HistoryEntry>& entries, const DigestNow& now)
{
    return lastOf(stacksOf(entries, now).undone);
}

} // namespace mend
