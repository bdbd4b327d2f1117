#include "commands/check.h"

#include "commands/wholefile.h"
#include "failure.h"
#include "terminal/answer.h"
#include "terminal/progress.h"

#include <inspect/check.h>
#include <mend/candidates.h>
#include <mend/filekeeper.h>
#include <mend/history.h>
#include <mend/ownership.h>

#include <QFileInfo>

#include <algorithm>

namespace {

struct CheckedPath {
    QString strPath;
    inspect::CheckedFile checked;
};

// The worst of all files is the answer.
ExitStatus statusOf(const inspect::CheckedFile& checked)
{
    switch (checked.file.state) {
    case inspect::FileState::Whole:
        if (!checked.strFailure.isEmpty()) {
            break;
        }
        return checked.findings.isEmpty() ? ExitStatus::Ok : ExitStatus::Negative;
    case inspect::FileState::Damaged:
        return ExitStatus::Damaged;
    case inspect::FileState::Missing:
    case inspect::FileState::Unreadable:
        break;
    }
    return ExitStatus::InputOutput;
}

QString verdictOf(const inspect::CheckedFile& checked)
{
    if (!checked.strFailure.isEmpty()) {
        return QStringLiteral("not checked");
    }
    static const QMap<ExitStatus, QString> s_names { { ExitStatus::Ok, "in order" },
                                                     { ExitStatus::Negative, "findings" },
                                                     { ExitStatus::Damaged, "damaged" },
                                                     { ExitStatus::InputOutput, "unreadable" } };
    return s_names.value(statusOf(checked));
}

// What kept the file from being checked, for people.
QString errorOf(const CheckedPath& each)
{
    return each.checked.strFailure.isEmpty() ? toText(each.checked.file.error)
                                             : each.strPath + ": " + each.checked.strFailure;
}

QVector<inspect::Finding> damagedHistory(const QString& configDir)
{
    const mend::CHistory history(configDir);
    const mend::HistoryLog log = history.log();
    if (log.state == mend::LogState::Whole) {
        return {};
    }
    const QString strWhat = log.state == mend::LogState::Unreadable
        ? QStringLiteral(" cannot be read, so that nothing but recover can change the file")
        : QStringLiteral(": %1 lines are no edits; the next edit sets them aside")
              .arg(log.nBadLines);
    return { { {}, "damaged-history", inspect::Effect::Kept, {}, history.logPath() + strWhat } };
}

// Of the user's directory the live file stands for all that is in it.
QVector<inspect::Finding> leftoversBeside(const QString& path, const QString& liveFile)
{
    QVector<inspect::Finding> findings;
    if (QFileInfo(path) != QFileInfo(liveFile)) {
        return findings;
    }
    const auto files = standalone::leftovers(QFileInfo(liveFile).path());
    for (const QString& file : files) {
        findings.append(
            { {},
              "leftover",
              inspect::Effect::Kept,
              {},
              file + " is left of a write that was cut short; the next one removes it" });
    }
    const QString strLink = mend::toText(mend::linkLeftOf(liveFile), liveFile);
    if (!strLink.isEmpty()) {
        findings.append({ {}, "lost-link", inspect::Effect::Kept, {}, strLink });
    }
    findings += damagedHistory(QFileInfo(liveFile).path());
    for (const mend::StrangersFile& file : mend::strangersFiles(QFileInfo(liveFile).path())) {
        findings.append(
            { {},
              "other-owner",
              inspect::Effect::Kept,
              {},
              file.strPath + " belongs to " + file.strOwner + ", not to the owner of the directory"
                  + (file.bRoots ? "; an edit by root with --force gives it back" : "") });
    }
    return findings;
}

QVector<CheckedPath> checkAll(const QStringList& paths, const QString& liveFile)
{
    QVector<CheckedPath> all;
    CProgress progress(paths.size());
    for (const QString& word : paths) {
        const QString strPath = inputPath(word);
        all.append({ strPath, inspect::check(strPath) });
        all.last().checked.findings += leftoversBeside(strPath, liveFile);
        progress.advance();
    }
    return all;
}

Table findingTable(const QVector<CheckedPath>& all)
{
    Table table { "findings",
                  "Findings",
                  { "file", "line", "column", "effect", "rule", "path", "what" } };
    for (const CheckedPath& each : all) {
        for (const inspect::Finding& finding : each.checked.findings) {
            table.rows.append({ each.strPath, finding.position.nLine, finding.position.nColumn,
                                inspect::effectName(finding.effect), finding.strRule,
                                finding.strPath, finding.strText });
        }
    }
    return table;
}

Table fileTable(const QVector<CheckedPath>& all)
{
    const auto count = [&](ExitStatus status) {
        return std::count_if(all.begin(), all.end(), [&](const CheckedPath& each) {
            return statusOf(each.checked) == status;
        });
    };
    Table table { "files",
                  QStringLiteral("%1 files: %2 in order, %3 with findings, %4 damaged, "
                                 "%5 unreadable")
                      .arg(all.size())
                      .arg(count(ExitStatus::Ok))
                      .arg(count(ExitStatus::Negative))
                      .arg(count(ExitStatus::Damaged))
                      .arg(count(ExitStatus::InputOutput)),
                  { "file", "state", "findings", "error" } };
    for (const CheckedPath& each : all) {
        table.rows.append(
            { each.strPath, verdictOf(each.checked), each.checked.findings.size(), errorOf(each) });
    }
    return table;
}

QString lineAndColumn(const inspect::TextPosition& at)
{
    return at.nLine > 0 ? QStringLiteral(":%1:%2").arg(at.nLine).arg(at.nColumn) : QString();
}

// For people: findings as compilers print them, then one summary.
void printText(const QVector<CheckedPath>& all)
{
    for (const CheckedPath& each : all) {
        if (!errorOf(each).isEmpty()) {
            printLine(errorOf(each));
        }
        for (const inspect::Finding& finding : each.checked.findings) {
            printLine(QStringLiteral("%1%2: %3: %4 [%5]")
                          .arg(each.strPath, lineAndColumn(finding.position),
                               inspect::effectName(finding.effect), finding.strText,
                               finding.strRule));
        }
    }
    printSum(fileTable(all).strTitle);
}

// A power cut may have taken back what was saved last.
void addNewerCopy(const Request& request, CheckedPath& live)
{
    const std::optional<mend::Candidate> copy = mend::newerCopy(request.strConfigDir);
    if (copy && live.checked.file.state == inspect::FileState::Whole) {
        live.checked.findings.append(
            { {},
              "newer-copy",
              inspect::Effect::Kept,
              {},
              copy->strPath + " is newer and differs; recover --newest takes it" });
    }
}

Table historySize(const Request& request)
{
    const mend::CHistory history(request.strConfigDir);
    return { "history",
             "History",
             { "edits", "bytes" },
             { { history.entries().size(), history.bytes() } },
             TableShape::One };
}

void printHistory(const Request& request)
{
    const mend::CHistory history(request.strConfigDir);
    if (history.bytes() > 0) {
        printSum(
            QStringLiteral("history: %1 edits, %2 bytes")
                .arg(QString::number(history.entries().size()), QString::number(history.bytes())));
    }
}

// Without words it is the live file.
QVector<CheckedPath> checkedPaths(const Request& request)
{
    const bool bLive = request.words.isEmpty();
    const QString strLive = inspect::livePath(request.strConfigDir);
    QVector<CheckedPath> all = checkAll(bLive ? QStringList(strLive) : request.words, strLive);
    if (bLive) {
        addNewerCopy(request, all.first());
    }
    return all;
}

QVector<Table> tablesOf(const Request& request, const QVector<CheckedPath>& all)
{
    const QVector<Table> tables { fileTable(all), findingTable(all) };
    return request.words.isEmpty() ? tables + QVector<Table> { historySize(request) } : tables;
}

const CheckedPath& worstOf(const QVector<CheckedPath>& all)
{
    return *std::max_element(all.begin(), all.end(),
                             [](const CheckedPath& left, const CheckedPath& right) {
                                 const ExitStatus status = statusOf(left.checked);
                                 return graver(status, statusOf(right.checked)) != status;
                             });
}

// Findings are an answer; a file that could not be looked at is a failure.
std::optional<CFailure> failureOf(const CheckedPath& each)
{
    const QString strError = errorOf(each);
    return strError.isEmpty() ? std::nullopt
                              : std::make_optional<CFailure>(
                                  statusOf(each.checked), strError,
                                  FailurePlace { each.strPath, each.checked.file.error.at.nLine });
}

} // namespace

