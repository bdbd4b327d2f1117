#pragma once

#include "inspect/legend_p.h"

#include <QXmlStreamWriter>

namespace inspect {

/// The windows of \a scene as an element of a page, whose style sheets hold page/picture.css. What
/// is drawn of window 3 is called ID-window-3 and links to the row ID-row-3, which is the page's.
void writePicture(QXmlStreamWriter& xml, const Scene& scene, const QString& id);

/// What of that picture shows \a part of the desktop, as a viewBox has it.
QString pictureBox(const Scene& scene, const QRectF& part);

} // namespace inspect
