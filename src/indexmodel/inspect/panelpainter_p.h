#pragma once

#include "inspect/svgwriter_p.h"

#include "format/elementtree.h"

namespace inspect {

/// Draws docked panels into \a area: splitters, tabs with the current page in front, named leaves.
/// Whatever else is in a tree shares its place evenly; what has no room is left out.
void paintPanels(CSvgWriter& svg, const KW::ElementTree& panels, const QRectF& area);

} // namespace inspect
