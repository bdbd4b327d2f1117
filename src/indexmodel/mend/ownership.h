#pragma once

#include <QString>
#include <QVector>

namespace mend {

/// Why a user's directory is not to be written to.
enum class OwnershipCause {
    None,
    System, ///< in the system's words
    OtherOwner, ///< the account that the directory belongs to, which is not that of this process
    OtherLink, ///< the account of the link, which could point it anywhere
};

struct OwnershipFailure {
    OwnershipCause cause = OwnershipCause::None;
    QString strPath;
    QString strDetail; ///< the words or the account that belong to the cause
};

/// One line for people; empty for no failure.
QString toText(const OwnershipFailure& failure);

/// Makes sure that all this process writes below \a configDir belongs to the owner of that
/// directory, or of the nearest one above it that is there. Root becomes that owner for good, with
/// the groups of the account, before anything is written: whenever the process ends, nothing of
/// root's is left, and links lead it nowhere where the owner could not go. Anybody else has to be
/// the owner. New files and directories are for their owner only.
///
/// Temp, Settings, History and the live file may be links of the owner's and of root's: whoever may
/// make others in that directory cannot lead the write astray. Not beside threads that open files.
///
///     const mend::OwnershipFailure failure = mend::becomeOwner(dir);
OwnershipFailure becomeOwner(const QString& configDir);

/// A file that belongs to somebody else than the directory that it stands in for.
struct StrangersFile {
    QString strPath;
    QString strOwner;
    bool bRoots = false;
};

/// Of the user's directory \a configDir the live file, the lock and what is in Temp, Settings and
/// History, by name; links are looked at, not followed.
QVector<StrangersFile> strangersFiles(const QString& configDir);

/// Gives the owner of the directory what root's runs of other tools have left there: regular files
/// of one name and those three directories, following no link. For root, before becomeOwner(); what
/// cannot be given back stays as it is.
void giveToOwner(const QString& configDir);

/// "zhang", or the number of an account that has no name.
QString accountName(unsigned int uid);

} // namespace mend
