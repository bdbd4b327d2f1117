#pragma once

#include <QDomNode>
#include <QString>

/// What two trees tell that is not the same, and where: kinds, names, values, which of them are
/// null, attributes in their order, links between nodes. Empty when they are equal. Lines and
/// columns are not compared, since only nodes that Qt parsed have them.
///
///     QCOMPARE(treeDifference(doc, other), QString());
QString treeDifference(const QDomNode& left, const QDomNode& right);
