#include "librarytest.h"
#include "logcapture.h"

#include "platform/formula.h"
#include "standalone/standalone.h"

namespace {

const char c_szConstituent[] = "{\"market\": \"SH\", \"code\": \"600000\", \"name\": \"浦发银行\", "
                               "\"absoluteWeight\": 0.05, \"previousClose\": 10.21}";

QByteArray catalogue(const QByteArray& constituents)
{
    return "{\"sectors\": [{\"code\": \"801780\", \"name\": \"银行\", \"constituents\": ["
        + constituents + "]}]}";
}

std::vector<se::RPCSectorStock> stocksOf(const std::string& sector)
{
    std::vector<se::RPCSectorStock> stocks(3);
    utils::CSingletonT<KW::CStockManager>::instance()->getSectorStock(sector, stocks);
    return stocks;
}

} // namespace

class tst_sectors : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void theSampleHasTwoLargeSectors();
    void aSectorIsReadWhole();
    void stocksOfASectorAreNumberedFromOne();
    void anUnknownSectorHasNoStocks();
    void defectsAreNamedAndNothingIsRead_data();
    void defectsAreNamedAndNothingIsRead();
    void aMissingFileIsNamed();
    void aFileThatCannotBeReadIsLoggedOnce();
    void theHostMayGiveAnotherFile();
    void anotherUserHasOtherSectors();
    void theDetailOfASectorIsKnown();
    void customInstrumentsComeFirst();
    void anExportIsARealFile();
    void anExportReplacesTheFileOfTheDay();

private:
    void writeSectors(const QByteArray& text) { writeFile(userDir() + "/sectors.json", text); }
};

void tst_sectors::theSampleHasTwoLargeSectors()
{
    const auto sample = standalone::readSectors(SAMPLE_USER "/sectors.json");
    QCOMPARE(sample.strError, QString());
    QCOMPARE(sample.sectors.size(), 2);
    for (const standalone::Sector& sector : sample.sectors) {
        QVERIFY(sector.constituents.size() >= 30);
    }
}

void tst_sectors::aSectorIsReadWhole()
{
    writeSectors(catalogue(c_szConstituent));
    const std::vector<se::RPCSectorStock> stocks = stocksOf("801780");
    QCOMPARE(stocks.size(), std::size_t(1));
    QCOMPARE(stocks[0].market, std::string("SH"));
    QCOMPARE(stocks[0].code, std::string("600000"));
    QCOMPARE(stocks[0].absoluteWeight, 0.05);
    QCOMPARE(stocks[0].previousClose, 10.21);
}

void tst_sectors::stocksOfASectorAreNumberedFromOne()
{
    writeSectors(catalogue(c_szConstituent + QByteArray(",") + c_szConstituent));
    const std::vector<se::RPCSectorStock> stocks = stocksOf("801780");
    QCOMPARE(stocks.size(), std::size_t(2));
    QCOMPARE(stocks[0].id, std::int64_t(1));
    QCOMPARE(stocks[1].id, std::int64_t(2));
}

void tst_sectors::anUnknownSectorHasNoStocks()
{
    writeSectors(catalogue(c_szConstituent));
    QVERIFY(stocksOf("801081").empty());
}

void tst_sectors::defectsAreNamedAndNothingIsRead_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error");
    const auto constituent = [](const char* pszFrom, const char* pszTo) {
        return QByteArray(c_szConstituent).replace(pszFrom, pszTo);
    };
    const QString strSecond = " sectors[0].constituents[1].";
    QTest::newRow("empty") << QByteArray("") << "1:1: illegal value";
    QTest::newRow("cut off") << QByteArray("{\"sectors\":\n [") << "2:3: unterminated array";
    QTest::newRow("an array") << QByteArray("[]")
                              << " the root: an object is wanted, here is an array";
    QTest::newRow("no sectors") << QByteArray("{}")
                                << " sectors: an array is wanted, here is nothing";
    QTest::newRow("a sector is a text") << QByteArray("{\"sectors\": [\"x\"]}")
                                        << " sectors[0]: an object is wanted, here is a text";
    QTest::newRow("a code is a number") << QByteArray("{\"sectors\": [{\"code\": 801780}]}")
                                        << " sectors[0].code: a text is wanted, here is a number";
    QTest::newRow("a weight is a text")
        << catalogue(c_szConstituent + QByteArray(",") + constituent("0.05", "\"0.05\""))
        << strSecond + "absoluteWeight: a number is wanted, here is a text";
    QTest::newRow("a close is missing")
        << catalogue(c_szConstituent + QByteArray(",")
                     + constituent(", \"previousClose\": 10.21", ""))
        << strSecond + "previousClose: a number is wanted, here is nothing";
    QTest::newRow("a market is null")
        << catalogue(c_szConstituent + QByteArray(",") + constituent("\"SH\"", "null"))
        << strSecond + "market: a text is wanted, here is null";
}

