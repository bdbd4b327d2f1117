#include "commands/patch.h"

#include "commands/edit.h"
#include "commands/templateoperations.h"
#include "commands/wholefile.h"
#include "failure.h"
#include "terminal/output.h"

#include <inspect/optionvalues.h>
#include <inspect/patch.h>

#include <format/userdocument.h>
#include <indexuser/servicerecords.h>

#include <QSet>

namespace {

using inspect::PatchChange;
using inspect::PatchFit;
using inspect::PatchPart;

inspect::Patch patchIn(const QString& path)
{
    const inspect::PatchText read = inspect::patchFromJson(contentOf(path));
    if (!read.strError.isEmpty()) {
        const QString strLine = read.nLine > 0 ? ':' + QString::number(read.nLine) : QString();
        throw CFailure(ExitStatus::Damaged, path + strLine + ": " + read.strError,
                       { path, read.nLine });
    }
    return read.patch;
}

Table patchTable(const inspect::Patch& patch, const inspect::UserRecords& records)
{
    Table table { "patch", "Changes of the patch", { "part", "name", "state" } };
    for (const PatchChange& each : patch.changes) {
        table.rows.append({ inspect::partName(each.part), each.strName,
                            inspect::fitName(inspect::fitOf(each, records)) });
    }
    return table;
}

QStringList conflictsOf(const inspect::Patch& patch, const inspect::UserRecords& records)
{
    QStringList names;
    for (const PatchChange& each : patch.changes) {
        if (inspect::fitOf(each, records) == PatchFit::Conflict) {
            names.append(inspect::partName(each.part) + ' ' + each.strName);
        }
    }
    return names;
}

void requireFit(const Request& request, const inspect::Patch& patch,
                const inspect::UserRecords& records)
{
    const QStringList conflicts = conflictsOf(patch, records);
    if (!conflicts.isEmpty() && !request.isForced()) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("what the patch was made of is no more: %1; --force makes "
                                      "the changes all the same")
                           .arg(conflicts.join(QStringLiteral(", "))));
    }
}

void setOption(KW::UserConfigInterface& service, const PatchChange& change)
{
    KW::paramSettingForClient options = service.getParamSettingForClient();
    const QString strError = inspect::setOption(options, change.strName, change.after.toString());
    if (!strError.isEmpty()) {
        throw CFailure(ExitStatus::Damaged, strError);
    }
    service.setParamSettingForClient(options);
}

void setStocks(KW::UserConfigInterface& service, const PatchChange& change)
{
    KW::CustomStockMap stocks;
    service.getCustomStockMap(stocks);
    const int nList = change.strName.toInt();
    if (change.after.isNull()) {
        stocks.remove(nList);
    } else {
        stocks[nList] = inspect::stocksOf(change);
    }
    service.setCustomStockMap(stocks);
}

void import(Layouts& layouts, const TemplateOperations& operations, QDomElement container)
{
    (layouts.*operations.importAll)(QString(), container);
}

// Out of the list and in again. An import leaves alone a name that is taken.
void moveToEnd(Layouts& layouts, const TemplateOperations& operations, const QString& name)
{
    QDomDocument doc;
    QDomElement container = doc.createElement(QStringLiteral("templates"));
    (layouts.*operations.exportOne)(name, container, doc);
    (layouts.*operations.remove)(name);
    import(layouts, operations, container);
}

// What is imported stands last: what stood behind it goes behind it again. Of names that stand
// twice the operations reach only the first.
void replaceTemplate(Layouts& layouts, const TemplateOperations& operations,
                     const PatchChange& change)
{
    const QStringList names = (layouts.*operations.names)();
    (layouts.*operations.remove)(change.strName);
    const KW::UserDocument read = KW::parseUserDocument(change.after.toString());
    import(layouts, operations, read.document.documentElement());
    const bool bUnique = QSet<QString>(names.begin(), names.end()).size() == names.size();
    const int nPlace = names.indexOf(change.strName);
    const QStringList behind = bUnique && nPlace >= 0 ? names.mid(nPlace + 1) : QStringList();
    for (const QString& name : behind) {
        moveToEnd(layouts, operations, name);
    }
}

void setTemplate(KW::UserConfigInterface& service, const PatchChange& change)
{
    Layouts& layouts = *service.getLayoutConfig();
    const TemplateOperations& table
        = operations(change.part == PatchPart::TradeTemplate ? inspect::LayoutSide::Trade
                                                             : inspect::LayoutSide::Quote);
    if ((layouts.*table.names)().count(change.strName) > 1) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("there are several templates '%1'").arg(change.strName));
    }
    if (change.after.isNull()) {
        (layouts.*table.remove)(change.strName);
    } else {
        replaceTemplate(layouts, table, change);
    }
}

void make(KW::UserConfigInterface& service, const PatchChange& change)
{
    switch (change.part) {
    case PatchPart::Option:
        setOption(service, change);
        break;
    case PatchPart::Stocks:
        setStocks(service, change);
        break;
    case PatchPart::QuoteTemplate:
    case PatchPart::TradeTemplate:
        setTemplate(service, change);
        break;
    }
}

KW::UserRecords heldBy(KW::UserConfigInterface& service)
{
    return KW::savedForm(KW::recordsOf(service, {}));
}

// Of what nobody meant nothing is saved.
void requireMade(const inspect::Patch& patch, const KW::UserRecords& before,
                 KW::UserConfigInterface& service)
{
    const QStringList names = inspect::otherwiseMade(patch, before, heldBy(service));
    if (!names.isEmpty()) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("a save would not hold what the patch says: %1")
                           .arg(names.join(QStringLiteral(", "))));
    }
}

void makeAll(const Request& request, const inspect::Patch& patch, const KW::UserRecords& before,
             KW::UserConfigInterface& service)
{
    requireFit(request, patch, before);
    for (const PatchChange& each : patch.changes) {
        if (inspect::fitOf(each, before) != PatchFit::There) {
            make(service, each);
        }
    }
    requireMade(patch, before, service);
}

} // namespace

void writePatch(const Request& request, const KW::UserRecords& left, const KW::UserRecords& right)
{
    const inspect::Patch patch = inspect::patchBetween(left, right);
    writeFile(request, *request.patchFile, inspect::toJson(patch));
    // A patch on standard output tells of it itself.
    if (!patch.leftOut.isEmpty() && *request.patchFile != QLatin1String("-")) {
        printLine("left out: " + patch.leftOut.join(QStringLiteral(", ")));
    }
}

// What somebody else has saved before the lock was taken is judged, too.
ExitStatus applyPatch(const Request& request)
{
    const QString strPath = inputPath(request.words.first());
    const inspect::Patch patch = patchIn(strPath);
    return edit(request, [&](KW::UserConfigInterface& service) {
        const inspect::UserRecords records = heldBy(service);
        print({ patchTable(patch, records) }, request.format);
        try {
            makeAll(request, patch, records, service);
        } catch (const CFailure& failure) {
            throw CFailure(failure.status(), failure.message(), { strPath });
        }
    });
}
