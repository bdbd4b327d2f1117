#include "documents.h"

#include <QDomElement>

#include <algorithm>

namespace bench {

namespace {

constexpr int c_nStocksOfAList = 100;

class CBuilder {
public:
    explicit CBuilder(const Size& size)
        : m_size(size)
    {
    }

    QDomDocument build()
    {
        m_doc.appendChild(
            m_doc.createProcessingInstruction("xml", "version=\"1.0\" encoding=\"utf-8\""));
        QDomElement root = m_doc.createElement("ICUserConfigFile");
        m_doc.appendChild(root);
        windows(add(root, "DefaultLayout"), "LayoutWindow", 1);
        windows(add(root, "IndexLayout"), "LayoutWindow", m_size.nWindows);
        groups(add(root, "IndexPositionLayout"));
        templates(root, "LayoutTemplates", "LayoutTemplate", "LayoutWindowTemplate");
        windows(add(root, "tradePanelGroup"), "LayoutWindow", m_size.nWindows / 5);
        templates(root, "tradeLayoutTemplates", "tradeLayoutTemplate", "tradeWindowTemplate");
        add(root, "ConfigVersion").setAttribute("version_id", 11);
        add(root, "CustomIndex");
        add(root, "CustomSector");
        foreign(root, "FormulaCatalog", m_size.nStocks / 4);
        options(root);
        foreign(root, "GroupIndex", m_size.nStocks / 20);
        foreign(root, "ExtendDataCatalog", m_size.nStocks / 20);
        stocks(add(add(root, "CustomStock"), "Customs"));
        for (const char* pszName :
             { "externalDataCatalog", "drawGraph", "strategyTrade", "strategyAlgoTrade",
               "WindDataCatalog", "interfaceTrade", "specialstrategydata" }) {
            foreign(root, pszName, m_size.nStocks / 20);
        }
        add(root, "UserParams").setAttribute("m_bFormulaFunctionTreeExpand", 1);
        return m_doc;
    }

private:
    QDomElement add(QDomElement parent, const QString& tag)
    {
        QDomElement child = m_doc.createElement(tag);
        parent.appendChild(child);
        return child;
    }

    void windows(const QDomElement& parent, const QString& tag, int count)
    {
        for (int i = 0; i < count; ++i) {
            QDomElement window = add(parent, tag);
            window.setAttribute("screen_id", 1 + i % 3);
            window.setAttribute("is_main", i == 0 ? 1 : 0);
            window.setAttribute("maximized", 0);
            window.setAttribute("left", 10 * i);
            window.setAttribute("top", 5 * i);
            window.setAttribute("width", 1280);
            window.setAttribute("height", 720);
            if (tag == QLatin1String("LayoutWindow")) {
                window.setAttribute("navtree", QStringLiteral("首页/行情/%1").arg(i));
            }
            window.setAttribute("panelgroup_id", 100 + i);
            panels(window);
        }
    }

    void panels(const QDomElement& window)
    {
        QDomElement splitter = add(add(window, "DockArea"), "Splitter");
        splitter.setAttribute("orientation", "horizontal");
        splitter.setAttribute("ratio", "0.25");
        for (int i = 0; i < 5; ++i) {
            QDomElement panel = add(splitter, "Panel");
            panel.setAttribute("name", QStringLiteral("分时走势 %1").arg(i));
            panel.setAttribute("kind", "intraday");
        }
    }

    void groups(const QDomElement& parent)
    {
        for (const char* pszTag : { "FormulaPanelGroupLayout", "ValuePanelGroupLayout" }) {
            const QDomElement group = add(parent, pszTag);
            for (int i = 0; i < m_size.nWindows / 5; ++i) {
                QDomElement item = add(group, "itemLayout");
                item.setAttribute("key", QStringLiteral("公式 %1").arg(i, 5, 10, QChar('0')));
                windows(item, "LayoutWindow", 1);
            }
        }
    }

    void templates(const QDomElement& root, const QString& section, const QString& tag,
                   const QString& windowTag)
    {
        const QDomElement parent = add(root, section);
        for (int i = 0; i < m_size.nWindows / 5; ++i) {
            QDomElement each = add(parent, tag);
            each.setAttribute("name", QStringLiteral("模板 %1").arg(i));
            windows(each, windowTag, 3);
        }
    }

