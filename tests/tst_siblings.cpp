#include "librarytest.h"
#include "logcapture.h"

#include "platform/environment.h"
#include "platform/formula.h"
#include "platform/orderservice.h"
#include "platform/specialstrategy.h"
#include "standalone/standalone.h"

#include <QStandardPaths>

#include <cmath>
#include <limits>

namespace {

template <typename T> T& single()
{
    return *utils::CSingletonT<T>::instance();
}

QDomElement rootOf(const QDomDocument& doc)
{
    return doc.documentElement();
}

QDomElement nested(QDomDocument& doc, int levels)
{
    QDomElement top = doc.createElement("a");
    for (int i = 1; i < levels; ++i) {
        QDomElement parent = doc.createElement("a");
        parent.appendChild(top);
        top = parent;
    }
    return top;
}

bool algorithmsAreOmitted(const char* pszLoaded)
{
    const QDomDocument doc = parsed(pszLoaded);
    QDomElement root = rootOf(doc);
    single<KW::CStrategyTradeManager>().loadAlgoSettings(root);
    QDomDocument out;
    QDomElement element = out.createElement("strategyAlgoTrade");
    bool bOmitted = false;
    single<KW::CStrategyTradeManager>().saveAlgoSettings(element, out, bOmitted);
    return bOmitted;
}

} // namespace

class tst_siblings : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void theConfigurationDirectoryIsTheHostsOrTheUsers();
    void logLinesGoToTheFile();
    void aLogFileIsGoneOnWithAndNobodyElseGetsItsLines();
    void aLogLineIsOneLine();
    void aLogFileThatCannotBeWrittenIsTold();

    void subElementsAreFoundDepthFirst();
    void aMissingSubElementIsNull();
    void textIsDecodedByLength();
    void numbersHaveFixedDecimals_data();
    void numbersHaveFixedDecimals();

    void aForeignSectionIsKeptWordForWord();
    void aForeignSectionOfManyAttributesIsKept();
    void twoSavesOfASectionShareNoNode();
    void sectionsOutliveTheirDocument();
    void anAbsentSectionStaysEmpty();
    void anUnreadableFileLeavesTheCatalogue();
    void absentAlgorithmsStayAbsent();
    void presentAlgorithmsStayPresent();
    void everyManagerKeepsItsOwnSection();

    void aPanelTreeIsKeptWordForWord();
    void aPanelTreeOfALoadOutlivesItsDocument();
    void noElementIsNoTree();
    void aTreeIsKeptToTheDepthOfTheParser_data();
    void aTreeIsKeptToTheDepthOfTheParser();
    void aTooDeepElementIsNoTree();

    void registeredInstrumentsAreFound();
};

void tst_siblings::theConfigurationDirectoryIsTheHostsOrTheUsers()
{
    standalone::setConfigDir("/some/where");
    QCOMPARE(KW::getConfigDir(), QString("/some/where"));
    standalone::setConfigDir(QString());
    QCOMPARE(KW::getConfigDir(),
             QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation));
}

void tst_siblings::logLinesGoToTheFile()
{
    const QString strLog = userDir() + QStringLiteral("/日志.log");
    QVERIFY(standalone::logToFile(strLog));
    saveAndWait(service());
    QVERIFY(readFile(strLog).contains("INFO  [CUserConfigManager] is not loaded!\n"));
}

void tst_siblings::aLogFileIsGoneOnWithAndNobodyElseGetsItsLines()
{
    const QString strLog = userDir() + "/log";
    writeFile(strLog, "of yesterday\n");
    QVERIFY(standalone::logToFile(strLog));
    QVERIFY(!g_RXStdLogger->getAdditivity());
    LOG4CXX_INFO(g_RXStdLogger, "of today");
    QVERIFY(QRegularExpression("^of yesterday\n[-0-9:. ]+ INFO  of today\n$")
                .match(readFile(strLog))
                .hasMatch());
}

