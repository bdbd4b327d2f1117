#pragma once

#include <QString>

namespace inspect {

/// How wide \a text is at most, in pixels, in a common sans serif of \a size pixels: a picture is
/// made without knowing the font that it is shown in.
qreal textWidth(const QString& text, qreal size);

/// \a text, or as much of it as fits into \a width with an ellipsis behind it; empty where not even
/// one character does. No character is cut in two.
QString shortened(const QString& text, qreal width, qreal size);

} // namespace inspect
