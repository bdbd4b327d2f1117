#include "format/layoutwindows.h"

#include "format/xmlelements.h"

namespace KW {

namespace {

// QRect keeps corners: a size near the ends of the range leaves it. As unsigned numbers the sums
// wrap around, and the size comes back as it was.
int lastPixel(int first, int size)
{
    return static_cast<int>(static_cast<unsigned>(first) + static_cast<unsigned>(size) - 1U);
}

QRect readRect(const QDomElement& element)
{
    const int nLeft = intAttribute(element, QStringLiteral("left"));
    const int nTop = intAttribute(element, QStringLiteral("top"));
    QRect rect;
    rect.setCoords(nLeft, nTop, lastPixel(nLeft, intAttribute(element, QStringLiteral("width"))),
                   lastPixel(nTop, intAttribute(element, QStringLiteral("height"))));
    return rect;
}

void writeRect(QDomElement& element, const QRect& rect)
{
    setIntAttribute(element, QStringLiteral("left"), rect.left());
    setIntAttribute(element, QStringLiteral("top"), rect.top());
    setIntAttribute(element, QStringLiteral("width"), pixelCount(rect.left(), rect.right()));
    setIntAttribute(element, QStringLiteral("height"), pixelCount(rect.top(), rect.bottom()));
}

// Only an only child is a tree; a comment beside it, or alone, counts as a child as well.
void readPanelTree(const QDomElement& element, CLayoutWindow& window)
{
    const QDomNode child = element.firstChild();
    if (!child.isNull() && child.nextSibling().isNull()) {
        QDomElement tree = child.toElement();
        window.m_pItemLayout.reset(MV::ILayoutElement::fromXml(tree));
    }
}

CLayoutWindow readWindow(const QDomElement& element, NavTree navTree)
{
    CLayoutWindow window = readWindowFrame(element, navTree);
    readPanelTree(element, window);
    return window;
}

void writeWindow(QDomElement& element, QDomDocument& doc, const CLayoutWindow& window,
                 NavTree navTree)
{
    setIntAttribute(element, QStringLiteral("screen_id"), window.m_nScreenId);
    setIntAttribute(element, QStringLiteral("is_main"), window.m_bIsMain ? 1 : 0);
    setIntAttribute(element, QStringLiteral("maximized"), window.m_bMaximized ? 1 : 0);
    writeRect(element, window.m_rect);
    if (navTree == NavTree::Kept) {
        element.setAttribute(QStringLiteral("navtree"), window.m_strNavTree);
    }
    setIntAttribute(element, QStringLiteral("panelgroup_id"), window.m_nPanelGroupId);
    if (window.m_pItemLayout) {
        window.m_pItemLayout->toXml(element, doc);
    }
}

} // namespace

const WindowFormat& layoutWindowFormat()
{
    static const WindowFormat s_format { QStringLiteral("LayoutWindow"), NavTree::Kept };
    return s_format;
}

ElementRule windowRule(const WindowFormat& format)
{
    ElementRule rule { format.strTag, ElementKind::Window };
    for (const char* pszName : { "screen_id", "left", "top", "width", "height", "panelgroup_id" }) {
        rule.attributes.append({ pszName, ValueKind::Integer, Presence::Needed });
    }
    for (const char* pszName : { "is_main", "maximized" }) {
        rule.attributes.append({ pszName, ValueKind::Switch, Presence::Needed });
    }
    if (format.navTree == NavTree::Kept) {
        rule.attributes.append({ "navtree", ValueKind::Text, Presence::Optional });
    }
    return rule;
}

int pixelCount(int first, int last)
{
    return static_cast<int>(static_cast<unsigned>(last) - static_cast<unsigned>(first) + 1U);
}

CLayoutWindow readWindowFrame(const QDomElement& element, NavTree navTree)
{
    CLayoutWindow window;
    window.m_nScreenId = intAttribute(element, QStringLiteral("screen_id"));
    window.m_bIsMain = intAttribute(element, QStringLiteral("is_main")) != 0;
    window.m_bMaximized = intAttribute(element, QStringLiteral("maximized")) != 0;
    if (navTree == NavTree::Kept) {
        window.m_strNavTree = element.attribute(QStringLiteral("navtree"));
    }
    window.m_rect = readRect(element);
    window.m_nPanelGroupId = intAttribute(element, QStringLiteral("panelgroup_id"));
    return window;
}

void readWindows(const QDomElement& parent, const WindowFormat& format,
                 QVector<CLayoutWindow>& windows)
{
    const auto elements = descendants(parent, format.strTag);
    for (const QDomElement& element : elements) {
        windows.append(readWindow(element, format.navTree));
    }
}

void writeWindows(QDomElement& parent, QDomDocument& doc, const WindowFormat& format,
                  const QVector<CLayoutWindow>& windows)
{
    for (const CLayoutWindow& window : windows) {
        QDomElement element = doc.createElement(format.strTag);
        writeWindow(element, doc, window, format.navTree);
        parent.appendChild(element);
    }
}

QVector<CLayoutWindow> readQuoteWindows(const QDomElement& indexLayout)
{
    QVector<CLayoutWindow> windows;
    readWindows(indexLayout, layoutWindowFormat(), windows);
    if (windows.isEmpty()) {
        CLayoutWindow window;
        readPanelTree(indexLayout, window);
        window.m_nScreenId = 1;
        window.m_bIsMain = true;
        window.m_bMaximized = true;
        windows.append(window);
    }
    return windows;
}

} // namespace KW
