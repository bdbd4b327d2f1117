#include "indexuser/userparams_p.h"

#include "indexuser/xmlelements_p.h"
#include "platform/mvcommon.h"

namespace KW {

namespace {

constexpr QLatin1String c_section("UserParams");
constexpr QLatin1String c_expand("m_bFormulaFunctionTreeExpand");

} // namespace

bool readFunctionTreeExpand(const QDomElement& root, bool current)
{
    const QDomElement params = MV::getSubElement(root, c_section);
    return params.hasAttribute(c_expand) ? intAttribute(params, c_expand) != 0 : current;
}

void writeFunctionTreeExpand(QDomElement& parent, QDomDocument& doc, bool expand)
{
    QDomElement params = doc.createElement(c_section);
    params.setAttribute(c_expand, expand ? 1 : 0);
    parent.appendChild(params);
}

} // namespace KW