void tst_sectors::defectsAreNamedAndNothingIsRead()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, error);
    writeSectors(text);
    const auto read = standalone::readSectors(userDir() + "/sectors.json");
    QCOMPARE(read.strError, userDir() + "/sectors.json:" + error);
    QVERIFY(read.sectors.isEmpty());
}

void tst_sectors::aMissingFileIsNamed()
{
    const QString strPath = userDir() + "/missing.json";
    QCOMPARE(standalone::readSectors(strPath).strError, strPath + ": No such file or directory");
}

void tst_sectors::aFileThatCannotBeReadIsLoggedOnce()
{
    logcapture::expectErrors(1);
    QVERIFY(stocksOf("801780").empty());
    QVERIFY(stocksOf("801780").empty());
    QCOMPARE(logcapture::messages(),
             QStringList(userDir() + "/sectors.json: No such file or directory"));
}

void tst_sectors::theHostMayGiveAnotherFile()
{
    standalone::setSectorsFile(SAMPLE_USER "/sectors.json");
    QVERIFY(stocksOf("801780").size() > 1);
    standalone::setSectorsFile(QString());
    writeSectors(catalogue(c_szConstituent));
    QCOMPARE(stocksOf("801780").size(), std::size_t(1));
}

void tst_sectors::anotherUserHasOtherSectors()
{
    writeSectors(catalogue(c_szConstituent));
    QCOMPARE(stocksOf("801780").size(), std::size_t(1));
    useUserDir(SAMPLE_USER);
    QVERIFY(stocksOf("801780").size() > 1);
}

void tst_sectors::theDetailOfASectorIsKnown()
{
    writeSectors(catalogue(c_szConstituent));
    KW::CStockManager& stocks = *utils::CSingletonT<KW::CStockManager>::instance();
    QCOMPARE(stocks.getInstrumentDetail("801780")->name, std::string("银行"));
    QVERIFY(!stocks.getInstrumentDetail("600000"));
}

void tst_sectors::customInstrumentsComeFirst()
{
    writeSectors(catalogue(c_szConstituent));
    KW::CStockManager& stocks = *utils::CSingletonT<KW::CStockManager>::instance();
    const auto pDetail = std::make_shared<rxservice::CInstrumentDetail>();
    stocks.insertCustomDetail("801780", pDetail);
    QCOMPARE(stocks.getInstrumentDetail("801780").get(), pDetail.get());
}

void tst_sectors::anExportIsARealFile()
{
    writeSectors(catalogue(c_szConstituent + QByteArray(",") + c_szConstituent));
    QVERIFY(service().exportSectorStock2CVS("801780", userDir()));
    const QString strPath
        = userDir() + QStringLiteral("/银行") + QDate::currentDate().toString("yyyyMMdd") + ".csv";
    QCOMPARE(readFile(strPath), QByteArray("SH,600000,,0.050,\nSH,600000,,0.050,"));
}

void tst_sectors::anExportReplacesTheFileOfTheDay()
{
    writeSectors(catalogue(c_szConstituent));
    QVERIFY(service().exportSectorStock2CVS("801780", userDir()));
    QVERIFY(service().exportSectorStock2CVS("801780", userDir()));
    QCOMPARE(QDir(userDir()).entryList({ "*.csv" }).size(), 1);
}

QTEST_GUILESS_MAIN(tst_sectors)
#include "tst_sectors.moc"
