#include "librarytest.h"
#include "recording.h"

using KW::CustomStockMap;
using rxservice::CInstrumentDetail;

namespace {

std::shared_ptr<CInstrumentDetail> stock(const std::string& market, const std::string& code,
                                         const std::string& name = {})
{
    return std::make_shared<CInstrumentDetail>(CInstrumentDetail { market, code, name });
}

void load(COpenManager& manager, const QString& customs)
{
    const QDomDocument doc = parsed("<r>" + customs + "</r>");
    QDomElement root = doc.documentElement();
    manager.loadCustomStock(root);
}

CustomStockMap stocksOf(COpenManager& manager)
{
    CustomStockMap stocks;
    manager.getCustomStockMap(stocks);
    return stocks;
}

QString saved(COpenManager& manager)
{
    QDomDocument doc = parsed("<CustomStock/>");
    QDomElement element = doc.documentElement();
    manager.saveCustomStock(element, doc);
    return doc.toString(-1);
}

QStringList codes(const CustomStockMap::mapped_type& list)
{
    QStringList found;
    for (const auto& pDetail : list) {
        found.append(QString::fromStdString(pDetail->code));
    }
    return found;
}

} // namespace

class tst_customstocks : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void stocksAreReadInOrderWithDuplicates();
    void withoutCustomsTheMapStaysAndIsRegistered();
    void emptyCustomsEmptyTheMap();
    void theLastListOfATypeWins();
    void negativeTypesAreNeitherReadNorWritten();
    void aTypeThatIsNoNumberIsZero_data();
    void aTypeThatIsNoNumberIsZero();
    void anEmptyListIsKept();
    void registrationGoesByAscendingType();
    void theSignalComesBeforeTheRegistration();
    void aStockIsRegisteredAsOftenAsItOccurs();
    void nullsArePassedOver();
    void anEmptyMapIsWrittenAsEmptyCustoms();
    void stocksAreWrittenWithTheirTexts();
    void everyStockHasItsOwnMarket();
    void chineseNamesSurviveSaveAndLoad();
    void stocksAreFoundAtAnyDepth();
    void settingTheMapHasNoSideEffects();
    void theRecordsAreSharedNotCopied();
};

void tst_customstocks::stocksAreReadInOrderWithDuplicates()
{
    COpenManager manager;
    load(manager,
         "<CustomStock><Customs><Custom type=\"3\"><Stock market=\"SH\" code=\"2\" name=\"b\"/>"
         "<Stock code=\"1\"/><Stock market=\"SH\" code=\"2\"/></Custom></Customs></CustomStock>");
    const CustomStockMap stocks = stocksOf(manager);
    QCOMPARE(stocks.keys(), QList<int>({ 3 }));
    QCOMPARE(codes(stocks[3]), QStringList({ "2", "1", "2" }));
    QCOMPARE(stocks[3][0]->market, std::string("SH"));
    QCOMPARE(stocks[3][0]->name, std::string("b"));
    QCOMPARE(stocks[3][1]->market, std::string());
}

void tst_customstocks::withoutCustomsTheMapStaysAndIsRegistered()
{
    COpenManager manager;
    CustomStockMap stocks { { 1, { stock("SH", "1", "n") } } };
    manager.setCustomStockMap(stocks);
    manager.sigStockListChanged.connect([] { recording::record("signal"); });
    load(manager, "");
    QCOMPARE(stocksOf(manager), stocks);
    QCOMPARE(recording::calls(),
             QStringList({ "signal", "CSectorManager::addStockListToSector(1)",
                           "CStockManager::insertCustomDetail(SH1,n)" }));
}

void tst_customstocks::emptyCustomsEmptyTheMap()
{
    COpenManager manager;
    CustomStockMap stocks { { 1, { stock("SH", "1") } } };
    manager.setCustomStockMap(stocks);
    load(manager, "<Customs/>");
    QVERIFY(stocksOf(manager).isEmpty());
    QCOMPARE(recording::calls(), QStringList("CSectorManager::addStockListToSector()"));
}

