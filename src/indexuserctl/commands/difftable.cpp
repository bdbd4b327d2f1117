#include "commands/difftable.h"
#include "commands/wholefile.h"

#include <inspect/optionvalues.h>

namespace {

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

Table diffTable(const QVector<inspect::Difference>& differences, const QString& left,
                const QString& right, Secrets secrets)
{
    Table table { "differences",
                  differences.isEmpty()
                      ? QStringLiteral("No differences between %1 and %2").arg(left, right)
                      : QStringLiteral("Differences between %1 (left) and %2 (right): %3")
                            .arg(left, right, inspect::summary(differences)),
                  { "part", "value", "left", "right" } };
    for (const inspect::Difference& each : differences) {
        table.rows.append({ inspect::partOf(each), each.strPath, shown(each, each.left, secrets),
                            shown(each, each.right, secrets) });
    }
    return table;
}

ExitStatus printDifferences(const Request& request, const QString& left, const QString& right)
{
    const QVector<inspect::Difference> found
        = inspect::differences(inspect::recordsOf(wholeFile(left).document),
                               inspect::recordsOf(wholeFile(right).document));
    print({ diffTable(found, left, right, request.secrets) }, request.format);
    return found.isEmpty() ? ExitStatus::Ok : ExitStatus::Negative;
}

ExitStatus diffFiles(const Request& request)
{
    return printDifferences(request, inputPath(request.words[0]), inputPath(request.words[1]));
}
