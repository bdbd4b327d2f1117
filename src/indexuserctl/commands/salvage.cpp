#include "commands/bringback.h"
#include "commands/wholefile.h"
#include "commands/writing.h"
#include "failure.h"
#include "terminal/output.h"

#include <mend/candidates.h>
#include <mend/reencode.h>
#include <mend/salvage.h>

#include <algorithm>

namespace {

using mend::PartSource;
using mend::SalvagedPart;

QString namesOf(const SalvagedPart& part)
{
    const QString strNames = part.names.join(QStringLiteral(", "));
    return part.nNameless == 0 ? strNames
        : strNames.isEmpty()
        ? QStringLiteral("%1 torn without a name").arg(part.nNameless)
        : QStringLiteral("%1 and %2 torn without a name").arg(strNames).arg(part.nNameless);
}

Table partTable(const QVector<SalvagedPart>& parts)
{
    Table table { "salvaged",
                  "What comes from where",
                  { "section", "what", "from", "count", "of", "names" } };
    for (const SalvagedPart& part : parts) {
        table.rows.append({ part.strSection, mend::kindName(part.kind),
                            mend::sourceName(part.source), part.nCount, part.nOfAll,
                            namesOf(part) });
    }
    return table;
}

std::optional<KW::UserRecords> recordsOf(const std::optional<mend::Candidate>& candidate)
{
    return candidate ? std::make_optional(KW::recordsOf(wholeFile(candidate->strPath).document))
                     : std::nullopt;
}

bool isTaken(const SalvagedPart& part)
{
    return part.source == PartSource::File && part.nCount > 0;
}

bool isOlder(const SalvagedPart& part)
{
    return part.source == PartSource::Lost || part.source == PartSource::Candidate;
}

} // namespace

ExitStatus salvageUser(const Request& request)
{
    const inspect::FileBytes torn = inspect::readBytes(inspect::livePath(request.strConfigDir));
    if (torn.state != inspect::FileState::Whole) {
        throw CFailure(ExitStatus::InputOutput, toText(torn.error), placeOf(torn.error));
    }
    const inspect::UserFile file = inspect::userFileOf(torn);
    if (file.state == inspect::FileState::Whole) {
        printNothing(request, "whole, nothing to salvage");
        return ExitStatus::Ok;
    }
    // Read as UTF-8 nearly all of it would be torn.
    if (mend::isConvertible(file.error)) {
        throw CFailure(ExitStatus::Damaged, toText(file.error) + encodingHint(file.error),
                       placeOf(file.error));
    }
    const std::optional<mend::Candidate> candidate
        = mend::newestWhole(mend::candidates(request.strConfigDir));
    const mend::Salvage salvaged = mend::salvage(torn.bytes, recordsOf(candidate));
    if (std::none_of(salvaged.table.begin(), salvaged.table.end(), isTaken)) {
        throw CFailure(ExitStatus::Damaged,
                       toText(file.error) + "; nothing in it is whole, so nothing is salvaged",
                       placeOf(file.error));
    }
    const bool bText = request.format == Format::Text;
    if (bText) {
        print({ partTable(salvaged.table) }, request.format);
        printLine(candidate ? "older copy: " + candidate->strPath
                            : QStringLiteral("no older copy"));
    }
    const QByteArray text = QByteArray::fromStdString(mend::salvagedText(salvaged.records).strUtf8);
    mend::Restoration restoration { text };
    restoration.expected = mend::digestOf(torn.bytes);
    restoration.keeping = mend::Keeping::HistoryOrBeside;
    bringBack(request, restoration, QStringLiteral("what is whole in the torn file"),
              bText ? QVector<Table>() : QVector<Table> { partTable(salvaged.table) });
    return std::any_of(salvaged.table.begin(), salvaged.table.end(), isOlder)
        ? ExitStatus::RecoveredWithLoss
        : ExitStatus::Ok;
}
