#pragma once

#include "format/elementrule.h"
#include "format/layoutrecords.h"

namespace KW {

/// Whether a window element carries the attribute navtree.
enum class NavTree { Kept, LeftOut };

/// How a list of windows stands in the file.
struct WindowFormat {
    QString strTag;
    NavTree navTree;
};

const WindowFormat& layoutWindowFormat();

/// A window, with what is read of it.
ElementRule windowRule(const WindowFormat& format);

/// The pixels from \a first to \a last, both counted, of a rectangle that reaches anywhere.
int pixelCount(int first, int last);

/// The window of \a element, without its docked-panel tree.
CLayoutWindow readWindowFrame(const QDomElement& element, NavTree navTree);

/// Appends every window found below \a parent, at any depth, to \a windows.
void readWindows(const QDomElement& parent, const WindowFormat& format,
                 QVector<CLayoutWindow>& windows);

void writeWindows(QDomElement& parent, QDomDocument& doc, const WindowFormat& format,
                  const QVector<CLayoutWindow>& windows);

/// The quote layout: windows, or the docked-panel tree of one maximized main window.
QVector<CLayoutWindow> readQuoteWindows(const QDomElement& indexLayout);

} // namespace KW
