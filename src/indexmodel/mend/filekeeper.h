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
    LostTarget, ///< the file is a link into a directory that is not there
};

/// What a file is besides its content: a link, a group, permissions. A save by the service removes
/// it and makes another; this gives back what it was.
///
///     const mend::CFileKeeper keeper(inspect::livePath(dir)); // before the save
///     const inspect::FileError error = keeper.giveBack();     // after it
class CFileKeeper {
public:
    /// Notes what \a path is: the link that is left of a write that was cut short, if there is one
    /// that is put back. What is missing or no regular file needs nothing.
    explicit CFileKeeper(const QString& path);

    /// Leaves the link beside the file, so that it is not forgotten when the write is cut short.
    /// False where that cannot be done; a file of that name is somebody's, and stays.
    bool leaveLink() const;

    /// Removes what leaveLink() has left, where nothing was written.
    void forgetLink() const;

    KeepObstacle obstacle() const;

    /// Where the link leads, though nothing may be there; empty for none.
    const QString& target() const { return m_strTarget; }

    /// Gives the file its group and permissions back. Where it was a link, the file at the end of
    /// the link is replaced by what has been saved, and only then is the link put back, in one
    /// step: whenever this is cut short, what was saved is at \a path. A missing one is made.
    inspect::FileError giveBack() const;

private:
    bool isLost() const;
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

/// A link beside a file, which the file was before a write that was cut short.
struct LeftLink {
    QString strLink; ///< in the link's words; empty for none
    bool bOurs = false; ///< the next write puts it back, since that takes nothing away
};

/// The link that is left beside \a path. It is put back where it leads to a state that the history
/// of the directory knows, or to nothing in a directory that takes files: anything else was not
/// there before that write.
LeftLink linkLeftOf(const QString& path);

/// What becomes of \a left beside \a path, for people; empty for none.
QString toText(const LeftLink& left, const QString& path);

} // namespace mend
