#include "treemutator.h"

#include <QDomDocument>
#include <QRandomGenerator>
#include <QStringList>
#include <QVector>

#include <algorithm>
#include <cstring>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

const QStringList& tags()
{
    static const QStringList s_tags { "DefaultLayout",
                                      "IndexLayout",
                                      "IndexPositionLayout",
                                      "FormulaPanelGroupLayout",
                                      "itemLayout",
                                      "LayoutWindow",
                                      "LayoutTemplates",
                                      "LayoutTemplate",
                                      "LayoutWindowTemplate",
                                      "tradePanelGroup",
                                      "tradeLayoutTemplates",
                                      "tradeLayoutTemplate",
                                      "tradeWindowTemplate",
                                      "Option",
                                      "Settings",
                                      "CustomStock",
                                      "Customs",
                                      "Custom",
                                      "Stock",
                                      "UserParams",
                                      "strategyAlgoTrade",
                                      "GroupIndex",
                                      "Unknown" };
    return s_tags;
}

const QStringList& names()
{
    static const QStringList s_names { "type",
                                       "name",
                                       "key",
                                       "left",
                                       "width",
                                       "code",
                                       "market",
                                       "is_main",
                                       "reportRefreshTime",
                                       "navtree",
                                       "panelgroup_id",
                                       "m_graphDisplay",
                                       "screen_id",
                                       "groupSignalRunTime",
                                       "m_bFormulaFunctionTreeExpand" };
    return s_names;
}

const QStringList& values()
{
    static const QStringList s_values { "0",          "1",           "-1",         "6000",
                                        "2147483647", "-2147483648", "2147483648", "true",
                                        "",           " 5",          "1.5",        "行情",
                                        "\n",         "<&\"'>",      "]]>",        "A" };
    return s_values;
}

class CMutator {
public:
    CMutator(QDomDocument& doc, unsigned seed)
        : m_doc(doc)
        , m_random(seed)
    {
        collect(doc.documentElement());
    }

    void mutate()
    {
        for (int i = 1 + m_random.bounded(4); i > 0; --i) {
            step();
        }
    }

private:
    void collect(const QDomElement& element)
    {
        m_elements.append(element);
        for (QDomElement child = element.firstChildElement(); !child.isNull();
             child = child.nextSiblingElement()) {
            collect(child);
        }
    }

    QDomElement any() { return m_elements[m_random.bounded(m_elements.size())]; }
    QString any(const QStringList& list) { return list[m_random.bounded(list.size())]; }

    void step()
    {
        QDomElement element = any();
        QDomElement other = any();
        switch (m_random.bounded(7)) {
        case 0:
            element.setAttribute(any(names()), any(values()));
            break;
        case 1:
            element.removeAttribute(any(names()));
            break;
        case 2:
            // A copy, so that no element gets below itself.
            other.appendChild(element.cloneNode(true));
            break;
        case 3:
            other.insertBefore(m_doc.createElement(any(tags())), other.firstChild());
            break;
        case 4:
            element.setTagName(any(tags()));
            break;
        case 5:
            element.appendChild(m_doc.createComment("c"));
            break;
        default:
            remove(element);
        }
    }

    void remove(const QDomElement& element)
    {
        if (element != m_doc.documentElement()) {
            element.parentNode().removeChild(element);
        }
    }

    QDomDocument& m_doc;
    QRandomGenerator m_random;
    QVector<QDomElement> m_elements;
};

} // namespace

std::size_t mutateTree(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed)
{
    QDomDocument doc;
    const QByteArray content(reinterpret_cast<const char*>(data), static_cast<int>(size));
    if (seed % 4 == 0 || content.contains("<!DOCTYPE") || !doc.setContent(content)) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    CMutator(doc, seed).mutate();
    const QByteArray changed = doc.toByteArray(-1);
    const std::size_t nSize = std::min(maxSize, static_cast<std::size_t>(changed.size()));
    std::memcpy(data, changed.constData(), nSize);
    return nSize;
}
