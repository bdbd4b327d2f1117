#pragma once

#include "inspect/screens.h"

#include <QByteArray>

#include <optional>

namespace inspect {

/// A layout that another is compared with.
struct EarlierLayout {
    QString strName; ///< what people call it: "2024-01-31"
    QVector<KW::CLayoutWindow> windows;
};

/// What a picture shows: \a windows as they are stacked, the lowest first, on \a screens, which
/// screensOf() tells. With an earlier layout, what became of each window since.
struct Drawing {
    QString strTitle;
    QVector<KW::CLayoutWindow> windows;
    QVector<Screen> screens;
    std::optional<EarlierLayout> before = {};
};

/// An SVG file, to scale and as wide as its screens need: every window with its number, its name
/// and its panels as they are docked, and beneath it a legend of all of them, in full. Windows that
/// are covered, off the screens, without a size or too large are marked and counted there. Against
/// an earlier layout the places of before are outlined, arrows lead from there, and what is new or
/// gone is marked. Light or dark as its reader likes it.
///
///     const QByteArray svg = inspect::toSvg({ "IndexLayout", windows, inspect::screensOf(all) });
QByteArray toSvg(const Drawing& drawing);

} // namespace inspect
