#include "librarytest.h"

#include <inspect/stockcsv.h>

class tst_stockcsv : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatIsWrittenIsReadBack();
    void linesMayEndAsTheyLike();
    void aBadLineIsNamedAndNothingRead_data();
    void aBadLineIsNamedAndNothingRead();
};

namespace {

std::shared_ptr<rxservice::CInstrumentDetail> stock(const char* pszMarket, const char* pszCode,
                                                    const char* pszName)
{
    auto pDetail = std::make_shared<rxservice::CInstrumentDetail>();
    pDetail->market = pszMarket;
    pDetail->code = pszCode;
    pDetail->name = pszName;
    return pDetail;
}

} // namespace

void tst_stockcsv::whatIsWrittenIsReadBack()
{
    KW::CustomStockMap stocks;
    stocks[0] = { stock("SH", "600000", "浦发银行"), stock("SH", "600000", "twice") };
    stocks[3] = {};
    stocks[7] = { stock("", "x,y", "a \"b\"\", c"), stock("SZ", "1", "") };
    const QByteArray csv = inspect::stocksToCsv(stocks);
    const inspect::CsvStocks read = inspect::stocksFromCsv(csv);
    QCOMPARE(read.strError, QString());
    QCOMPARE(read.stocks.keys(), stocks.keys());
    QCOMPARE(read.stocks[0].size(), 2);
    QCOMPARE(read.stocks[3].size(), 0);
    QCOMPARE(read.stocks[7][0]->name, std::string("a \"b\"\", c"));
    QCOMPARE(inspect::stocksToCsv(read.stocks), csv);
}

void tst_stockcsv::linesMayEndAsTheyLike()
{
    for (const char* pszCsv : { "list,market,code,name\n0,SH,1,a",
                                "list,market,code,name\r\n"
                                "0,SH,1,a\r\n",
                                "\xef\xbb\xbflist,market,code,name\n0,\"SH\",1,\"a\"\n" }) {
        const inspect::CsvStocks read = inspect::stocksFromCsv(pszCsv);
        QCOMPARE(read.strError, QString());
        QCOMPARE(read.stocks[0][0]->name, std::string("a"));
    }
}

void tst_stockcsv::aBadLineIsNamedAndNothingRead_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("error");
    QTest::newRow("fields") << QByteArray("1,SH,2,a\n1,SH\n") << 3 << "2 fields instead of";
    QTest::newRow("empty line") << QByteArray("\n") << 2 << "1 fields instead of";
    QTest::newRow("list") << QByteArray("x,SH,1,a\n") << 2 << "'x' is no list";
    QTest::newRow("negative") << QByteArray("-1,SH,1,a\n") << 2 << "'-1' is no list";
    QTest::newRow("no code") << QByteArray("1,SH,,a\n") << 2 << "a stock without a code";
    QTest::newRow("open quote") << QByteArray("1,SH,1,\"a\n") << 2 << "a quote that is not";
    QTest::newRow("behind a quote") << QByteArray("1,SH,1,\"a\"b\n") << 2 << "a quote that";
    QTest::newRow("line in a field")
        << QByteArray("1,SH,1,\"a\nb\"\n1,SH\n") << 2 << "a field holds a control character";
    QTest::newRow("encoding") << QByteArray("1,SH,1,\xc6\xd6\n") << 2 << "the text is not UTF-8";
    QTest::newRow("byte order mark")
        << QByteArray("1,SH,\xef\xbb\xbf,a\n") << 2 << "a field begins with a byte order mark";
    QTest::newRow("encoding below")
        << QByteArray("1,SH,1,a\r\n2,SH,1,\xe9\x93\xb6\n2,SH,2,\xe9\x93\n") << 4
        << "the text is not UTF-8";
    QTest::newRow("encoding at the end")
        << QByteArray("1,SH,1,a\n1,SH,2,\xe9\x93") << 3 << "the text is not UTF-8";
    QTest::newRow("direction") << QByteArray("1,SH,1,a\n1,SH,2,\xe2\x80\xae"
                                             "b\n")
                               << 3 << "a field holds a control character";
}

void tst_stockcsv::aBadLineIsNamedAndNothingRead()
{
    QFETCH(QByteArray, lines);
    QFETCH(int, line);
    QFETCH(QString, error);
    const inspect::CsvStocks read = inspect::stocksFromCsv("list,market,code,name\n" + lines);
    QVERIFY2(read.strError.startsWith(error), qPrintable(read.strError));
    QCOMPARE(read.nErrorLine, line);
    QVERIFY(read.stocks.isEmpty());
    QVERIFY(inspect::stocksFromCsv(lines).strError.size() > 0);
}

QTEST_GUILESS_MAIN(tst_stockcsv)
#include "tst_stockcsv.moc"
