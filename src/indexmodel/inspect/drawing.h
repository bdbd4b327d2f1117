#pragma once

#include "inspect/screens.h"

#include <QByteArray>

class QXmlStreamWriter;

namespace inspect {

/// A picture of \a layout, to scale: the screens, the windows on them with their panel group and,
/// nested as they are docked, their panels; main and maximized windows are marked. Windows off
/// every screen are listed below. \a title stands on top.
struct Drawing {
    QString strTitle;
    QVector<KW::CLayoutWindow> windows;
    QVector<Screen> screens;
};

/// An SVG file.
QByteArray toSvg(const Drawing& drawing);

/// The same as an element of an HTML page.
void writeSvg(QXmlStreamWriter& xml, const Drawing& drawing);

} // namespace inspect
