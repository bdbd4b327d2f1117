#include "format/userparams.h"

#include "format/xmlelements.h"
#include "platform/mvcommon.h"

namespace KW {

namespace {

constexpr char c_szSection[] = "UserParams";
constexpr char c_szExpand[] = "m_bFormulaFunctionTreeExpand";

} // namespace

bool readFunctionTreeExpand(const QDomElement& root, bool current)
{
    const QDomElement params = MV::getSubElement(root, c_szSection);
    return params.hasAttribute(c_szExpand) ? intAttribute(params, c_szExpand) != 0 : current;
}

void writeFunctionTreeExpand(QDomElement& parent, QDomDocument& doc, bool expand)
{
    QDomElement params = doc.createElement(c_szSection);
    params.setAttribute(c_szExpand, expand ? 1 : 0);
    parent.appendChild(params);
}

} // namespace KW
