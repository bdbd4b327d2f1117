#include "standalone/foreignsections_p.h"

namespace standalone {

namespace {

void copyAttributes(const QDomElement& from, QDomElement& to)
{
    const QDomNamedNodeMap attributes = from.attributes();
    for (int i = 0; i < attributes.size(); ++i) {
        const QDomAttr attribute = attributes.item(i).toAttr();
        to.setAttribute(attribute.name(), attribute.value());
    }
}

} // namespace

void CForeignSections::load(const QDomElement& root, const QString& name)
{
    if (root.isNull()) {
        return;
    }
    m_loading = root.ownerDocument();
    m_sections.remove(name);
    const QDomElement section = root.firstChildElement(name);
    if (!section.isNull()) {
        m_sections.insert(name, { m_loading, section });
    }
}

void CForeignSections::settle()
{
    QDomDocument own;
    QDomElement keeper = own.createElement(QStringLiteral("sections"));
    own.appendChild(keeper);
    for (Section& section : m_sections) {
        keeper.appendChild(section.element);
        section.document = own;
    }
    m_loading = QDomDocument();
}

bool CForeignSections::isLoading(const QDomDocument& doc) const
{
    return !m_loading.isNull() && m_loading == doc;
}

bool CForeignSections::contains(const QString& name) const
{
    return m_sections.contains(name);
}

void CForeignSections::save(const QString& name, QDomElement& element, QDomDocument& doc) const
{
    const QDomElement section = m_sections.value(name).element;
    copyAttributes(section, element);
    for (QDomNode child = section.firstChild(); !child.isNull(); child = child.nextSibling()) {
        element.appendChild(doc.importNode(child, true));
    }
}

} // namespace standalone
