#include "commands/difftable.h"
#include "commands/patch.h"
#include "commands/wholefile.h"

#include <inspect/optionvalues.h>

namespace {

constexpr int c_nFirst = 200;

QJsonValue shown(const inspect::Difference& difference, const std::optional<QString>& value,
                 Secrets secrets)
{
    if (!value) {
        return QJsonValue::Null;
    }
    if (value->isEmpty() && (!difference.left || !difference.right)) {
        return "(present)";
    }
    const bool bHidden = secrets == Secrets::Masked && !value->isEmpty()
        && inspect::isSecret(inspect::optionOf(difference));
    return bHidden ? QStringLiteral("(hidden)") : *value;
}

} // namespace

Table diffTable(const Request& request, const QVector<inspect::Difference>& differences,
                const QString& left, const QString& right)
{
    Table table { "changes",
                  differences.isEmpty()
                      ? QStringLiteral("No differences between %1 and %2").arg(left, right)
                      : QStringLiteral("Differences between %1 (left) and %2 (right): %3")
                            .arg(left, right, inspect::summary(differences)),
                  { "part", "value", "left", "right" } };
    const bool bAll = request.amount == Amount::All || request.format == Format::Json;
    const auto shownOnes = bAll ? differences : differences.mid(0, c_nFirst);
    for (const inspect::Difference& each : shownOnes) {
        table.rows.append({ KW::partName(each.part), inspect::pathOf(each),
                            shown(each, each.left, request.secrets),
                            shown(each, each.right, request.secrets) });
    }
    const int nMore = differences.size() - shownOnes.size();
    table.strTitle += nMore > 0 ? QStringLiteral("; %1 more, with --all").arg(nMore) : QString();
    return table;
}

ExitStatus printDifferences(const Request& request, const Compared& left, const Compared& right)
{
    const auto found = inspect::differences(left.records, right.records);
    if (request.patchFile != QStringLiteral("-")) {
        print({ diffTable(request, found, left.strName, right.strName) }, request.format);
    }
    if (request.patchFile) {
        writePatch(request, left.records, right.records);
    }
    return found.isEmpty() ? ExitStatus::Ok : ExitStatus::Negative;
}

ExitStatus printDifferences(const Request& request, const QString& left, const QString& right)
{
    // The first that cannot be read is the one that is named.
    const inspect::UserFile before = wholeFile(left);
    const inspect::UserFile after = wholeFile(right);
    return printDifferences(request, Compared { left, inspect::recordsOf(before.document) },
                            Compared { right, inspect::recordsOf(after.document) });
}

ExitStatus diffFiles(const Request& request)
{
    const bool bOwn = request.words.size() == 1;
    return printDifferences(request, inputPath(request.words[0]),
                            bOwn ? inspect::livePath(request.strConfigDir)
                                 : inputPath(request.words[1]));
}