void tst_siblings::aLogLineIsOneLine()
{
    const QString strLog = userDir() + "/log";
    QVERIFY(standalone::logToFile(strLog));
    // The message as it is, whatever the locale takes narrow texts for.
    g_RXStdLogger->forcedLogLS(
        log4cxx::Level::getInfo(),
        "行情\n2024 INFO  forged\r\x1b[2J\x7f\xc2\x9b\xe2\x80\xae\xe2\x80\xa8\xe2\x80\xa9"
        "b😀",
        LOG4CXX_LOCATION);
    const QByteArray content = readFile(strLog);
    QVERIFY2(content.endsWith(" INFO  行情\\u000a2024 INFO  forged\\u000d\\u001b[2J\\u007f\\u009b"
                              "\\u202e\\u2028\\u2029b😀\n"),
             content.constData());
    QCOMPARE(content.count('\n'), 1);
}

void tst_siblings::aLogFileThatCannotBeWrittenIsTold()
{
    QVERIFY(!standalone::logToFile(userDir() + "/missing/log"));
}

void tst_siblings::subElementsAreFoundDepthFirst()
{
    const QDomDocument doc = parsed("<x><a><x n=\"1\"/></a><x n=\"2\"/></x>");
    QCOMPARE(MV::getSubElement(rootOf(doc), "x").attribute("n"), QString("1"));
    QCOMPARE(MV::getSubElement(rootOf(doc), "a").tagName(), QString("a"));
}

void tst_siblings::aMissingSubElementIsNull()
{
    const QDomDocument doc = parsed("<x><a/>text<!-- b --><c><a/></c></x>");
    QVERIFY(MV::getSubElement(rootOf(doc), "b").isNull());
    QVERIFY(MV::getSubElement(rootOf(doc), "x").isNull());
    QVERIFY(MV::getSubElement(rootOf(doc).firstChildElement(), "c").isNull());
    QVERIFY(MV::getSubElement(QDomElement(), "a").isNull());
}

void tst_siblings::textIsDecodedByLength()
{
    QCOMPARE(MV::sToQs(std::string("a\0值", 5)), QString("a") + QChar(0) + QStringLiteral("值"));
    QCOMPARE(MV::sToQs(std::string()), QString(""));
}

void tst_siblings::numbersHaveFixedDecimals_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("0.05") << 0.05 << "0.050";
    QTest::newRow("10") << 10.0 << "10.000";
    QTest::newRow("-1.0005") << -1.0006 << "-1.001";
    QTest::newRow("large") << 1e15 << "1000000000000000.000";
    QTest::newRow("not a number") << std::nan("") << "invalid";
    QTest::newRow("infinity") << std::numeric_limits<double>::infinity() << "invalid";
    QTest::newRow("-infinity") << -std::numeric_limits<double>::infinity() << "invalid";
}

void tst_siblings::numbersHaveFixedDecimals()
{
    QFETCH(double, value);
    QFETCH(QString, text);
    QCOMPARE(MV::formatDoubleNumber(value, 3, 0, false, "invalid"), text);
}

void tst_siblings::aForeignSectionIsKeptWordForWord()
{
    const QString strSection = "<drawGraph b=\"&lt;1&gt;\"><!-- c --><g><![CDATA[<x>]]></g>"
                               "<h>text<i/>more</h><?pi data?></drawGraph>";
    const QDomDocument doc = parsed("<r>" + strSection + "</r>");
    QDomElement root = rootOf(doc);
    single<KW::CDrawGraphManager>().loadSettings(root);
    QDomDocument out;
    QDomElement element = out.createElement("drawGraph");
    out.appendChild(element);
    single<KW::CDrawGraphManager>().saveSettings(element, out);
    QCOMPARE(out.toString(-1), parsed(strSection).toString(-1));
}

// From index to index that would take minutes.
void tst_siblings::aForeignSectionOfManyAttributesIsKept()
{
    constexpr int c_nAttributes = 1000;
    QDomDocument doc = parsed("<r><drawGraph/></r>");
    for (int i = 0; i < c_nAttributes; ++i) {
        rootOf(doc).firstChildElement().setAttribute(QString("n%1").arg(i), i);
    }
    QDomElement root = rootOf(doc);
    single<KW::CDrawGraphManager>().loadSettings(root);
    QDomElement element = doc.createElement("drawGraph");
    single<KW::CDrawGraphManager>().saveSettings(element, doc);
    QCOMPARE(element.attributes().size(), c_nAttributes);
    for (int i = 0; i < c_nAttributes; ++i) {
        QCOMPARE(element.attribute(QString("n%1").arg(i)), QString::number(i));
    }
}

