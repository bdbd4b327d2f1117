#include "commands/shownuser.h"
#include "commands/wholefile.h"
#include "failure.h"

#include <inspect/closest.h>
#include <inspect/drawing.h>

#include <algorithm>

namespace {

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

} // namespace

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
    const inspect::Drawing drawing { (layout.strSection + ' ' + layout.strName).trimmed(),
                                     layout.windows,
                                     inspect::screensOf(inspect::windowsOf(records)) };
    writeFile(request, request.strOut, harmlessPage(inspect::toSvg(drawing)));
    return ExitStatus::Ok;
}
