#include "commands/edit.h"
#include "commands/layouts.h"
#include "commands/wholefile.h"
#include "failure.h"
#include "terminal/output.h"

#include <format/layouttemplates.h>
#include <format/sections.h>
#include <inspect/layoutfit.h>
#include <inspect/windowchanges.h>

#include <QDomDocument>

#include <algorithm>

namespace {

using Screens = QVector<inspect::Screen>;
using Fitted = QVector<inspect::FittedWindow>;
using inspect::WindowFit;

Screens wantedScreens(const Request& request)
{
    const inspect::ScreenList list = inspect::screensFromText(request.strScreens);
    if (!list.strError.isEmpty()) {
        throw CFailure(ExitStatus::Usage, "--screens: " + list.strError);
    }
    return list.screens;
}

QString verdict(const inspect::Layout& layout, const Fitted& windows)
{
    QStringList parts { QStringLiteral("%1 of %2 windows %3")
                            .arg((layout.strSection + ' ' + layout.strName).trimmed(),
                                 QString::number(windows.size()),
                                 QLatin1String(inspect::allFit(windows) ? "fits"
                                                                        : "does not fit")) };
    for (const WindowFit fit : { WindowFit::Off, WindowFit::Across, WindowFit::TooLarge,
                                 WindowFit::NoSize, WindowFit::Covered }) {
        const auto nCount = std::count_if(windows.begin(), windows.end(),
                                          [&](const auto& each) { return each.fit == fit; });
        if (nCount > 0) {
            parts.append(QStringLiteral("%1 %2").arg(nCount).arg(inspect::fitName(fit)));
        }
    }
    return parts.join(QStringLiteral(", "));
}

Table fitTable(const inspect::Layout& layout, const Fitted& windows)
{
    Table table { "fit",
                  verdict(layout, windows),
                  { "window", "state", "group", "maximized", "screen", "place", "newScreen",
                    "newPlace" } };
    for (int i = 0; i < windows.size(); ++i) {
        const inspect::FittedWindow& each = windows[i];
        if (each.fit != WindowFit::Fits || !(each.before == each.after)) {
            table.rows.append({ i + 1, inspect::fitName(each.fit), each.before.m_nPanelGroupId,
                                each.before.m_bMaximized, each.before.m_nScreenId,
                                inspect::geometryText(inspect::areaOf(each.before)),
                                each.after.m_nScreenId,
                                inspect::geometryText(inspect::areaOf(each.after)) });
        }
    }
    return table;
}

// Prints how the layout fits the screens.
Fitted fitOf(const Request& request, const inspect::UserRecords& records, const Screens& screens)
{
    const inspect::Layout layout = wantedLayout(request, records);
    const Fitted windows = inspect::fitted(layout.windows, screens);
    print({ fitTable(layout, windows) }, request.format);
    return windows;
}

// The windows that wantedLayout() has shown.
QVector<KW::CLayoutWindow>& windowsIn(KW::LayoutRecord& record, const Request& request)
{
    const bool bQuote = request.side == inspect::LayoutSide::Quote;
    if (!request.templateName) {
        return (bQuote ? record.m_quoteGroupSetting : record.m_tradeGroupSetting).m_windows;
    }
    auto& templates = bQuote ? record.m_quoteTemplates : record.m_tradeTemplates;
    return std::find_if(templates.begin(), templates.end(),
                        [&](const auto& each) { return each.m_strName == *request.templateName; })
        ->m_windows;
}

// The store has no operation that changes windows where they are: it takes them as a load would,
// which replaces the quote windows and both lists of templates, and adds to the trade windows.
void putBack(KW::CPanelGroupLayoutConfig& layouts, const KW::LayoutRecord& record)
{
    QDomDocument doc;
    QDomElement root = doc.createElement(QStringLiteral("layouts"));
    const auto section
        = [&](const QString& tag) { return root.appendChild(doc.createElement(tag)).toElement(); };
    QDomElement windows = section(KW::c_szIndexLayout);
    KW::writeWindows(windows, doc, KW::layoutWindowFormat(), record.m_quoteGroupSetting.m_windows);
    QDomElement quote = section(KW::c_szLayoutTemplates);
    KW::writeTemplates(quote, doc, KW::quoteTemplateFormat(), record.m_quoteTemplates);
    QDomElement trade = section(KW::c_szTradeLayoutTemplates);
    KW::writeTemplates(trade, doc, KW::tradeTemplateFormat(), record.m_tradeTemplates);
    layouts.loadSetting(root);
    layouts.saveTradeGroupSetting(record.m_tradeGroupSetting);
}

void bringBack(const Request& request, const Screens& screens, KW::CPanelGroupLayoutConfig& layouts)
{
    inspect::UserRecords records;
    records.layouts = layouts.record();
    const Fitted windows = fitOf(request, records, screens);
    if (!inspect::allFit(windows)) {
        std::transform(windows.begin(), windows.end(), windowsIn(records.layouts, request).begin(),
                       [](const inspect::FittedWindow& each) { return each.after; });
        putBack(layouts, records.layouts);
    }
}

} // namespace

ExitStatus fitLayout(const Request& request)
{
    const Screens screens = wantedScreens(request);
    if (request.bApply) {
        return edit(request, [&](KW::UserConfigInterface& service) {
            bringBack(request, screens, *service.getLayoutConfig());
        });
    }
    const Fitted windows = fitOf(request, inspect::recordsOf(liveFile(request).document), screens);
    return inspect::allFit(windows) ? ExitStatus::Ok : ExitStatus::Negative;
}
