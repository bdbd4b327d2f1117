#include "format/layouttemplates.h"

#include "format/xmlelements.h"

namespace KW {

QVector<CLayoutTemplate> readTemplates(const QDomElement& parent, const TemplateFormat& format)
{
    QVector<CLayoutTemplate> templates;
    const auto elements = descendants(parent, format.strTemplateTag);
    for (const QDomElement& element : elements) {
        CLayoutTemplate layout;
        layout.m_strName = element.attribute(QStringLiteral("name"));
        readWindows(element, format.window, layout.m_windows);
        templates.append(layout);
    }
    return templates;
}

void writeTemplate(QDomElement& parent, QDomDocument& doc, const TemplateFormat& format,
                   const CLayoutTemplate& layout)
{
    QDomElement element = doc.createElement(format.strTemplateTag);
    element.setAttribute(QStringLiteral("name"), layout.m_strName);
    writeWindows(element, doc, format.window, layout.m_windows);
    parent.appendChild(element);
}

} // namespace KW