QVector<inspect::Finding> findingsBeside(const Request& request)
{
    const QString strLive = inspect::livePath(request.strConfigDir);
    CheckedPath live { strLive, {} };
    live.checked.file.state = inspect::FileState::Whole;
    live.checked.findings = leftoversBeside(strLive, strLive);
    addNewerCopy(request, live);
    return live.checked.findings;
}

Table userFindings(const Request& request)
{
    return findingTable(checkedPaths(request));
}

QByteArray checkAnswer(const Request& request)
{
    const QVector<CheckedPath> all = checkedPaths(request);
    CAnswer answer({ Format::Json, QStringLiteral("check") });
    const auto tables = tablesOf(request, all);
    for (const Table& table : tables) {
        answer.add(table);
    }
    const CheckedPath& worst = worstOf(all);
    if (const std::optional<CFailure> failure = failureOf(worst)) {
        answer.fail(*failure);
    }
    answer.end(statusOf(worst.checked));
    return answer.toJson();
}

ExitStatus check(const Request& request)
{
    const QVector<CheckedPath> all = checkedPaths(request);
    const CheckedPath& worst = worstOf(all);
    const std::optional<CFailure> failure = failureOf(worst);
    record(tablesOf(request, all));
    if (request.format == Format::Json && failure) {
        throw CFailure(*failure);
    }
    printText(all);
    if (request.words.isEmpty()) {
        printHistory(request);
    }
    return statusOf(worst.checked);
}
