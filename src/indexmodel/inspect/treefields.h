#pragma once

#include <QDomElement>
#include <QMap>
#include <QString>
#include <QStringList>

namespace inspect {

/// The values of a tree by their path, such as "LayoutWindow[2]@left": every attribute and every
/// text, comment and instruction, and an empty value for each element. Two trees are equal exactly
/// if their fields are; the order of attributes does not count.
using TreeFields = QMap<QString, QString>;

TreeFields fieldsOf(const QDomElement& tree);

/// The paths at which \a left and \a right differ, with both values, one a line.
QStringList differences(const TreeFields& left, const TreeFields& right);

} // namespace inspect
