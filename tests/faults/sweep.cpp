// Breaks saves and recoveries call by call, or kills them, and looks at what is left.
//
//     sweep faults [--quick]              every call x every error, once and from there on
//     sweep kills [--quick]               killed before and after every call; --only NAME: of these
//                                         the save, the edit or another subject alone
//     sweep random COUNT [SEED [DONE]]    killed at random in a loop of saves
//     sweep order                         what a save does, in its order
//
// Prints a table in Markdown; status 0 only if nothing was lost.

#include "scene.h"

#include <QCoreApplication>
#include <QMap>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QTextStream>
#include <QThread>

#include <cerrno>
#include <functional>

#include <unistd.h>

namespace {

QTextStream& out()
{
    static QTextStream s_out(stdout);
    return s_out;
}

void progress(const QString& what, int done, int total)
{
    if (::isatty(STDERR_FILENO) == 1) {
        QTextStream(stderr) << "\r" << what << ' ' << done << '/' << total << "   ";
    }
}

struct Error {
    QString strName;
    QString strAction;
    int nErrno;
};

QVector<Error> errors(bool quick)
{
    const QVector<Error> few { { "ENOSPC", "fail", ENOSPC },
                               { "EIO", "fail", EIO },
                               { "EINTR", "fail", EINTR },
                               { "short", "short", 0 },
                               { "lie", "lie", 0 } };
    const QVector<Error> more { { "EDQUOT", "fail", EDQUOT },
                                { "EACCES", "fail", EACCES },
                                { "EROFS", "fail", EROFS },
                                { "EMFILE", "fail", EMFILE } };
    return quick ? few : few + more;
}

// What is left after a run, in a word; words in capitals are losses.
using Judge = std::function<QString(CScene& scene, const Run& run)>;

// What was claimed, and whether a failure was told.
QString judgeDocuments(CScene& scene, bool claimed, bool told)
{
    const int nLive = CScene::generationOf(scene.livePath());
    const int nDated = CScene::generationOf(scene.datedPath());
    if (nLive < 0 || nDated < 0) {
        return QStringLiteral("CHANGED");
    }
    if (nLive != 2 && claimed) {
        return QStringLiteral("FALSE CLAIM");
    }
    if (nLive != 2 && !told) {
        return QStringLiteral("NOT TOLD");
    }
    if (nLive == 0 && nDated == 0) {
        return QStringLiteral("LOST");
    }
    const Run recovery = scene.recover({});
    const int nAfter = CScene::generationOf(scene.livePath());
    if ((recovery.nStatus != 0 && recovery.nStatus != 6) || nAfter <= 0) {
        return QStringLiteral("NOT RECOVERED");
    }
    return nLive == 2 ? QStringLiteral("new")
        : nLive == 1  ? QStringLiteral("old")
        : nAfter == 2 ? QStringLiteral("new by recover")
                      : QStringLiteral("old by recover");
}

QString judgeSave(CScene& scene, const Run& run)
{
    return judgeDocuments(scene, run.strErr.contains("save success"),
                          run.bKilled || run.strErr.contains("fail"));
}

QString judgeEdit(CScene& scene, const Run& run)
{
    return judgeDocuments(scene,
                          run.strOut.contains("\nsaved ") || run.strOut.contains("brought back "),
                          run.bKilled || (run.nStatus != 0 && !run.strErr.isEmpty()));
}

QString judgeRecovery(CScene& scene, const Run& run)
{
    const bool bBack = CScene::generationOf(scene.livePath()) == 1;
    const bool bClaimed = !run.bKilled && (run.nStatus == 0 || run.nStatus == 6);
    if (bClaimed && !bBack) {
        return QStringLiteral("FALSE CLAIM");
    }
    const Run again = scene.recover({});
    if (CScene::generationOf(scene.livePath()) != 1 || !scene.damagedIsKept()
        || (again.nStatus != 0 && again.nStatus != 6)) {
        return QStringLiteral("LOST");
    }
    // What is back may not be on the disk yet, or may not be read again: then the status says so.
    return !bBack                 ? QStringLiteral("back by a second recover")
        : bClaimed || run.bKilled ? QStringLiteral("back")
                                  : QStringLiteral("back, called failed");
}

bool isLoss(const QString& outcome)
{
    return outcome == outcome.toUpper();
}

// Outcomes by call and error.
class COutcomes {
public:
    void add(const QString& row, const QString& column, const QString& outcome)
    {
        ++m_cells[row][column][outcome];
        m_nLost += isLoss(outcome) ? 1 : 0;
        ++m_nTotal;
    }

