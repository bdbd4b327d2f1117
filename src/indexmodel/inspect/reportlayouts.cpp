#include "inspect/picture_p.h"
#include "inspect/report_p.h"

#include <algorithm>

namespace inspect {

namespace {

constexpr int c_nMostScreens = 32;
constexpr int c_nLong = 13; // up to here the numbers of a window stay in a line

QString titleOf(const Layout& layout)
{
    return (layout.strSection + QLatin1Char(' ') + layout.strName).trimmed();
}

// A switch a screen; the script shows them.
void writeSwitches(CHtmlWriter& page, const Scene& scene)
{
    if (scene.screens.size() < 2 || scene.screens.size() > c_nMostScreens) {
        return;
    }
    page.begin("div",
               { { "class", QStringLiteral("screens") },
                 { "role", QStringLiteral("group") },
                 { "aria-label", "Screens of " + scene.strTitle },
                 { "hidden", QString() } });
    const auto button = [&](const QString& text, const QString& screen, const QString& box) {
        page.element("button", text,
                     { { "type", QStringLiteral("button") },
                       { "aria-pressed",
                         screen.isEmpty() ? QStringLiteral("true") : QStringLiteral("false") },
                       { "data-screen", screen },
                       { "data-box", box } });
    };
    button(QStringLiteral("All screens"), {}, pictureBox(scene, scene.desktop));
    for (const Screen& screen : scene.screens) {
        button(QStringLiteral("Screen %1").arg(screen.nId), QString::number(screen.nId),
               pictureBox(scene, screen.rect));
    }
    page.end();
}

void writeWindow(CHtmlWriter& page, const SceneWindow& window, const QString& id)
{
    const QStringList cells = legendCells(window);
    const QStringList headings = legendColumns();
    page.begin("tr",
               { { "id", legendRowId(id, window) },
                 { "class", legendClass(window) },
                 { "data-screen", QString::number(window.placed.window.m_nScreenId) } });
    page.begin("th", { { "scope", QStringLiteral("row") } });
    if (window.isDrawn()) {
        page.element("a", cells.first(),
                     { { "href", QLatin1Char('#') + windowId(id, window) },
                       { "aria-label", QStringLiteral("Window %1").arg(cells.first()) } });
    } else {
        page.element("span", cells.first());
    }
    page.end();
    for (int i = 1; i < cells.size(); ++i) {
        CHtmlWriter::Attributes attributes { { "data-label", headings[i] } };
        if (cells[i].size() > c_nLong) {
            attributes.append({ "class", QStringLiteral("long") });
        }
        page.element("td", cells[i], attributes);
    }
    page.end();
}

void writeWindows(CHtmlWriter& page, const Scene& scene, const QString& id)
{
    QVector<SceneWindow> windows = scene.windows;
    std::stable_partition(windows.begin(), windows.end(), [](const SceneWindow& window) {
        return window.fate != WindowFate::Same;
    });
    page.beginTable("Windows of " + scene.strTitle, legendColumns(), "windows");
    for (const SceneWindow& window : scene.isCompared() ? windows : scene.windows) {
        writeWindow(page, window, id);
    }
    page.endTable();
}

void writeLayout(CHtmlWriter& page, const Scene& scene, const QString& id, Fold fold)
{
    QStringList summary = scene.summary();
    beginFold(page, id, scene.strTitle,
              scene.isCompared() ? summary.takeLast() : summary.takeFirst(), fold);
    if (!summary.isEmpty()) {
        page.element("p", summary.join(QStringLiteral(" · ")),
                     { { "class", QStringLiteral("summary") } });
    }
    page.begin("div", { { "class", QStringLiteral("layout") } });
    writeSwitches(page, scene);
    if (!scene.screens.isEmpty()) {
        page.begin("figure");
        writePicture(page.xml(), scene, id);
        page.end();
    }
    writeWindows(page, scene, id);
    page.end();
    page.end();
}

bool isChanged(const Scene& scene)
{
    return std::any_of(scene.windows.begin(), scene.windows.end(),
                       [](const SceneWindow& window) { return window.fate != WindowFate::Same; });
}

// The windows of the layout of before that has the same name; none for a layout that is new.
QVector<KW::CLayoutWindow> windowsBefore(const QVector<Layout>& before, const Layout& layout)
{
    const auto it = std::find_if(before.begin(), before.end(), [&](const Layout& each) {
        return titleOf(each) == titleOf(layout);
    });
    return it == before.end() ? QVector<KW::CLayoutWindow>() : it->windows;
}

// Layouts that are gone show what they had.
QVector<Layout> withGone(QVector<Layout> now, const QVector<Layout>& before)
{
    for (const Layout& layout : before) {
        const auto isSame = [&](const Layout& each) { return titleOf(each) == titleOf(layout); };
        if (std::none_of(now.begin(), now.end(), isSame)) {
            now.append({ layout.strSection, layout.strName, {} });
        }
    }
    return now;
}

struct ShownLayout {
    Scene scene;
    QString strId;
    bool bLike = false; ///< one that is looked at most: open unless there is more to look at
};

void writeAll(CHtmlWriter& page, const ReportUser& user, const QVector<Layout>& now,
              const QVector<Layout>& before, const char* pszId)
{
    QVector<ShownLayout> shown;
    const QVector<Layout> all = withGone(now, before);
    for (int i = 0; i < all.size(); ++i) {
        Drawing drawing { titleOf(all[i]), all[i].windows, user.screens };
        if (user.facts.before) {
            drawing.before
                = EarlierLayout { user.facts.before->strName, windowsBefore(before, all[i]) };
        }
        const bool bCurrent = all[i].strSection == layoutSection(LayoutSide::Quote)
            || all[i].strSection == layoutSection(LayoutSide::Trade);
        shown.append({ sceneOf(drawing), QStringLiteral("%1-%2").arg(pszId).arg(i + 1), bCurrent });
    }
    if (user.facts.before) {
        std::stable_partition(shown.begin(), shown.end(),
                              [](const ShownLayout& each) { return isChanged(each.scene); });
    }
    for (const ShownLayout& each : qAsConst(shown)) {
        const bool bOpen = user.facts.before ? isChanged(each.scene) : each.bLike;
        if (each.scene.windows.isEmpty()) {
            page.element("p", each.scene.strTitle + QStringLiteral(": no windows"),
                         { { "class", QStringLiteral("none") } });
        } else {
            writeLayout(page, each.scene, each.strId, bOpen ? Fold::Open : Fold::Closed);
        }
    }
    if (shown.isEmpty()) {
        writeNone(page);
    }
}

QVector<Layout> allTemplates(const UserRecords& records)
{
    return templatesOf(records, LayoutSide::Quote) + templatesOf(records, LayoutSide::Trade);
}

} // namespace

void writeLayouts(CHtmlWriter& page, const ReportUser& user)
{
    writeOrders(page, user, KW::UserPart::Layouts);
    writeAll(page, user, layoutsOf(user.records),
             user.facts.before ? layoutsOf(user.facts.before->records) : QVector<Layout>(),
             "layout");
}

void writeTemplates(CHtmlWriter& page, const ReportUser& user)
{
    writeOrders(page, user, KW::UserPart::Templates);
    writeAll(page, user, allTemplates(user.records),
             user.facts.before ? allTemplates(user.facts.before->records) : QVector<Layout>(),
             "template");
}

} // namespace inspect
