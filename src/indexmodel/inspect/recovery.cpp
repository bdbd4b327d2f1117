#include "inspect/recovery.h"

#include "platform/commonutil.h"
#include "platform/indexutil.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace inspect {

namespace {

// A save copies the dated file to the live one at once, so a live file this much younger holds
// something that the dated copy does not.
constexpr qint64 c_nSecondsOfASave = 10;

bool isYounger(const QString& live, const Snapshot& source)
{
    const QDateTime saved = QFileInfo(source.strPath).lastModified();
    return saved.secsTo(QFileInfo(live).lastModified()) > c_nSecondsOfASave;
}

QString nameAside(const QString& live, const char* pszWhy)
{
    const QString strStem = live + QLatin1Char('.') + pszWhy + QLatin1Char('-')
        + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString strName = strStem;
    for (int i = 2; QFileInfo::exists(strName); ++i) {
        strName = QStringLiteral("%1-%2").arg(strStem).arg(i);
    }
    return strName;
}

bool readAll(const QString& path, std::string& content)
{
    return KW::stdReadFile(path.toLocal8Bit().toStdString(), content);
}

bool copyFile(const QString& from, const QString& to)
{
    std::string strContent;
    std::string strGbkTo = to.toStdString();
    return readAll(from, strContent) && utils::safeUtf82Gbk(strGbkTo) == 0
        && KW::stdWriteFile(strGbkTo, strContent, "wb");
}

bool sameContent(const QString& left, const QString& right)
{
    std::string strLeft;
    std::string strRight;
    return readAll(left, strLeft) && readAll(right, strRight) && strLeft == strRight;
}

// Between its two steps there is no live file, and the next call goes on from there.
Recovery carriedOut(Recovery recovery, const QString& live)
{
    QFile file(live);
    if (!recovery.strSetAside.isEmpty() && !file.rename(recovery.strSetAside)) {
        recovery.strError = live + QStringLiteral(": cannot be set aside: ") + file.errorString();
        recovery.strSetAside.clear();
        recovery.result = RecoveryResult::Failed;
    } else if (!copyFile(recovery.source.strPath, live)
               || readUserFile(live).state != FileState::Whole) {
        recovery.strError = live + QStringLiteral(": cannot be written");
        recovery.result = RecoveryResult::Failed;
    }
    return recovery;
}

} // namespace

Recovery recover(const QString& configDir, RunMode mode)
{
    const QString strLive = livePath(configDir);
    const UserFile file = readUserFile(strLive);
    if (file.state == FileState::Whole) {
        return {};
    }
    if (file.state == FileState::Unreadable) {
        return { RecoveryResult::Failed, {}, {}, file.strError };
    }
    const QVector<Snapshot> all = snapshots(configDir);
    const auto it = std::find_if(all.begin(), all.end(), [](const Snapshot& snapshot) {
        return snapshot.state == FileState::Whole;
    });
    if (it == all.end()) {
        return { RecoveryResult::NoSnapshot, {}, {}, file.strError };
    }
    const bool bDamaged = file.state == FileState::Damaged;
    const bool bLoss = it != all.begin() || (bDamaged && isYounger(strLive, *it));
    const Recovery plan { bLoss ? RecoveryResult::RecoveredWithLoss : RecoveryResult::Recovered,
                          *it, bDamaged ? nameAside(strLive, "damaged") : QString(),
                          file.strError };
    return mode == RunMode::Do ? carriedOut(plan, strLive) : plan;
}

Recovery restore(const QString& configDir, const Snapshot& snapshot, RunMode mode)
{
    const QString strLive = livePath(configDir);
    if (sameContent(strLive, snapshot.strPath)) {
        return { RecoveryResult::NothingToDo, snapshot, {}, {} };
    }
    Recovery plan { RecoveryResult::Recovered, snapshot, nameAside(strLive, "replaced"), {} };
    if (mode == RunMode::DryRun) {
        return plan;
    }
    for (const auto& [strFrom, strTo] :
         { std::pair { strLive, plan.strSetAside }, std::pair { snapshot.strPath, strLive } }) {
        if (!copyFile(strFrom, strTo)) {
            return { RecoveryResult::Failed, snapshot, {}, strTo + ": cannot be written" };
        }
    }
    return plan;
}

} // namespace inspect