void tst_siblings::twoSavesOfASectionShareNoNode()
{
    QDomDocument doc = parsed("<r><drawGraph><g/></drawGraph></r>");
    QDomElement root = rootOf(doc);
    single<KW::CDrawGraphManager>().loadSettings(root);
    for (int i = 0; i < 2; ++i) {
        QDomDocument out;
        QDomElement element = out.createElement("drawGraph");
        out.appendChild(element);
        single<KW::CDrawGraphManager>().saveSettings(element, out);
        QCOMPARE(out.toString(-1), QString("<drawGraph><g/></drawGraph>"));
        element.firstChildElement().setAttribute("changed", 1);
    }
}

// A node stays as long as somebody holds it, its parent only as long as the document.
void tst_siblings::sectionsOutliveTheirDocument()
{
    const QString strSection = "<FormulaCatalog a=\"1\"><b>x<c/></b></FormulaCatalog>";
    auto& formulas = single<KW::CFormulaOperateManager>();
    auto& history = single<KW::CFormulaHistoryDataManager>();
    QDomDocument out = parsed("<r/>");
    for (int i = 0; i < 2; ++i) {
        QDomDocument doc = parsed("<r><s/>" + strSection + "</r>");
        QDomElement root = rootOf(doc);
        const QDomElement other = root.firstChildElement("s");
        formulas.loadSettings(root);
        root = QDomElement();
        doc = QDomDocument();
        QVERIFY(!other.parentNode().isNull());
        history.loadTradeStrategyHistoryData();
        QVERIFY(other.parentNode().isNull());
    }
    QDomElement saved = out.createElement("FormulaCatalog");
    formulas.saveSettings(saved, out);
    out.documentElement().appendChild(saved);
    QCOMPARE(out.toString(-1), "<r>" + strSection + "</r>");
}

void tst_siblings::anAbsentSectionStaysEmpty()
{
    const QDomDocument first = parsed("<r><drawGraph a=\"1\"/></r>");
    const QDomDocument second = parsed("<r><other><drawGraph a=\"2\"/></other></r>");
    for (const QDomDocument& doc : { first, second }) {
        QDomElement root = rootOf(doc);
        single<KW::CDrawGraphManager>().loadSettings(root);
    }
    QDomDocument out;
    QDomElement element = out.createElement("drawGraph");
    single<KW::CDrawGraphManager>().saveSettings(element, out);
    QVERIFY(!element.hasAttributes() && !element.hasChildNodes());
}

void tst_siblings::anUnreadableFileLeavesTheCatalogue()
{
    const QDomDocument doc = parsed("<r><FormulaCatalog a=\"1\"/></r>");
    QDomElement root = rootOf(doc);
    single<KW::CFormulaOperateManager>().loadSettings(root);
    QDomElement none;
    single<KW::CFormulaOperateManager>().loadSettings(none);
    QDomDocument out;
    QDomElement element = out.createElement("FormulaCatalog");
    single<KW::CFormulaOperateManager>().saveSettings(element, out);
    QCOMPARE(element.attribute("a"), QString("1"));
}

void tst_siblings::absentAlgorithmsStayAbsent()
{
    QVERIFY(algorithmsAreOmitted("<r/>"));
}

void tst_siblings::presentAlgorithmsStayPresent()
{
    QVERIFY(!algorithmsAreOmitted("<r><strategyAlgoTrade/></r>"));
}

void tst_siblings::everyManagerKeepsItsOwnSection()
{
    const QStringList sections { "FormulaCatalog",      "GroupIndex",      "ExtendDataCatalog",
                                 "externalDataCatalog", "drawGraph",       "strategyTrade",
                                 "strategyAlgoTrade",   "WindDataCatalog", "interfaceTrade",
                                 "specialstrategydata" };
    QString strXml;
    for (const QString& name : sections) {
        strXml += QString("<%1 own=\"%1\"><child of=\"%1\"/></%1>").arg(name);
    }
    writeLive(("<ICUserConfigFile>" + strXml + "</ICUserConfigFile>").toUtf8());
    service().loadSettings();
    saveAndWait(service());
    const QDomDocument doc = parsed(readFile(livePath()));
    for (const QString& name : sections) {
        const QDomElement section = rootOf(doc).firstChildElement(name);
        QCOMPARE(section.attribute("own"), name);
        QCOMPARE(section.firstChildElement("child").attribute("of"), name);
    }
}

