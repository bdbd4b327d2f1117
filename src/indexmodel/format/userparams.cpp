#include "format/userparams.h"

#include "format/sections.h"
#include "format/xmlelements.h"
#include "platform/mvcommon.h"

namespace KW {

ElementRule userParamsRule()
{
    return { c_szUserParams,
             ElementKind::Section,
             { { c_szExpand, ValueKind::Switch, Presence::Needed } } };
}

bool readFunctionTreeExpand(const QDomElement& root, bool current)
{
    const QDomElement params = MV::getSubElement(root, c_szUserParams);
    return params.hasAttribute(c_szExpand) ? intAttribute(params, c_szExpand) != 0 : current;
}

void setFunctionTreeExpand(QDomElement& section, bool expand)
{
    section.setAttribute(c_szExpand, expand ? 1 : 0);
}

void writeFunctionTreeExpand(QDomElement& parent, QDomDocument& doc, bool expand)
{
    QDomElement params = doc.createElement(c_szUserParams);
    setFunctionTreeExpand(params, expand);
    parent.appendChild(params);
}

} // namespace KW
