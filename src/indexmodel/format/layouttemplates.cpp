#include "format/layouttemplates.h"

#include "format/sections.h"
#include "format/xmlelements.h"

namespace KW {

const TemplateFormat& quoteTemplateFormat()
{
    static const TemplateFormat s_format { c_szLayoutTemplates,
                                           QStringLiteral("LayoutTemplate"),
                                           { QStringLiteral("LayoutWindowTemplate"),
                                             NavTree::LeftOut } };
    return s_format;
}

const TemplateFormat& tradeTemplateFormat()
{
    static const TemplateFormat s_format { c_szTradeLayoutTemplates,
                                           QStringLiteral("tradeLayoutTemplate"),
                                           { QStringLiteral("tradeWindowTemplate"),
                                             NavTree::LeftOut } };
    return s_format;
}

ElementRule templateRule(const TemplateFormat& format)
{
    return { format.strTemplateTag,
             ElementKind::Template,
             { neededText(c_szTemplateName) },
             { windowRule(format.window) },
             c_szTemplateName };
}

QVector<CLayoutTemplate> readTemplates(const QDomElement& parent, const TemplateFormat& format)
{
    QVector<CLayoutTemplate> templates;
    const auto elements = descendants(parent, format.strTemplateTag);
    for (const QDomElement& element : elements) {
        CLayoutTemplate layout;
        layout.m_strName = element.attribute(c_szTemplateName);
        readWindows(element, format.window, layout.m_windows);
        templates.append(layout);
    }
    return templates;
}

void writeTemplate(QDomElement& parent, QDomDocument& doc, const TemplateFormat& format,
                   const CLayoutTemplate& layout)
{
    QDomElement element = doc.createElement(format.strTemplateTag);
    element.setAttribute(c_szTemplateName, layout.m_strName);
    writeWindows(element, doc, format.window, layout.m_windows);
    parent.appendChild(element);
}

void writeTemplates(QDomElement& parent, QDomDocument& doc, const TemplateFormat& format,
                    const QVector<CLayoutTemplate>& templates)
{
    for (const CLayoutTemplate& each : templates) {
        writeTemplate(parent, doc, format, each);
    }
}

} // namespace KW
