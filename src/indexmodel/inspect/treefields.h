#pragma once

#include <QDomElement>
#include <QMap>
#include <QString>
#include <QVector>

#include <optional>

namespace inspect {

/// The elements below \a tree, at any depth; it does not count itself.
int elementCount(const QDomNode& tree);

/// The values of a tree by their path: every attribute and every text, comment and instruction, and
/// an empty value for each element. The order of attributes does not count.
using TreeFields = QMap<QString, QString>;

enum class FieldNames {
    ByPosition, ///< "LayoutWindow[2]@left": two trees are equal exactly if these fields are
    ByIdentity, ///< "LayoutWindow[103]@left", by panel group, name, key, type or code: what comes
                ///< before an entry does not change its name, and its order is a field of its own
};

TreeFields fieldsOf(const QDomElement& tree, FieldNames names);

/// One value that two trees do not share.
struct Difference {
    QString strPath;
    std::optional<QString> left; ///< none where the left tree has no such value
    std::optional<QString> right;
};

/// All differences by path. An element that only one tree has counts once, without its content; the
/// order of entries counts only where both trees have the same ones.
QVector<Difference> differences(const TreeFields& left, const TreeFields& right);

/// One line for people.
QString toText(const Difference& difference);

} // namespace inspect
