#include "commands/history.h"

#include "commands/bringback.h"
#include "commands/difftable.h"
#include "commands/settings.h"
#include "commands/shownuser.h"
#include "commands/userguard.h"
#include "commands/wholefile.h"
#include "commands/writing.h"
#include "failure.h"

#include <algorithm>

namespace {

using mend::HistoryEntry;

// The lines that can be read are edits all the same.
void warnOfDamage(const mend::CHistory& history, const mend::HistoryLog& log)
{
    if (log.state == mend::LogState::Damaged) {
        printError(QStringLiteral("%1: %2 lines are no edits; the next edit sets them aside")
                       .arg(history.logPath(), QString::number(log.nBadLines)));
    }
}

QVector<HistoryEntry> entriesOf(const Request& request)
{
    const mend::CHistory history(request.strConfigDir);
    const mend::HistoryLog log = history.log();
    if (log.state == mend::LogState::Unreadable) {
        throw CFailure(ExitStatus::InputOutput, history.logPath() + " cannot be read",
                       { history.logPath() });
    }
    warnOfDamage(history, log);
    return log.entries;
}

HistoryEntry entryOf(const Request& request, const QString& word)
{
    const QVector<HistoryEntry> all = entriesOf(request);
    const auto it = std::find_if(all.begin(), all.end(), [&](const HistoryEntry& entry) {
        return QString::number(entry.nNumber) == word;
    });
    if (it == all.end()) {
        bool bNumber = false;
        word.toInt(&bNumber);
        throw CFailure(bNumber ? ExitStatus::Negative : ExitStatus::Usage,
                       QStringLiteral("there is no edit '%1' in the history").arg(word));
    }
    return *it;
}

QByteArray stateOf(const Request& request, const QByteArray& digest)
{
    const std::optional<QByteArray> state = mend::CHistory(request.strConfigDir).state(digest);
    if (!state) {
        throw CFailure(ExitStatus::Negative,
                       digest.isEmpty() ? QStringLiteral("there was no file then")
                                        : QStringLiteral("the state %1 is not kept any more")
                                              .arg(QString::fromLatin1(digest.left(16))));
    }
    return *state;
}

std::optional<QByteArray> settingState(const Request& request, const QByteArray& digest)
{
    return digest.isEmpty() ? std::nullopt : std::make_optional(stateOf(request, digest));
}

void requireOfFile(const HistoryEntry& entry)
{
    if (!entry.strSetting.isEmpty()) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("edit %1 changed the setting '%2', not the file")
                           .arg(QString::number(entry.nNumber), entry.strSetting));
    }
}

QString pathOf(const Request& request, const QString& word)
{
    const HistoryEntry entry = entryOf(request, word);
    requireOfFile(entry);
    stateOf(request, entry.before);
    return mend::CHistory(request.strConfigDir).statePath(entry.before);
}

Table historyTable(const Request& request)
{
    Table table { "history",
                  "History",
                  { "edit", "time", "account", "host", "command", "before", "after" } };
    const auto all = entriesOf(request);
    for (const HistoryEntry& entry : all) {
        const int nDigits = request.format == Format::Text ? 8 : -1;
        table.rows.append({ entry.nNumber, entry.time.toLocalTime().toString(Qt::ISODate),
                            entry.strAccount, entry.strHost, commandText(entry),
                            QString::fromLatin1(entry.before.mid(0, nDigits)),
                            QString::fromLatin1(entry.after.mid(0, nDigits)) });
    }
    return table;
}

// Of what an undo has found instead the history knows. For others the state tells why it is gone.
void requireKept(const Request& request, const HistoryEntry& entry)
{
    const auto all = entriesOf(request);
    const auto undo = std::find_if(all.rbegin(), all.rend(), [&](const HistoryEntry& each) {
        return each.action == mend::HistoryAction::Undo && each.nOf == entry.nNumber;
    });
    const bool bOther = undo != all.rend() && undo->before != entry.after;
    if (bOther && !entry.after.isEmpty()
        && !mend::CHistory(request.strConfigDir).state(entry.after)) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("what came of edit %1 is not kept: somebody else had changed "
                                      "it before it was undone; 'history restore %2' brings back "
                                      "what was there then")
                           .arg(entry.nNumber)
                           .arg(undo->nNumber));
    }
}

