#include "commands/patch.h"

#include "commands/edit.h"
#include "commands/wholefile.h"
#include "failure.h"
#include "terminal/output.h"

#include <inspect/optionvalues.h>
#include <inspect/patch.h>
#include <inspect/plaintext.h>

#include <indexuser/servicerecords.h>

#include <QDomDocument>

namespace {

using inspect::PatchChange;
using inspect::PatchFit;
using inspect::PatchPart;

inspect::Patch patchIn(const QString& path)
{
    const inspect::PatchText read = inspect::patchFromJson(contentOf(path));
    if (!read.strError.isEmpty()) {
        throw CFailure(ExitStatus::Damaged, path + ": " + read.strError, { path });
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

QDomElement containerOf(const PatchChange& change, QDomDocument& doc)
{
    const bool bRead = doc.setContent(change.after.toString());
    const QDomElement layout = doc.documentElement().firstChildElement();
    if (!bRead || layout.attribute(QStringLiteral("name")) != change.strName
        || !layout.nextSiblingElement().isNull() || !inspect::textError(change.strName).isEmpty()) {
        throw CFailure(
            ExitStatus::Damaged,
            QStringLiteral("the template '%1' in the patch is damaged").arg(change.strName));
    }
    return doc.documentElement();
}

// An import takes names that are free only.
void setTemplate(KW::UserConfigInterface& service, const PatchChange& change)
{
    KW::CPanelGroupLayoutConfig& layouts = *service.getLayoutConfig();
    const bool bTrade = change.part == PatchPart::TradeTemplate;
    const auto names = [&] {
        return bTrade ? layouts.getTradeLayoutTemplate() : layouts.getQuoteLayoutTemplate();
    };
    if (names().contains(change.strName)) {
        bTrade ? layouts.deleteTradeTemplate(change.strName)
               : layouts.deleteTemplate(change.strName);
    }
    if (!change.after.isNull()) {
        QDomDocument doc;
        QDomElement container = containerOf(change, doc);
        bTrade ? layouts.loadSingleTradeLayoutTemplates(QString(), container)
               : layouts.loadSingleLayoutTemplates(QString(), container);
        if (!names().contains(change.strName)) {
            throw CFailure(ExitStatus::Damaged,
                           QStringLiteral("the patch has no template '%1'").arg(change.strName));
        }
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
    const inspect::Patch patch = patchIn(inputPath(request.words.first()));
    return edit(request, [&](KW::UserConfigInterface& service) {
        const inspect::UserRecords records = KW::recordsOf(service, {});
        print({ patchTable(patch, records) }, request.format);
        requireFit(request, patch, records);
        for (const PatchChange& each : patch.changes) {
            if (inspect::fitOf(each, records) != PatchFit::There) {
                make(service, each);
            }
        }
    });
}
