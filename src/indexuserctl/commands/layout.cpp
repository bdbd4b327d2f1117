#include "commands/layouts.h"

#include "commands/earlier.h"
#include "commands/shownuser.h"
#include "commands/snapshot.h"
#include "commands/wholefile.h"
#include "failure.h"

#include <inspect/closest.h>
#include <inspect/drawing.h>

#include <algorithm>

namespace {

QString nameOf(const inspect::Layout& layout)
{
    return (layout.strSection + ' ' + layout.strName).trimmed();
}

// A template of that name goes before a file, a day before both.
void addEarlier(const Request& request, const inspect::UserRecords& records,
                inspect::Drawing& drawing)
{
    const QString strWord = *request.against;
    QStringList names;
    const auto templates = inspect::templatesOf(records, request.side);
    for (const inspect::Layout& each : templates) {
        names.append(each.strName);
    }
    const int nTemplate = names.indexOf(strWord);
    if (nTemplate >= 0 && !dayOf(strWord).isValid()) {
        drawing.before = inspect::EarlierLayout { strWord, templates[nTemplate].windows };
        return;
    }
    if (!namesUser(strWord)) {
        throw CFailure(
            ExitStatus::Negative,
            QStringLiteral("--against: there is no date, template or file '%1'").arg(strWord)
                + inspect::didYouMean(strWord, names));
    }
    const Earlier earlier = earlierUser(request, strWord);
    drawing.before
        = inspect::EarlierLayout { strWord, wantedLayout(request, earlier.records).windows };
    // What was elsewhere is seen on the screens of then.
    drawing.screens
        = inspect::screensOf(inspect::windowsOf(records) + inspect::windowsOf(earlier.records));
}

} // namespace

inspect::Layout wantedLayout(const Request& request, const inspect::UserRecords& records)
{
    const bool bTemplate = request.templateName.has_value();
    const QVector<inspect::Layout> layouts
        = bTemplate ? inspect::templatesOf(records, request.side) : inspect::layoutsOf(records);
    QStringList names;
    for (const inspect::Layout& layout : layouts) {
        names.append(bTemplate ? layout.strName : layout.strSection);
    }
    const QString strWanted = request.templateName.value_or(inspect::layoutSection(request.side));
    const int nFound = names.indexOf(strWanted);
    if (nFound < 0) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("there is no template '%1'").arg(strWanted)
                           + inspect::didYouMean(strWanted, names));
    }
    return layouts[nFound];
}

ExitStatus showLayout(const Request& request)
{
    const inspect::UserRecords records = inspect::recordsOf(liveFile(request).document);
    const inspect::Layout layout = wantedLayout(request, records);
    print({ windowTable("windows", "Windows", { layout }) }, request.format);
    return ExitStatus::Ok;
}

ExitStatus drawLayout(const Request& request)
{
    const inspect::UserRecords records = inspect::recordsOf(liveFile(request).document);
    const inspect::Layout layout = wantedLayout(request, records);
    inspect::Drawing drawing { nameOf(layout), layout.windows,
                               inspect::screensOf(inspect::windowsOf(records)) };
    if (request.against) {
        addEarlier(request, records, drawing);
    }
    writeFile(request, request.strOut, harmlessPage(inspect::toSvg(drawing)));
    return ExitStatus::Ok;
}
