#pragma once

#include "commands.h"

#include <mend/filekeeper.h>

/// What stands around a change of the user's directory. Made before anything there is looked at, it
/// makes this process the owner of the directory, for good; see mend::becomeOwner(). Throws
/// CFailure where that is not to be.
void requireOwner(const Request& request);

/// The same for a change of the file, of which it keeps the group, the permissions and the link
/// that it may be.
///
///     const CUserGuard guard(request);
///     guard.requireReplaceable();
///     ... // save
///     guard.giveBack();
class CUserGuard {
public:
    explicit CUserGuard(const Request& request);

    CUserGuard(const CUserGuard&) = delete;
    CUserGuard& operator=(const CUserGuard&) = delete;
    ~CUserGuard();

    /// Throws CFailure for a file that is read-only or not the directory's owner's, unless --force
    /// was given. Unless this is a dry run, a link is from now on not forgotten.
    void requireReplaceable() const;

    /// Of that what a link needs: throws CFailure where nothing can be put at its end.
    void requireLink() const;

    /// Throws CFailure when the file did not become again what it was.
    void giveBack() const;

    /// Where the file is, if it is a link; empty otherwise.
    const QString& target() const { return m_keeper.target(); }

private:
    [[noreturn]] void fail(mend::KeepObstacle obstacle) const;

    Force m_force;
    bool m_bDryRun;
    QString m_strLive;
    mend::CFileKeeper m_keeper;
};
