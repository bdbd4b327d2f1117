#include "commands/roamstore.h"

#include <roaming/postgresstore.h>

#include <algorithm>

namespace {

using roaming::Revision;
using roaming::StoreCause;

ExitStatus statusOf(StoreCause cause)
{
    switch (cause) {
    case StoreCause::None:
        return ExitStatus::Ok;
    case StoreCause::Gone:
        return ExitStatus::Negative;
    case StoreCause::Damaged:
        return ExitStatus::Damaged;
    case StoreCause::Away:
    case StoreCause::Late:
    case StoreCause::Unsure:
    case StoreCause::Refused:
    case StoreCause::OtherSchema:
    case StoreCause::Quota:
    case StoreCause::Failed:
        break;
    }
    return ExitStatus::InputOutput;
}

QString causeText(StoreCause cause)
{
    switch (cause) {
    case StoreCause::Away:
        return QStringLiteral("the server is away");
    case StoreCause::Late:
        return QStringLiteral(
            "the server did not answer in time; it may have done it all the same");
    case StoreCause::Unsure:
        return QStringLiteral("the server has it, its standby may not; the same again asks for it");
    case StoreCause::Refused:
        return QStringLiteral("the server refuses");
    case StoreCause::OtherSchema:
        return QStringLiteral("the server's tables are of another version");
    case StoreCause::Quota:
        return QStringLiteral("there is no more room for this person");
    case StoreCause::Damaged:
        return QStringLiteral("what came is not what was stored");
    case StoreCause::None:
    case StoreCause::Gone:
    case StoreCause::Failed:
        break;
    }
    return {};
}

} // namespace

roaming::ConnectionOptions connectionOf(const Request& request)
{
    roaming::ConnectionOptions options;
    options.strLogin = request.strLogin;
    return options;
}

std::unique_ptr<roaming::CStore> openStore(const Request& request)
{
    return std::make_unique<roaming::CPostgresStore>(connectionOf(request));
}

QString storeCauseText(const roaming::StoreError& error)
{
    const QString strCause = causeText(error.cause);
    return strCause.isEmpty() ? error.strDetail.trimmed() : strCause;
}

CFailure storeFailure(const roaming::StoreError& error)
{
    const QString strCause = storeCauseText(error);
    const QString strDetail = error.strDetail.trimmed();
    return { statusOf(error.cause),
             strCause == strDetail || strDetail.isEmpty() ? strCause
                                                          : strCause + ": " + strDetail };
}

void requireAnswer(const roaming::StoreError& error)
{
    if (error) {
        throw storeFailure(error);
    }
}

Revision headIn(const QVector<roaming::Head>& heads, const QString& document)
{
    const auto it = std::find_if(heads.begin(), heads.end(), [&](const roaming::Head& head) {
        return head.strDocument == document;
    });
    return it == heads.end() ? Revision() : it->revision;
}

Revision headOf(roaming::CStore& store, const QString& document)
{
    return headIn(required(store.heads()), document);
}

Revision revisionOf(roaming::CStore& store, const QString& word)
{
    bool bNumber = false;
    const qint64 nNumber = word.toLongLong(&bNumber);
    if (!bNumber || nNumber < 1) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("'%1' is no number of a revision").arg(word));
    }
    const Revision found = required(store.revision(roaming::c_szUserDocument, nNumber));
    if (found.nNumber == 0) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("there is no revision %1").arg(nNumber));
    }
    return found;
}