void tst_customstocks::theLastListOfATypeWins()
{
    COpenManager manager;
    load(manager,
         "<Customs><Custom type=\"2\"><Stock code=\"1\"/><Stock code=\"2\"/></Custom>"
         "<Custom type=\"2\"><Stock code=\"3\"/></Custom></Customs>");
    QCOMPARE(codes(stocksOf(manager)[2]), QStringList({ "3" }));
}

void tst_customstocks::negativeTypesAreNeitherReadNorWritten()
{
    COpenManager manager;
    load(manager, "<Customs><Custom type=\"-1\"><Stock code=\"1\"/></Custom></Customs>");
    QVERIFY(stocksOf(manager).isEmpty());
    CustomStockMap stocks { { -1, { stock("", "1") } }, { 0, {} } };
    manager.setCustomStockMap(stocks);
    QCOMPARE(saved(manager),
             QString("<CustomStock><Customs><Custom type=\"0\"/></Customs></CustomStock>"));
}

void tst_customstocks::aTypeThatIsNoNumberIsZero_data()
{
    QTest::addColumn<QString>("attribute");
    QTest::newRow("word") << "type=\"abc\"";
    QTest::newRow("missing") << "";
    QTest::newRow("too large") << "type=\"2147483648\"";
}

void tst_customstocks::aTypeThatIsNoNumberIsZero()
{
    QFETCH(QString, attribute);
    COpenManager manager;
    load(manager,
         QString("<Customs><Custom %1><Stock code=\"1\"/></Custom></Customs>").arg(attribute));
    QCOMPARE(codes(stocksOf(manager).value(0)), QStringList({ "1" }));
}

void tst_customstocks::anEmptyListIsKept()
{
    COpenManager manager;
    load(manager, "<Customs><Custom type=\"4\"/></Customs>");
    QVERIFY(stocksOf(manager).contains(4));
    QCOMPARE(saved(manager),
             QString("<CustomStock><Customs><Custom type=\"4\"/></Customs></CustomStock>"));
}

void tst_customstocks::registrationGoesByAscendingType()
{
    COpenManager manager;
    load(manager,
         "<Customs><Custom type=\"1\"><Stock market=\"B\" code=\"1\"/></Custom>"
         "<Custom type=\"0\"><Stock market=\"A\" code=\"2\"/><Stock market=\"A\" code=\"3\"/>"
         "</Custom></Customs>");
    QCOMPARE(recording::calls(),
             QStringList({ "CSectorManager::addStockListToSector(2,3,1)",
                           "CStockManager::insertCustomDetail(A2,)",
                           "CStockManager::insertCustomDetail(A3,)",
                           "CStockManager::insertCustomDetail(B1,)" }));
}

void tst_customstocks::theSignalComesBeforeTheRegistration()
{
    COpenManager manager;
    manager.sigStockListChanged.connect(
        [&] { recording::record(QString("signal, %1 lists").arg(stocksOf(manager).size())); });
    load(manager, "<Customs><Custom type=\"1\"/></Customs>");
    QCOMPARE(recording::calls(),
             QStringList({ "signal, 1 lists", "CSectorManager::addStockListToSector()" }));
}

void tst_customstocks::aStockIsRegisteredAsOftenAsItOccurs()
{
    COpenManager manager;
    load(manager,
         "<Customs><Custom><Stock market=\"SH\" code=\"600000\"/>"
         "<Stock market=\"SH\" code=\"600000\"/></Custom></Customs>");
    QCOMPARE(recording::callsOf("CStockManager"),
             QStringList({ "CStockManager::insertCustomDetail(SH600000,)",
                           "CStockManager::insertCustomDetail(SH600000,)" }));
}

