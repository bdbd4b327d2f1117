#include "mend/recovery.h"

#include "mend/asidename_p.h"
#include "mend/reencode.h"

#include <platform/commonutil.h>
#include <platform/indexutil.h>

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace mend {

using inspect::FileCause;
using inspect::FileState;
using inspect::Snapshot;

namespace {

// A save copies the dated file to the live one at once, so a live file this much younger holds
// something that the dated copy does not.
constexpr qint64 c_nSecondsOfASave = 10;

bool isYounger(const QString& live, const Snapshot& source)
{
    const QDateTime saved = QFileInfo(source.strPath).lastModified();
    return saved.secsTo(QFileInfo(live).lastModified()) > c_nSecondsOfASave;
}

bool isWhole(const Snapshot& snapshot)
{
    return inspect::readUserFile(snapshot.strPath).state == FileState::Whole;
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
        recovery.error = { FileCause::NotSetAside, live, file.errorString(), {} };
        recovery.strSetAside.clear();
        recovery.result = RecoveryResult::Failed;
    } else if (!copyFile(recovery.source.strPath, live)
               || inspect::readUserFile(live).state != FileState::Whole) {
        recovery.error = { FileCause::NotWritten, live, {}, {} };
        recovery.result = RecoveryResult::Failed;
    }
    return recovery;
}

} // namespace

Recovery recover(const QString& configDir, RunMode mode)
{
    const QString strLive = inspect::livePath(configDir);
    const inspect::UserFile file = inspect::readUserFile(strLive);
    Recovery recovery;
    recovery.before = file.state;
    recovery.error = file.error;
    if (file.state == FileState::Whole) {
        return recovery;
    }
    if (file.state == FileState::Unreadable || isConvertible(file.error)) {
        recovery.result = RecoveryResult::Failed;
        return recovery;
    }
    const QVector<Snapshot> all = inspect::snapshots(configDir);
    const auto it = std::find_if(all.begin(), all.end(), isWhole);
    if (it == all.end()) {
        recovery.result = RecoveryResult::NoSnapshot;
        return recovery;
    }
    const bool bDamaged = file.state == FileState::Damaged;
    const bool bLoss = it != all.begin() || (bDamaged && isYounger(strLive, *it));
    recovery.result = bLoss ? RecoveryResult::RecoveredWithLoss : RecoveryResult::Recovered;
    recovery.source = *it;
    recovery.strSetAside = bDamaged ? nameAside(strLive, "damaged") : QString();
    return mode == RunMode::Do ? carriedOut(recovery, strLive) : recovery;
}

Recovery restore(const QString& configDir, const Snapshot& snapshot, RunMode mode)
{
    const QString strLive = inspect::livePath(configDir);
    Recovery recovery;
    recovery.source = snapshot;
    if (sameContent(strLive, snapshot.strPath)) {
        return recovery;
    }
    recovery.result = RecoveryResult::Recovered;
    recovery.strSetAside = nameAside(strLive, "replaced");
    if (mode == RunMode::DryRun) {
        return recovery;
    }
    for (const auto& [strFrom, strTo] :
         { std::pair { strLive, recovery.strSetAside }, std::pair { snapshot.strPath, strLive } }) {
        if (!copyFile(strFrom, strTo)) {
            recovery.result = RecoveryResult::Failed;
            recovery.strSetAside.clear();
            recovery.error = { FileCause::NotWritten, strTo, {}, {} };
            return recovery;
        }
    }
    return recovery;
}

} // namespace mend
