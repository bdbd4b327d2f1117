#pragma once

#include "format/layoutwindows.h"

namespace KW {

constexpr char c_szTemplateName[] = "name";

/// How a list of templates stands in the file.
struct TemplateFormat {
    QString strSectionTag;
    QString strTemplateTag;
    WindowFormat window;
};

const TemplateFormat& quoteTemplateFormat();
const TemplateFormat& tradeTemplateFormat();

/// A template, with what is read of it.
ElementRule templateRule(const TemplateFormat& format);

/// All templates below \a parent, at any depth, in document order.
QVector<CLayoutTemplate> readTemplates(const QDomElement& parent, const TemplateFormat& format);

/// Append one or all to \a parent.
void writeTemplate(QDomElement& parent, QDomDocument& doc, const TemplateFormat& format,
                   const CLayoutTemplate& layout);
void writeTemplates(QDomElement& parent, QDomDocument& doc, const TemplateFormat& format,
                    const QVector<CLayoutTemplate>& templates);

} // namespace KW
