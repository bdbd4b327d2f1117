#include "inspect/scene_p.h"

#include <algorithm>

namespace inspect {

namespace {

bool isOnScreens(const PlacedWindow& placed)
{
    return placed.place == WindowPlace::Shown || placed.place == WindowPlace::Covered;
}

// Not 100 where something is missing, nor 0 where something is there; nothing for all of it.
QString percentText(qreal share, const QString& what)
{
    return share > 0.9999
        ? QString()
        : QStringLiteral("%1 % %2").arg(QString::number(qBound(1, qRound(share * 100), 99)), what);
}

QString placeRemark(const PlacedWindow& placed)
{
    switch (placed.place) {
    case WindowPlace::Shown:
        return percentText(placed.nShare, QStringLiteral("seen"));
    case WindowPlace::Covered:
        return QStringLiteral("completely covered");
    case WindowPlace::OffScreens:
        return QStringLiteral("off every screen");
    case WindowPlace::NoSize:
        return QStringLiteral("without a size");
    case WindowPlace::TooLarge:
        return QStringLiteral("larger than the desktop");
    }
    return {};
}

QStringList remarksOf(const PlacedWindow& placed)
{
    QStringList remarks;
    if (placed.window.m_bIsMain) {
        remarks.append(QStringLiteral("main"));
    }
    if (placed.window.m_bMaximized) {
        remarks.append(QStringLiteral("maximized"));
    }
    remarks.append(placeRemark(placed));
    if (isOnScreens(placed) && placed.nOnScreens < 0.9999) {
        remarks.append(percentText(1 - placed.nOnScreens, QStringLiteral("off the screens")));
    }
    remarks.removeAll(QString());
    return remarks;
}

SceneWindow goneWindow(const PlacedWindow& before, int number)
{
    SceneWindow gone;
    gone.placed = before;
    gone.placed.nNumber = number;
    gone.fate = WindowFate::Gone;
    gone.changes.append(QStringLiteral("gone"));
    if (isOnScreens(before)) {
        gone.before = before.area;
    }
    return gone;
}

// What became of each window, and those that are gone behind the others.
void compareWith(const QVector<KW::CLayoutWindow>& before, const Drawing& drawing, Scene& scene)
{
    const QVector<PlacedWindow> earlier = placed(before, drawing.screens);
    const auto changes = windowChanges(before, drawing.windows);
    for (const WindowChange& change : changes) {
        if (change.fate == WindowFate::Gone) {
            scene.windows.append(goneWindow(earlier[change.nBefore], scene.windows.size() + 1));
            continue;
        }
        SceneWindow& window = scene.windows[change.nAfter];
        window.fate = change.fate;
        window.changes
            = change.fate == WindowFate::New ? QStringList { QStringLiteral("new") } : change.notes;
        if (change.nBefore >= 0 && isOnScreens(earlier[change.nBefore])
            && earlier[change.nBefore].area != window.placed.area) {
            window.before = earlier[change.nBefore].area;
        }
    }
}

int countOf(const Scene& scene, WindowFate fate)
{
    return static_cast<int>(
        std::count_if(scene.windows.begin(), scene.windows.end(),
                      [&](const SceneWindow& window) { return window.fate == fate; }));
}

// "is" for one, "are" for several, and nothing for none.
void count(const Scene& scene, WindowPlace place, const char* pszOne, const char* pszMany,
           QStringList& lines)
{
    const auto nCount
        = std::count_if(scene.windows.begin(), scene.windows.end(), [&](const SceneWindow& window) {
              return window.fate != WindowFate::Gone && window.placed.place == place;
          });
    if (nCount > 0) {
        lines.append(counted(static_cast<int>(nCount), pszOne, pszMany));
    }
}

} // namespace

bool SceneWindow::isDrawn() const
{
    return fate != WindowFate::Gone && isOnScreens(placed);
}

bool SceneWindow::isAmiss() const
{
    return placed.place != WindowPlace::Shown && fate != WindowFate::Gone;
}

QString SceneWindow::panels() const
{
    return panelNames(KW::panelTree(placed.window)).join(QStringLiteral(", "));
}

QString SceneWindow::name() const
{
    return placed.window.m_strNavTree.isEmpty() ? panels() : placed.window.m_strNavTree;
}

QString SceneWindow::label() const
{
    const QRectF area = areaOf(placed.window);
    QStringList parts { name(), QStringLiteral("group %1").arg(placed.window.m_nPanelGroupId),
                        placeText(area) + QLatin1Char(' ') + sizeText(area),
                        QStringLiteral("screen %1").arg(placed.window.m_nScreenId) };
    parts += remarks + changes;
    parts.removeAll(QString());
    return QStringLiteral("%1: %2").arg(QString::number(placed.nNumber),
                                        parts.join(QStringLiteral(" · ")));
}

QStringList Scene::summary() const
{
    const int nGone = countOf(*this, WindowFate::Gone);
    QStringList lines { counted(windows.size() - nGone, "window", "windows")
                        + QStringLiteral(" on ") + counted(screens.size(), "screen", "screens") };
    count(*this, WindowPlace::Covered, "is completely covered", "are completely covered", lines);
    count(*this, WindowPlace::OffScreens, "lies off every screen", "lie off every screen", lines);
    count(*this, WindowPlace::NoSize, "has no size", "have no size", lines);
    count(*this, WindowPlace::TooLarge, "is larger than the desktop", "are larger than the desktop",
          lines);
    if (isCompared()) {
        lines.append(QStringLiteral("against %4: %1 changed, %2 new, %3 gone")
                         .arg(countOf(*this, WindowFate::Changed))
                         .arg(countOf(*this, WindowFate::New))
                         .arg(nGone)
                         .arg(*before));
    }
    return lines;
}

Scene sceneOf(const Drawing& drawing)
{
    Scene scene;
    scene.strTitle = drawing.strTitle;
    scene.screens = drawing.screens;
    scene.desktop = desktopOf(drawing.screens);
    const auto all = placed(drawing.windows, drawing.screens);
    for (const PlacedWindow& each : all) {
        SceneWindow window;
        window.placed = each;
        window.remarks = remarksOf(each);
        scene.windows.append(window);
    }
    if (drawing.before) {
        scene.before = drawing.before->strName;
        compareWith(drawing.before->windows, drawing, scene);
    }
    return scene;
}

QString screenText(const Screen& screen)
{
    return QStringLiteral("screen %1%2 %3 %4")
        .arg(QString::number(screen.nId),
             screen.source == ScreenSource::Maximized ? QString() : QStringLiteral(", at least"),
             placeText(screen.rect), sizeText(screen.rect));
}

QString counted(int count, const char* pszOne, const char* pszMany)
{
    return QString::number(count) + QLatin1Char(' ')
        + QString::fromLatin1(count == 1 ? pszOne : pszMany);
}

} // namespace inspect
