#include "commands.h"

#include "failure.h"
#include "texttable.h"

namespace {

QString stateName(inspect::FileState state)
{
    switch (state) {
    case inspect::FileState::Whole:
        return QStringLiteral("whole");
    case inspect::FileState::Damaged:
        return QStringLiteral("damaged");
    case inspect::FileState::Missing:
    case inspect::FileState::Unreadable:
        break;
    }
    return QStringLiteral("unreadable");
}

void printRecovery(const inspect::Recovery& recovery, inspect::RecoveryMode mode)
{
    const bool bDone = mode == inspect::RecoveryMode::Do;
    printLine(recovery.strError);
    if (!recovery.strSetAside.isEmpty()) {
        printLine((bDone ? "set aside as " : "would be set aside as ") + recovery.strSetAside);
    }
    printLine((bDone ? "brought back " : "would bring back ") + recovery.source.strPath);
    if (recovery.result == inspect::RecoveryResult::RecoveredWithLoss) {
        printLine("lost: what was changed after that copy was saved");
    }
}

} // namespace

ExitStatus listSnapshots(const QString& configDir)
{
    CTextTable table({ "date", "bytes", "state", "what is wrong" });
    for (const inspect::Snapshot& snapshot : inspect::snapshots(configDir)) {
        table.add({ snapshot.date.toString(Qt::ISODate), QString::number(snapshot.nBytes),
                    stateName(snapshot.state), snapshot.strError });
    }
    table.print("Dated copies");
    return ExitStatus::Ok;
}

ExitStatus recoverUser(const QString& configDir, inspect::RecoveryMode mode)
{
    const inspect::Recovery recovery = inspect::recover(configDir, mode);
    switch (recovery.result) {
    case inspect::RecoveryResult::NothingToDo:
        printLine(inspect::livePath(configDir) + ": whole, nothing to recover");
        return ExitStatus::Ok;
    case inspect::RecoveryResult::Recovered:
        printRecovery(recovery, mode);
        return ExitStatus::Ok;
    case inspect::RecoveryResult::RecoveredWithLoss:
        printRecovery(recovery, mode);
        return ExitStatus::RecoveredWithLoss;
    case inspect::RecoveryResult::NoSnapshot:
        throw CFailure(ExitStatus::Negative,
                       recovery.strError + QStringLiteral("; there is no whole dated copy"));
    case inspect::RecoveryResult::Failed:
        break;
    }
    throw CFailure(ExitStatus::InputOutput, recovery.strError);
}
