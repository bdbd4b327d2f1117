#pragma once

#include <QByteArray>
#include <QVector>

namespace roaming {

/// The most parts of a text.
constexpr int c_nMostParts = 256;

/// A text in the parts that are stored once each: one begins at each line that begins with a tag,
/// but not with the end of one, so that a section is a part. Joined they are the text, whatever it
/// is; none is empty.
QVector<QByteArray> partsOf(const QByteArray& text);

} // namespace roaming
