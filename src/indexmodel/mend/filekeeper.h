#pragma once

#include <inspect/userfile.h>

#include <QString>

namespace mend {

/// What keeps a file from being replaced as it is.
enum class KeepObstacle {
    None,
    ReadOnly, ///< for its owner, who meant something by that
    OtherOwner, ///< the file of another account would become that of this process
    OtherGroup, ///< this process is not in the group of the file
    ClosedTarget, ///< the file is a link into a directory that cannot be written to
};

/// What a file is besides its content: a link, a group, permissions. A save by the service removes
/// it and makes another; this gives back what it was.
///
///     const mend::CFileKeeper keeper(inspect::livePath(dir)); // before the save
///     const inspect::FileError error = keeper.giveBack();     // after it
class CFileKeeper {
public:
    /// Notes what \a path is: the link that is left of a write that was cut short, if there is one.
    /// What is missing or no regular file needs nothing.
    explicit CFileKeeper(const QString& path);

    /// Leaves the link beside the file, so that it is not forgotten when the write is cut short.
    /// False where that cannot be done.
    bool leaveLink() const;

    /// Removes what leaveLink() has left, where nothing was written.
    void forgetLink() const;

    KeepObstacle obstacle() const;

    /// Where the link leads; empty for none.
    const QString& target() const { return m_strTarget; }

    /// Gives the file its group and permissions back. Where it was a link, the file at the end of
    /// the link is replaced by what has been saved, and only then is the link put back, in one
    /// step: whenever this is cut short, what was saved is at \a path.
    inspect::FileError giveBack() const;

private:
    bool isClosed() const;
    bool giveGroup(const QByteArray& file) const;
    bool giveBackLink() const;

    QString m_strPath;
    QString m_strTarget; ///< absolute, at the end of all links
    QByteArray m_link; ///< what the link says
    bool m_bFile = false; ///< a regular file is there
    unsigned int m_nOwner = 0;
    unsigned int m_nGroup = 0;
    unsigned int m_nMode = 0;
};

/// The link that \a path was before a write that was cut short; empty if none was.
QString linkLeftOf(const QString& path);

} // namespace mend
