#include "inspect/treefields.h"

#include <QHash>
#include <QSet>
#include <QStringList>

namespace inspect {

namespace {

// What tells the entries of a list apart; for other elements the first of the last row serves.
QStringList identityAttributes(const QDomElement& element)
{
    static const QMap<QString, QStringList> s_attributes {
        { "LayoutWindow", { "panelgroup_id" } },
        { "LayoutWindowTemplate", { "panelgroup_id" } },
        { "tradeWindowTemplate", { "panelgroup_id" } },
        { "Stock", { "market", "code" } },
        { "Custom", { "type" } },
    };
    const auto it = s_attributes.find(element.tagName());
    if (it != s_attributes.end()) {
        return *it;
    }
    for (const char* pszName : { "key", "name", "id" }) {
        if (element.hasAttribute(pszName)) {
            return { pszName };
        }
    }
    return {};
}

QString identityOf(const QDomNode& node)
{
    const QDomElement element = node.toElement();
    QString strIdentity;
    const auto attributes = identityAttributes(element);
    for (const QString& name : attributes) {
        strIdentity += element.attribute(name);
    }
    return strIdentity;
}

QString nodeName(const QDomNode& node)
{
    return node.isElement() ? node.nodeName() : QStringLiteral("#%1").arg(node.nodeType());
}

// No attribute has a name like this.
const QString& orderMark()
{
    static const QString s_mark = QStringLiteral("@(order)");
    return s_mark;
}

bool sameEntries(const std::optional<QString>& left, const std::optional<QString>& right)
{
    if (!left || !right) {
        return false;
    }
    const auto sorted = [](const QString& order) {
        QStringList names = order.split(QStringLiteral(", "));
        names.sort();
        return names;
    };
    return sorted(*left) == sorted(*right);
}

// An order is news only where the entries are the same; others are reported by themselves.
bool isReported(const Difference& difference)
{
    return difference.left != difference.right
        && (!difference.strPath.endsWith(orderMark())
            || sameEntries(difference.left, difference.right));
}

class CCollector {
public:
    explicit CCollector(FieldNames names)
        : m_names(names)
    {
    }

    void collect(const QDomNode& node, const QString& path)
    {
        m_fields.insert(path, node.nodeValue());
        const QDomNamedNodeMap attributes = node.attributes();
        for (int i = 0; i < attributes.size(); ++i) {
            const QDomNode attribute = attributes.item(i);
            m_fields.insert(path + '@' + attribute.nodeName(), attribute.nodeValue());
        }
        QStringList names;
        QHash<QString, int> seen;
        for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling()) {
            names.append(nameOf(child, names.size() + 1, seen));
            collect(child, path + '/' + names.last());
        }
        if (m_names == FieldNames::ByIdentity && names.size() > 1) {
            m_fields.insert(path + orderMark(), names.join(QStringLiteral(", ")));
        }
    }

    const TreeFields& fields() const { return m_fields; }

private:
    QString nameOf(const QDomNode& child, int position, QHash<QString, int>& seen) const
    {
        const QString strName = nodeName(child);
        if (m_names == FieldNames::ByPosition) {
            return strName + '[' + QString::number(position) + ']';
        }
        const QString strIdentity = identityOf(child);
        const QString strFirst
            = strIdentity.isEmpty() ? strName : strName + '[' + strIdentity + ']';
        const int nTimes = ++seen[strFirst];
        return nTimes == 1 ? strFirst : strFirst + " #" + QString::number(nTimes);
    }

    FieldNames m_names;
    TreeFields m_fields;
};

std::optional<QString> valueOf(const TreeFields& fields, const QString& path)
{
    const auto it = fields.find(path);
    return it == fields.end() ? std::nullopt : std::make_optional(*it);
}

bool isBelow(const QString& path, const QSet<QString>& elements)
{
    for (int i = 0; i < path.size(); ++i) {
        const bool bEnd = path.at(i) == QLatin1Char('/') || path.at(i) == QLatin1Char('@');
        if (bEnd && elements.contains(path.left(i))) {
            return true;
        }
    }
    return false;
}

QString shown(const std::optional<QString>& value)
{
    return value ? '"' + *value + '"' : QStringLiteral("(absent)");
}

} // namespace

// Qt finds no element by the name "*".
int elementCount(const QDomNode& tree)
{
    int nCount = 0;
    for (QDomElement child = tree.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        nCount += 1 + elementCount(child);
    }
    return nCount;
}

TreeFields fieldsOf(const QDomElement& tree, FieldNames names)
{
    CCollector collector(names);
    if (!tree.isNull()) {
        collector.collect(tree, tree.tagName());
    }
    return collector.fields();
}

QVector<Difference> differences(const TreeFields& left, const TreeFields& right)
{
    QStringList paths = left.keys();
    paths += right.keys();
    paths.sort();
    paths.removeDuplicates();
    QSet<QString> onlyInOne;
    QVector<Difference> found;
    for (const QString& path : qAsConst(paths)) {
        const Difference difference { path, valueOf(left, path), valueOf(right, path) };
        if (!isReported(difference) || isBelow(path, onlyInOne)) {
            continue;
        }
        found.append(difference);
        if (!difference.left || !difference.right) {
            onlyInOne.insert(path);
        }
    }
    return found;
}

QString toText(const Difference& difference)
{
    return difference.strPath + ": " + shown(difference.left) + " -> " + shown(difference.right);
}

} // namespace inspect
