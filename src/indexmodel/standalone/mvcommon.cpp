#include "platform/mvcommon.h"

#include "platform/commonutil.h"
#include "platform/limits.h"
#include "standalone/foreignsections_p.h"

#include <cmath>
#include <memory>

namespace MV {

namespace {

bool fits(const QDomElement& tree, int levels)
{
    QDomElement child = tree.firstChildElement();
    while (levels > 0 && !child.isNull() && fits(child, levels - 1)) {
        child = child.nextSiblingElement();
    }
    return levels > 0 && child.isNull();
}

bool isLoading(const QDomElement& tree)
{
    return utils::CSingletonT<standalone::CForeignSections>::instance()->isLoading(
        tree.ownerDocument());
}

// A docked-panel tree word for word: a copy, or a tree of the document of a load. A node stays as
// long as somebody holds it, also without its document.
class CVerbatimLayout : public ILayoutElement {
public:
    explicit CVerbatimLayout(const QDomElement& tree)
        : m_tree(isLoading(tree) ? QDomNode(tree) : m_own.importNode(tree, true))
    {
    }

    void toXml(QDomElement& parent, QDomDocument& doc) const override
    {
        parent.appendChild(doc.importNode(m_tree, true));
    }

private:
    QDomDocument m_own; // of the copy; before it
    const QDomNode m_tree;
};

} // namespace

QDomElement getSubElement(const QDomElement& parent, QString name)
{
    // Qt's own search is many times faster than a walk from node to node, but does not stop at the
    // first match; what stands behind the child with the match is not looked at here.
    for (QDomElement child = parent.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        const QDomElement found
            = child.tagName() == name ? child : child.elementsByTagName(name).item(0).toElement();
        if (!found.isNull()) {
            return found;
        }
    }
    return {};
}

QString sToQs(const std::string& bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
}

QString formatDoubleNumber(double value, int precision, int, bool, QString invalidText)
{
    return std::isfinite(value) ? QString::number(value, 'f', precision) : invalidText;
}

ILayoutElement* ILayoutElement::fromXml(QDomElement& element)
{
    if (element.isNull() || !fits(element, KW::c_nMaxDepth)) {
        return nullptr;
    }
    return std::make_unique<CVerbatimLayout>(element).release();
}

} // namespace MV