void tst_siblings::aPanelTreeIsKeptWordForWord()
{
    const QString strTree = "<dock a=\"1\"><split><!-- c --><panel name=\"分时\"/></split></dock>";
    std::unique_ptr<MV::ILayoutElement> pTree;
    {
        const QDomDocument doc = parsed(strTree);
        QDomElement root = rootOf(doc);
        pTree.reset(MV::ILayoutElement::fromXml(root));
        root.setAttribute("a", 2);
    }
    QDomDocument out = parsed("<w/>");
    QDomElement window = rootOf(out);
    pTree->toXml(window, out);
    QCOMPARE(out.toString(-1), parsed("<w>" + strTree + "</w>").toString(-1));
}

// It is held there, and copied again as soon as the load has ended.
void tst_siblings::aPanelTreeOfALoadOutlivesItsDocument()
{
    const QString strTree = "<dock a=\"1\"><split><!-- c --><panel name=\"分时\"/></split></dock>";
    auto& history = single<KW::CFormulaHistoryDataManager>();
    for (const bool bEnded : { false, true }) {
        std::unique_ptr<MV::ILayoutElement> pTree;
        {
            const QDomDocument doc = parsed("<r><drawGraph/>" + strTree + "</r>");
            QDomElement root = rootOf(doc);
            QDomElement tree = root.lastChildElement();
            single<KW::CDrawGraphManager>().loadSettings(root);
            bEnded ? history.loadTradeStrategyHistoryData() : void();
            pTree.reset(MV::ILayoutElement::fromXml(tree));
            history.loadTradeStrategyHistoryData();
            bEnded ? tree.setAttribute("a", 2) : void();
        }
        for (int i = 0; i < 2; ++i) {
            QDomDocument out = parsed("<w/>");
            QDomElement window = rootOf(out);
            pTree->toXml(window, out);
            QCOMPARE(out.toString(-1), parsed("<w>" + strTree + "</w>").toString(-1));
        }
    }
}

void tst_siblings::noElementIsNoTree()
{
    QDomElement none;
    QVERIFY(!std::unique_ptr<MV::ILayoutElement>(MV::ILayoutElement::fromXml(none)));
}

void tst_siblings::aTreeIsKeptToTheDepthOfTheParser_data()
{
    QTest::addColumn<int>("levels");
    QTest::addColumn<bool>("kept");
    QTest::newRow("512") << 512 << true;
    QTest::newRow("513") << 513 << false;
}

void tst_siblings::aTreeIsKeptToTheDepthOfTheParser()
{
    QFETCH(int, levels);
    QFETCH(bool, kept);
    QDomDocument doc;
    QDomElement tree = nested(doc, levels);
    const std::unique_ptr<MV::ILayoutElement> pTree(MV::ILayoutElement::fromXml(tree));
    QCOMPARE(pTree != nullptr, kept);
}

void tst_siblings::aTooDeepElementIsNoTree()
{
    QDomDocument doc;
    QDomElement tree = nested(doc, 20000);
    QVERIFY(!std::unique_ptr<MV::ILayoutElement>(MV::ILayoutElement::fromXml(tree)));
}

void tst_siblings::registeredInstrumentsAreFound()
{
    writeLive("<ICUserConfigFile><Customs><Custom type=\"1\">"
              "<Stock market=\"SH\" code=\"600000\" name=\"浦发银行\"/>"
              "</Custom></Customs></ICUserConfigFile>");
    service().loadSettings();
    const auto pDetail = single<KW::CStockManager>().getInstrumentDetail("SH600000");
    QVERIFY(pDetail);
    QCOMPARE(pDetail->name, std::string("浦发银行"));
    logcapture::expectErrors(1); // there is no file of sectors to look into
    QVERIFY(!single<KW::CStockManager>().getInstrumentDetail("600000"));
}

QTEST_GUILESS_MAIN(tst_siblings)
#include "tst_siblings.moc"
