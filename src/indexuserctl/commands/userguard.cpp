#include "commands/userguard.h"

#include "failure.h"

#include <mend/ownership.h>

namespace {

QString textOf(mend::KeepObstacle obstacle)
{
    switch (obstacle) {
    case mend::KeepObstacle::None:
        return {};
    case mend::KeepObstacle::ReadOnly:
        return QStringLiteral("is read-only; --force changes it all the same");
    case mend::KeepObstacle::OtherOwner:
        return QStringLiteral("belongs to somebody else than this directory; --force makes it the "
                              "directory's owner's");
    case mend::KeepObstacle::OtherGroup:
        return QStringLiteral("has a group that its owner is not in; --force gives it another");
    case mend::KeepObstacle::ClosedTarget:
        return QStringLiteral("cannot be replaced: its directory is closed");
    case mend::KeepObstacle::LostTarget:
        return QStringLiteral("cannot be written: its directory is not there");
    }
    return {};
}

bool isOfLink(mend::KeepObstacle obstacle)
{
    return obstacle == mend::KeepObstacle::ClosedTarget
        || obstacle == mend::KeepObstacle::LostTarget;
}

} // namespace

void requireOwner(const Request& request)
{
    if (request.isForced() && !request.isDryRun()) {
        mend::giveToOwner(request.strConfigDir);
    }
    const mend::OwnershipFailure failure = mend::becomeOwner(request.strConfigDir);
    if (failure.cause != mend::OwnershipCause::None) {
        throw CFailure(ExitStatus::InputOutput, toText(failure));
    }
    if (!request.isDryRun()) {
        standalone::removeLeftovers(request.strConfigDir);
    }
}

CUserGuard::CUserGuard(const Request& request)
    : m_force(request.force)
    , m_bDryRun(request.isDryRun())
    , m_strLive((requireOwner(request), inspect::livePath(request.strConfigDir)))
    , m_keeper(m_strLive)
{
}

void CUserGuard::fail(mend::KeepObstacle obstacle) const
{
    const QString strFile = target().isEmpty() ? m_strLive : target();
    throw CFailure(ExitStatus::InputOutput, strFile + ' ' + textOf(obstacle), { strFile });
}

void CUserGuard::requireReplaceable() const
{
    const mend::KeepObstacle obstacle = m_keeper.obstacle();
    if (obstacle != mend::KeepObstacle::None && m_force == Force::No) {
        fail(obstacle);
    }
    requireLink();
}

void CUserGuard::requireLink() const
{
    if (isOfLink(m_keeper.obstacle())) {
        fail(m_keeper.obstacle());
    }
    if (!m_bDryRun && !m_keeper.leaveLink()) {
        throw CFailure(ExitStatus::InputOutput,
                       m_strLive + " is a link, and no note of it can be left beside it");
    }
}

CUserGuard::~CUserGuard()
{
    if (!m_bDryRun) {
        m_keeper.forgetLink();
    }
}

void CUserGuard::giveBack() const
{
    const inspect::FileError error = m_keeper.giveBack();
    if (error.cause != inspect::FileCause::None) {
        throw CFailure(ExitStatus::InputOutput,
                       m_strLive + " is saved, but not as it was: " + toText(error),
                       placeOf(error));
    }
}