// An undo is of the file as the edit left it: what a client has saved since would go with it.
ExitStatus step(const Request& request, const std::optional<HistoryEntry>& entry,
                mend::HistoryAction action)
{
    const bool bUndo = action == mend::HistoryAction::Undo;
    if (!entry) {
        throw CFailure(ExitStatus::Negative,
                       bUndo ? QStringLiteral("there is nothing to undo")
                             : QStringLiteral("there is nothing to do again"));
    }
    if (!bUndo) {
        requireKept(request, *entry);
    }
    const QByteArray from = bUndo ? entry->after : entry->before;
    const QByteArray to = bUndo ? entry->before : entry->after;
    if (!entry->strSetting.isEmpty()) {
        return stepSetting(request, *entry, settingState(request, to), action);
    }
    mend::Restoration restoration { stateOf(request, to), action, entry->nNumber };
    restoration.expected = from;
    restoration.bOverOther = request.isForced();
    restoration.bDamaged = request.isForced();
    return bringBack(request, restoration,
                     QStringLiteral("what %1 edit %2: %3")
                         .arg(bUndo ? "was before" : "came of", QString::number(entry->nNumber),
                              entry->strCommand));
}

QByteArray liveDigest(const Request& request)
{
    const inspect::FileBytes file
        = inspect::readSavedBytes(inspect::livePath(request.strConfigDir));
    return file.state == inspect::FileState::Whole ? mend::digestOf(file.bytes) : QByteArray();
}

mend::DigestNow digestNow(const Request& request)
{
    return [&request](const QString& setting) {
        return setting.isEmpty() ? liveDigest(request) : settingDigest(setting);
    };
}

// "30d" or "12h".
QDateTime timeBefore(const QString& age)
{
    bool bOk = false;
    const int nCount = age.chopped(1).toInt(&bOk);
    const bool bDays = age.endsWith('d');
    if (!bOk || nCount < 0 || nCount > 36500 || !(bDays || age.endsWith('h'))) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("--keep: '%1' is no age such as 30d or 12h").arg(age));
    }
    return QDateTime::currentDateTimeUtc().addSecs(-3600LL * nCount * (bDays ? 24 : 1));
}

} // namespace

QString commandText(const HistoryEntry& entry)
{
    return entry.action == mend::HistoryAction::Edit
        ? entry.strCommand
        : QStringLiteral("%1 (edit %2)").arg(entry.strCommand, QString::number(entry.nOf));
}

ExitStatus undoEdit(const Request& request)
{
    return step(request, mend::toUndo(entriesOf(request), digestNow(request)),
                mend::HistoryAction::Undo);
}

ExitStatus redoEdit(const Request& request)
{
    return step(request, mend::toRedo(entriesOf(request), digestNow(request)),
                mend::HistoryAction::Redo);
}

ExitStatus listHistory(const Request& request)
{
    print({ historyTable(request) }, request.format);
    return ExitStatus::Ok;
}

ExitStatus showHistory(const Request& request)
{
    const QString strPath = pathOf(request, request.words.first());
    return showUser(request, inspect::recordsOf(wholeFile(strPath).document), request.words.mid(1));
}

ExitStatus diffHistory(const Request& request)
{
    const QString strLeft = pathOf(request, request.words.first());
    return printDifferences(request, strLeft,
                            request.words.size() > 1 ? pathOf(request, request.words[1])
                                                     : inspect::livePath(request.strConfigDir));
}

ExitStatus restoreHistory(const Request& request)
{
    const HistoryEntry entry = entryOf(request, request.words.first());
    if (!entry.strSetting.isEmpty()) {
        return stepSetting(request, entry, settingState(request, entry.before),
                           mend::HistoryAction::Edit);
    }
    mend::Restoration restoration { stateOf(request, entry.before) };
    restoration.bDamaged = request.isForced();
    return bringBack(request, restoration,
                     QStringLiteral("what was before edit %1").arg(entry.nNumber));
}

ExitStatus pruneHistory(const Request& request)
{
    const QDateTime time = timeBefore(request.strKeep);
    mend::CTransaction transaction(request.strConfigDir, wishOf(request));
    mend::CHistory history(request.strConfigDir);
    const auto all = entriesOf(request);
    const qint64 nOld = std::count_if(all.begin(), all.end(),
                                      [&](const HistoryEntry& entry) { return entry.time < time; });
    Table table { "pruned", {}, { "edits", "bytes" }, {}, TableShape::One };
    if (request.isDryRun()) {
        table.strTitle = QStringLiteral("Would be forgotten, and what is kept now");
        table.rows.append({ nOld, history.bytes() });
        print({ table }, request.format);
        return ExitStatus::Ok;
    }
    requireOwner(request);
    requireLock(request, transaction);
    const std::optional<int> nGone = history.prune(time);
    if (!nGone) {
        throw CFailure(ExitStatus::InputOutput,
                       failedWrite(request, QStringLiteral("the history cannot be written")));
    }
    printLogAside(history.setAside());
    table.strTitle = QStringLiteral("Forgotten, and what is kept");
    table.rows.append({ *nGone, history.bytes() });
    print({ table }, request.format);
    return ExitStatus::Ok;
}