void tst_customstocks::nullsArePassedOver()
{
    COpenManager manager;
    CustomStockMap stocks { { 1, { nullptr, stock("SH", "1"), nullptr } } };
    manager.setCustomStockMap(stocks);
    QCOMPARE(saved(manager).count("<Stock "), 1);
    load(manager, "");
    QCOMPARE(recording::callsOf("CStockManager::insertCustomDetail").size(), 1);
    QCOMPARE(recording::callsOf("CSectorManager"),
             QStringList("CSectorManager::addStockListToSector(null,1,null)"));
}

void tst_customstocks::anEmptyMapIsWrittenAsEmptyCustoms()
{
    COpenManager manager;
    QCOMPARE(saved(manager), QString("<CustomStock><Customs/></CustomStock>"));
}

void tst_customstocks::stocksAreWrittenWithTheirTexts()
{
    COpenManager manager;
    CustomStockMap stocks { { 5, { stock("SZ", "000001", "a & <b>") } } };
    manager.setCustomStockMap(stocks);
    const QDomDocument doc = parsed(saved(manager));
    const QDomElement element = doc.elementsByTagName("Stock").item(0).toElement();
    QCOMPARE(element.attribute("market"), QString("SZ"));
    QCOMPARE(element.attribute("code"), QString("000001"));
    QCOMPARE(element.attribute("name"), QString("a & <b>"));
    QCOMPARE(element.attributes().size(), 3);
    QCOMPARE(element.parentNode().toElement().attribute("type"), QString("5"));
}

void tst_customstocks::everyStockHasItsOwnMarket()
{
    COpenManager manager;
    CustomStockMap stocks { { 1,
                              { stock("SH", "1", "a"), stock("", "2", "b"), stock("沪", "3", "c"),
                                stock("SH", "4", "d"), stock("", "5", "e") } },
                            { 2, { stock("SZ", "6", "f"), stock("SH", "7", "g") } } };
    manager.setCustomStockMap(stocks);
    COpenManager next;
    load(next, saved(manager));
    QStringList markets;
    for (const auto& list : stocksOf(next)) {
        for (const auto& pDetail : list) {
            markets.append(QString::fromStdString(pDetail->market));
        }
    }
    QCOMPARE(markets, QStringList({ "SH", "", "沪", "SH", "", "SZ", "SH" }));
}

void tst_customstocks::chineseNamesSurviveSaveAndLoad()
{
    COpenManager manager;
    CustomStockMap stocks { { 0, { stock("SH", "600519", "贵州茅台𠀀") } } };
    manager.setCustomStockMap(stocks);
    COpenManager next;
    load(next, saved(manager));
    QCOMPARE(stocksOf(next)[0][0]->name, std::string("贵州茅台𠀀"));
}

void tst_customstocks::stocksAreFoundAtAnyDepth()
{
    COpenManager manager;
    load(manager,
         "<a><Customs><b><Custom type=\"1\"><c><Stock code=\"1\"/></c></Custom></b></Customs></a>");
    QCOMPARE(codes(stocksOf(manager)[1]), QStringList({ "1" }));
}

void tst_customstocks::settingTheMapHasNoSideEffects()
{
    int nFired = 0;
    service().sigStockListChanged.connect([&] { ++nFired; });
    CustomStockMap stocks { { 1, { stock("SH", "1") } } };
    service().setCustomStockMap(stocks);
    QCOMPARE(nFired, 0);
    QCOMPARE(recording::calls(), QStringList());
}

void tst_customstocks::theRecordsAreSharedNotCopied()
{
    CustomStockMap stocks { { 1, { stock("SH", "1") } } };
    service().setCustomStockMap(stocks);
    CustomStockMap copy;
    service().getCustomStockMap(copy);
    QCOMPARE(copy[1][0].get(), stocks[1][0].get());
}

QTEST_GUILESS_MAIN(tst_customstocks)
#include "tst_customstocks.moc"