    void options(const QDomElement& root)
    {
        QDomElement settings = add(add(root, "Option"), "Settings");
        for (const char* pszName :
             { "reportRefreshTime", "indexSortUpdate",        "riseCompareTime",
               "delayRefreshTime",  "oMinDataRestorePeroid",  "fMinDataRestorePeroid",
               "tickRestoreDay",    "flashKeepDataPeriod",    "graphDisplay",
               "monitorClipboard",  "showAllQuoteData",       "formulaDebug",
               "smartKeyConfig",    "dividDataTime",          "wholeQuoter",
               "showGradient",      "m_graphDisplay",         "m_multiDaylines",
               "m_multiHourlines",  "m_multiMinutelines",     "m_multiTicklines",
               "showParamRank",     "m_bFilterFutureOptCheck" }) {
            settings.setAttribute(pszName, 1);
        }
        for (const char* pszName : { "updateF10DateTime", "qsSmartKeyConfig", "oaAddress",
                                     "oaTableName", "oaUser", "oaPassword" }) {
            settings.setAttribute(pszName, "4096,2097152,8192,1,8,64,16,2");
        }
    }

    void stocks(const QDomElement& parent)
    {
        for (int i = 0; i < m_size.nStocks; i += c_nStocksOfAList) {
            QDomElement list = add(parent, "Custom");
            list.setAttribute("type", i / c_nStocksOfAList);
            for (int j = i; j < std::min(i + c_nStocksOfAList, m_size.nStocks); ++j) {
                QDomElement stock = add(list, "Stock");
                stock.setAttribute("market", j % 2 == 0 ? "SH" : "SZ");
                stock.setAttribute("code", QString::number(600000 + j));
                stock.setAttribute("name", QStringLiteral("股票名称 %1").arg(j));
            }
        }
    }

    void foreign(const QDomElement& root, const QString& section, int count)
    {
        const QDomElement parent = add(root, section);
        for (int i = 0; i < count; ++i) {
            QDomElement each = add(parent, "Item");
            each.setAttribute("name", QStringLiteral("指标 %1").arg(i));
            each.setAttribute("author", "张三");
            each.appendChild(m_doc.createTextNode("MA(C,5)>MA(C,10) AND MA(C,10)>MA(C,20)"));
        }
    }

    const Size& m_size;
    QDomDocument m_doc;
};

void flatten(const QDomElement& element, const QString& path, Settings& settings)
{
    const QDomNamedNodeMap attributes = element.attributes();
    for (int i = 0; i < attributes.size(); ++i) {
        settings.append(
            { path + '/' + attributes.item(i).nodeName(), attributes.item(i).nodeValue() });
    }
    int nNumber = 0;
    for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        if (child.isText()) {
            settings.append({ path + "/text", child.nodeValue() });
        } else {
            flatten(child.toElement(), path + '/' + child.nodeName() + QString::number(nNumber++),
                    settings);
        }
    }
}

} // namespace

const Size& sizeOf(const QString& name)
{
    return *std::find_if(std::begin(c_sizes), std::end(c_sizes),
                         [&](const Size& size) { return name == size.pszName; });
}

QDomDocument buildDocument(const Size& size)
{
    return CBuilder(size).build();
}

CPlan::CPlan(const Size& size)
    : m_planned(buildDocument(size))
{
    add(m_planned.documentElement(), 1);
}

void CPlan::add(const QDomNode& node, int depth)
{
    Node planned { depth, node.isText() ? QString() : node.nodeName(), node.nodeValue(), {} };
    const QDomNamedNodeMap attributes = node.attributes();
    for (int i = 0; i < attributes.size(); ++i) {
        planned.attributes.append(
            { attributes.item(i).nodeName(), attributes.item(i).nodeValue() });
    }
    m_nodes.append(planned);
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling()) {
        add(child, depth + 1);
    }
}

QDomDocument CPlan::build() const
{
    QDomDocument doc;
    doc.appendChild(doc.createProcessingInstruction("xml", "version=\"1.0\" encoding=\"utf-8\""));
    QVector<QDomNode> open { doc };
    for (const Node& node : m_nodes) {
        open.resize(node.nDepth);
        if (node.strTag.isEmpty()) {
            open.last().appendChild(doc.createTextNode(node.strText));
            continue;
        }
        QDomElement element = doc.createElement(node.strTag);
        for (const auto& [strName, strValue] : node.attributes) {
            element.setAttribute(strName, strValue);
        }
        open.last().appendChild(element);
        open.append(element);
    }
    return doc;
}

QByteArray userFile(const Size& size)
{
    return buildDocument(size).toString(4).toUtf8();
}

Settings settingsOf(const Size& size)
{
    Settings settings;
    flatten(buildDocument(size).documentElement(), "user", settings);
    return settings;
}

} // namespace bench