    void print(const QString& title, const QStringList& columns) const
    {
        out() << "\n" << title << ": " << m_nTotal << " runs, " << m_nLost << " lost\n\n| call |";
        for (const QString& column : columns) {
            out() << ' ' << column << " |";
        }
        out() << "\n|---|" << QString("---|").repeated(columns.size()) << '\n';
        for (auto row = m_cells.begin(); row != m_cells.end(); ++row) {
            out() << "| " << row.key() << " |";
            for (const QString& column : columns) {
                out() << ' ' << cellText(row->value(column)) << " |";
            }
            out() << '\n';
        }
        out().flush();
    }

    int lost() const { return m_nLost; }

private:
    using Counts = QMap<QString, int>;

    static QString cellText(const Counts& counts)
    {
        QStringList parts;
        for (auto it = counts.begin(); it != counts.end(); ++it) {
            parts.append(QStringLiteral("%1 %2").arg(QString::number(*it), it.key()));
        }
        return parts.join(", ");
    }

    QMap<QString, QMap<QString, Counts>> m_cells;
    int m_nLost = 0;
    int m_nTotal = 0;
};

struct Subject {
    QString strName;
    void (CScene::*prepare)();
    Run (CScene::*run)(const Fault& fault);
    Judge judge;
};

QVector<Subject> subjects()
{
    return { { "Save", &CScene::beforeSave, &CScene::save, judgeSave },
             { "Edit", &CScene::beforeSave, &CScene::edit, judgeEdit },
             { "Restore", &CScene::beforeRestore, &CScene::restore, judgeEdit },
             { "Undo", &CScene::beforeUndo, &CScene::undo, judgeEdit },
             { "Recovery", &CScene::beforeRecovery, &CScene::recover, judgeRecovery } };
}

// Of a run that nothing disturbs, and that therefore has to do what it is for.
QStringList callsOf(const Subject& subject)
{
    CScene scene;
    (scene.*subject.prepare)();
    const Run run = (scene.*subject.run)({});
    const QStringList calls = scene.calls();
    const QString strOutcome = subject.judge(scene, run);
    if (calls.isEmpty()
        || (strOutcome != QLatin1String("new") && strOutcome != QLatin1String("back"))) {
        qFatal("%s without a fault: %s, %s", qPrintable(subject.strName), qPrintable(strOutcome),
               qPrintable(run.strErr));
    }
    return calls;
}

void hit(CScene& scene, const Subject& subject, const Fault& fault, const QString& column,
         const QString& call, COutcomes& outcomes)
{
    (scene.*subject.prepare)();
    const Run run = (scene.*subject.run)(fault);
    const QString strOutcome = run.bKilled && !fault.strAction.startsWith("kill")
        ? QStringLiteral("CRASH")
        : subject.judge(scene, run);
    if (isLoss(strOutcome)) {
        QTextStream(stderr) << strOutcome << ": " << subject.strName << ", call " << fault.nAt
                            << ' ' << call << ", " << column << (fault.bOn ? " on" : " once")
                            << '\n'
                            << run.strErr;
    }
    outcomes.add(call.section(' ', 0, 0), column, strOutcome);
}

bool applies(const Error& error, const QString& call)
{
    if (error.strAction == QLatin1String("lie")) {
        return call.startsWith("read ") || call.startsWith("write ");
    }
    return error.strAction != QLatin1String("short") || call.startsWith("write ")
        || call.startsWith("sendfile ");
}

// The quick form fails each call once with EIO, some from there on, others with a signal; all that
// lies does.
bool isInQuick(const Error& error, int call, bool on)
{
    const int nTurn = call % 3;
    return error.strAction != QLatin1String("fail") || (error.nErrno == EIO && (!on || nTurn == 0))
        || (error.nErrno == EINTR && !on && nTurn == 1);
}

int sweepFaults(const Subject& subject, bool quick)
{
    const QStringList calls = callsOf(subject);
    CScene scene;
    COutcomes outcomes;
    QStringList columns;
    for (const Error& error : errors(quick)) {
        columns.append(error.strName);
        for (int i = 0; i < calls.size(); ++i) {
            progress(subject.strName + ' ' + error.strName, i + 1, calls.size());
            for (const bool bOn : { false, true }) {
                if (applies(error, calls[i]) && (!quick || isInQuick(error, i, bOn))) {
                    hit(scene, subject, { i + 1, error.strAction, error.nErrno, bOn },
                        error.strName, calls[i], outcomes);
                }
            }
        }
    }
    outcomes.print(QStringLiteral("%1, %2 calls").arg(subject.strName).arg(calls.size()), columns);
    return outcomes.lost();
}

// What a killed process leaves stands in nobody's way.
QString judgeNextEdit(CScene& scene, const QString& outcome)
{
    return scene.edit({}).nStatus == 0 ? outcome : QStringLiteral("NO EDIT ANY MORE");
}

int sweepKills(Subject subject, bool quick)
{
    const Judge judge = subject.judge;
    subject.judge = [judge](CScene& scene, const Run& run) {
        return judgeNextEdit(scene, judge(scene, run));
    };
    const QStringList calls = callsOf(subject);
    const QMap<QString, QString> actions { { "kill", "killed before" },
                                           { "killafter", "killed after" } };
    CScene scene;
    COutcomes outcomes;
    for (int i = 0; i < calls.size(); ++i) {
        progress(subject.strName, i + 1, calls.size());
        for (auto it = actions.begin(); it != actions.end(); ++it) {
            // Behind a call is before the next one.
            if (quick && it.key() == QLatin1String("killafter")) {
                continue;
            }
            hit(scene, subject, { i + 1, it.key(), 0, false }, *it, calls[i], outcomes);
        }
    }
    outcomes.print(QStringLiteral("%1, %2 calls").arg(subject.strName).arg(calls.size()),
                   actions.values());
    return outcomes.lost();
}

// One life of a process that saves without end; returns the last generation whose save had ended.
int killedAfter(const QString& directory, int first, int microseconds)
{
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QStringLiteral(SAVEDRIVER), { directory, QString::number(first), "0" });
    if (!process.waitForStarted()) {
        qFatal("%s", qPrintable(process.errorString()));
    }
    QThread::usleep(static_cast<unsigned long>(microseconds));
    process.kill();
    process.waitForFinished(-1);
    const QByteArrayList lines = process.readAllStandardOutput().split('\n');
    // The last line is empty, or cut.
    return lines.size() > 1 ? lines[lines.size() - 2].toInt() : first - 1;
}

