#include "commands/difftable.h"
#include "commands/roamstore.h"
#include "commands/shownuser.h"

#include <algorithm>

namespace {

using roaming::CStore;
using roaming::Revision;

QString stateOf(const Revision& revision)
{
    const QString strAside = revision.bResolved ? "chosen" : "aside";
    const QString strState = revision.bAside ? strAside : QString();
    return revision.bThinned ? (strState + " thinned").trimmed() : strState;
}

Table revisionTable(const QString& title, const QVector<Revision>& revisions)
{
    Table table { "revisions",
                  title,
                  { "revision", "base", "time", "author", "machine", "state", "bytes",
                    "arrangement", "reason" } };
    for (const Revision& each : revisions) {
        table.rows.append({ each.nNumber, each.nBase,
                            each.written.toLocalTime().toString(Qt::ISODate), each.strAuthor,
                            each.machine.strName, stateOf(each), each.nBytes, each.strArrangement,
                            each.strReason });
    }
    return table;
}

inspect::UserRecords recordsOf(CStore& store, const Revision& revision)
{
    const QByteArray text = required(store.text(roaming::c_szUserDocument, revision.nNumber));
    const inspect::UserFile file = inspect::userFileOf({ inspect::FileState::Whole, text, {} });
    if (file.state != inspect::FileState::Whole) {
        throw CFailure(
            ExitStatus::Damaged,
            QStringLiteral("revision %1: %2").arg(revision.nNumber).arg(toText(file.error)));
    }
    return inspect::recordsOf(file.document);
}

Compared comparedOf(CStore& store, const Revision& revision)
{
    return { QStringLiteral("revision %1").arg(revision.nNumber), recordsOf(store, revision) };
}

} // namespace

ExitStatus roamHistory(const Request& request)
{
    const auto pStore = openStore(request);
    const auto revisions = required(pStore->revisions(roaming::c_szUserDocument, 0, 0));
    print({ revisionTable("Revisions", revisions) }, request.format);
    return ExitStatus::Ok;
}

ExitStatus roamAsides(const Request& request)
{
    const auto pStore = openStore(request);
    const auto asides = required(pStore->openAsides(roaming::c_szUserDocument));
    print({ revisionTable("Asides that nobody has chosen of", asides) }, request.format);
    return ExitStatus::Ok;
}

ExitStatus roamShow(const Request& request)
{
    const auto pStore = openStore(request);
    const Revision revision = revisionOf(*pStore, request.words.first());
    return showUser(request, recordsOf(*pStore, revision), request.words.mid(1));
}

ExitStatus roamDiff(const Request& request)
{
    const auto pStore = openStore(request);
    const Revision left = revisionOf(*pStore, request.words.first());
    const bool bHead = request.words.size() == 1;
    const Revision right = bHead ? headOf(*pStore) : revisionOf(*pStore, request.words[1]);
    const Compared before = comparedOf(*pStore, left);
    return printDifferences(request, before, comparedOf(*pStore, right));
}