int sweepRandom(int count, quint32 seed, int done)
{
    constexpr int c_nLongestMicroseconds = 40000;
    constexpr int c_nKillsWithASave = 100;
    QRandomGenerator random(seed);
    random.discard(static_cast<unsigned long long>(done));
    CScene scene;
    scene.beforeSave();
    const QString strDirectory = QFileInfo(scene.livePath()).path();
    int nFinished = 1;
    int nLost = 0;
    qint64 nSaves = 0;
    for (int i = done; i < count; ++i) {
        progress(QStringLiteral("seed %1, kill").arg(seed), i + 1, count);
        const int nBefore = nFinished;
        nFinished
            = killedAfter(strDirectory, nFinished + 1, random.bounded(c_nLongestMicroseconds));
        nSaves += nFinished - nBefore;
        const int nLive = CScene::generationOf(scene.livePath());
        const int nDated = CScene::generationOf(scene.datedPath());
        if (std::min(nLive, nDated) < 0 || std::max(nLive, nDated) < nFinished) {
            QTextStream(stderr) << "LOST: kill " << i << ", generations " << nLive << " and "
                                << nDated << " instead of " << nFinished << '\n';
            ++nLost;
            scene.beforeSave();
            nFinished = 1;
            continue;
        }
        scene.recover({});
        nFinished = std::max(nFinished, CScene::generationOf(scene.livePath()));
    }
    out() << "\n"
          << count - done << " random kills (seed " << seed << ", from " << done << "), " << nSaves
          << " saves ended in between, " << nLost << " lost\n";
    out().flush();
    // Then the kills have hit nothing.
    return nSaves > 0 || count - done < c_nKillsWithASave ? nLost : nLost + 1;
}

int printOrder()
{
    for (const QString& call : callsOf(subjects().first())) {
        out() << call << '\n';
    }
    out().flush();
    return 0;
}

int run(const QStringList& words)
{
    const QString strWhat = words.value(0);
    const bool bQuick = words.contains("--quick");
    int nLost = 0;
    if (strWhat == QLatin1String("random")) {
        return sweepRandom(words.value(1).toInt(), words.value(2, "1").toUInt(),
                           words.value(3, "0").toInt());
    }
    if (strWhat == QLatin1String("order")) {
        return printOrder();
    }
    const int nOnly = words.indexOf("--only");
    for (const Subject& subject : subjects()) {
        if (nOnly >= 0 && words.value(nOnly + 1) != subject.strName) {
            continue;
        }
        nLost += strWhat == QLatin1String("faults") ? sweepFaults(subject, bQuick)
                                                    : sweepKills(subject, bQuick);
    }
    return nLost;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    return run(QCoreApplication::arguments().mid(1)) == 0 ? 0 : 1;
}
