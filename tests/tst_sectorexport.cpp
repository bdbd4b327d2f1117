#include "librarytest.h"
#include "recording.h"

#include "indexuser/sectorexport_p.h"

#include <cmath>
#include <limits>

using KW::SectorFilterItem;

namespace {

const QString c_strWeight = QStringLiteral("绝对权重");
const QString c_strClose = QStringLiteral("前收盘");

se::RPCSectorStock stock(const std::string& market, const std::string& code, double weight = 0.0,
                         double close = 0.0)
{
    return { 1, market, code, weight, close };
}

SectorFilterItem condition(const QString& indicator, int op, double threshold)
{
    SectorFilterItem item;
    item.indicator = indicator;
    item.compareOp = op;
    item.threshold = threshold;
    return item;
}

// The class derived from the manager that fills the table of the single instance.
class CFilterFiller : public KW::CUserConfigManager {
public:
    static void fill(KW::CUserConfigManager& manager, const QString& line)
    {
        const QDomDocument doc
            = parsed(QString("<r><SectorFilter><x param=\"%1\"/></SectorFilter></r>").arg(line));
        QDomElement root = doc.documentElement();
        (manager.*&CFilterFiller::loadSectorFilterConfig)(root);
    }
};

QString today()
{
    return QDate::currentDate().toString("yyyyMMdd");
}

QStringList written()
{
    return recording::callsOf("QWriteFile");
}

} // namespace

class tst_sectorexport : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void anEmptySectorIsFalseAndWritesNothing();
    void theFileIsNamedAfterTheSector();
    void anExportCallsItsSiblingsInOrder();
    void anUnknownSectorNamesItsFileByItsCode();
    void aFilterNamesTheFile();
    void linesHaveTwoEmptyColumnsAndNoLastBreak();
    void linesAreFilledOneAfterTheOther_data();
    void linesAreFilledOneAfterTheOther();
    void textsAreUtf8();
    void onlyStocksThatPassAreWritten();
    void allConditionsMustHold();
    void anEmptyFilterPassesAll();
    void aFilterThatPassesNoneWritesAnEmptyFile();
    void aFilterOfAnotherSectorDoesNotCount();
    void aFailedWriteIsTrueAllTheSame();
    void theTableIsThatOfTheSingleInstance();
    void comparisonsOnBothSidesOfTheBoundary_data();
    void comparisonsOnBothSidesOfTheBoundary();
    void theThresholdsOfTheField_data();
    void theThresholdsOfTheField();
    void unknownIndicatorsCompareNothing_data();
    void unknownIndicatorsCompareNothing();
    void numbersThatAreNoneFailEveryComparison();
};

void tst_sectorexport::anEmptySectorIsFalseAndWritesNothing()
{
    QVERIFY(!service().exportSectorStock2CVS("801010", userDir()));
    QCOMPARE(recording::calls(), QStringList("CStockManager::getSectorStock(801010)"));
}

void tst_sectorexport::theFileIsNamedAfterTheSector()
{
    recording::answers().sectorStocks = { stock("A", "B") };
    recording::answers().details["801010"] = std::make_shared<rxservice::CInstrumentDetail>(
        rxservice::CInstrumentDetail { "m", "c", "Banks" });
    QVERIFY(service().exportSectorStock2CVS("801010", "D:/out"));
    QCOMPARE(written(),
             QStringList(QString("QWriteFile(D:/out/Banks%1.csv,A,B,,0.000,)").arg(today())));
}

void tst_sectorexport::anExportCallsItsSiblingsInOrder()
{
    recording::answers().sectorStocks = { stock("A", "B") };
    QVERIFY(service().exportSectorStock2CVS("s", "out"));
    QCOMPARE(
        recording::calls(),
        QStringList({ "CStockManager::getSectorStock(s)", "CStockManager::getInstrumentDetail(s)",
                      QStringLiteral("formatDoubleNumber(3,0,false,非法值)"),
                      QString("QWriteFile(out/s%1.csv,A,B,,0.000,)").arg(today()) }));
}

void tst_sectorexport::anUnknownSectorNamesItsFileByItsCode()
{
    recording::answers().sectorStocks = { stock("A", "B") };
    QVERIFY(service().exportSectorStock2CVS("801010", "out"));
    QVERIFY(written().first().startsWith(QString("QWriteFile(out/801010%1.csv,").arg(today())));
}

void tst_sectorexport::aFilterNamesTheFile()
{
    recording::answers().sectorStocks = { stock("A", "B") };
    CFilterFiller::fill(manager(), "801010=MyBanks");
    QVERIFY(service().exportSectorStock2CVS("801010", "out"));
    QVERIFY(written().first().startsWith(QString("QWriteFile(out/MyBanks%1.csv,").arg(today())));
    QCOMPARE(recording::callsOf("CStockManager::getInstrumentDetail"), QStringList());
}

void tst_sectorexport::linesHaveTwoEmptyColumnsAndNoLastBreak()
{
    recording::answers().sectorStocks = { stock("SH", "1", 0.0512), stock("SZ", "2", 1.5) };
    QVERIFY(service().exportSectorStock2CVS("s", "out"));
    QVERIFY(written().first().endsWith(".csv,SH,1,,0.051,\nSZ,2,,1.500,)"));
    QCOMPARE(recording::callsOf("formatDoubleNumber"),
             QStringList({ QStringLiteral("formatDoubleNumber(3,0,false,非法值)"),
                           QStringLiteral("formatDoubleNumber(3,0,false,非法值)") }));
}

void tst_sectorexport::linesAreFilledOneAfterTheOther_data()
{
    QTest::addColumn<QByteArray>("market");
    QTest::addColumn<QByteArray>("code");
    QTest::addColumn<QString>("line");
    QTest::newRow("plain") << QByteArray("A") << QByteArray("B") << "A,B,,1.000,";
    // Each text replaces all occurrences of the lowest marker that is left.
    QTest::newRow("marker of the third") << QByteArray("A%3") << QByteArray("B") << "A,B,,1.000,";
    QTest::newRow("marker of the first")
        << QByteArray("A") << QByteArray("B%1x") << "A,Bx,1.000,,%5";
    QTest::newRow("both") << QByteArray("A%3") << QByteArray("B%1x") << "A1.000,Bx,1.000,,%5";
}

void tst_sectorexport::linesAreFilledOneAfterTheOther()
{
    QFETCH(QByteArray, market);
    QFETCH(QByteArray, code);
    QFETCH(QString, line);
    recording::answers().sectorStocks = { stock(market.toStdString(), code.toStdString(), 1.0) };
    QVERIFY(service().exportSectorStock2CVS("s", "out"));
    QCOMPARE(written().first(), QString("QWriteFile(out/s") + today() + ".csv," + line + ')');
}

void tst_sectorexport::textsAreUtf8()
{
    recording::answers().sectorStocks = { stock("沪", "浦发") };
    QVERIFY(service().exportSectorStock2CVS(QStringLiteral("银行"), "out"));
    QCOMPARE(recording::callsOf("CStockManager::getSectorStock"),
             QStringList(QStringLiteral("CStockManager::getSectorStock(银行)")));
    QVERIFY(written().first().endsWith(QStringLiteral(".csv,沪,浦发,,0.000,)")));
}

void tst_sectorexport::onlyStocksThatPassAreWritten()
{
    recording::answers().sectorStocks
        = { stock("A", "light", 0.05), stock("A", "heavy", 0.05002), stock("A", "heavier", 0.2) };
    CFilterFiller::fill(manager(), "s=N,1|" + c_strWeight + "|0|0|0.05");
    QVERIFY(service().exportSectorStock2CVS("s", "out"));
    QVERIFY(written().first().endsWith(".csv,A,heavy,,0.050,\nA,heavier,,0.200,)"));
}

void tst_sectorexport::allConditionsMustHold()
{
    recording::answers().sectorStocks
        = { stock("A", "1", 0.2, 5.0), stock("A", "2", 0.2, 15.0), stock("A", "3", 0.01, 5.0) };
    CFilterFiller::fill(manager(),
                        "s=N,1|" + c_strWeight + "|0|0|0.05,2|" + c_strClose + "|1|0|10");
    QVERIFY(service().exportSectorStock2CVS("s", "out"));
    QVERIFY(written().first().endsWith(".csv,A,1,,0.200,)"));
}

void tst_sectorexport::anEmptyFilterPassesAll()
{
    recording::answers().sectorStocks = { stock("A", "1"), stock("A", "2") };
    CFilterFiller::fill(manager(), "s=N");
    QVERIFY(service().exportSectorStock2CVS("s", "out"));
    QCOMPARE(written().first().count('\n'), 1);
}

void tst_sectorexport::aFilterThatPassesNoneWritesAnEmptyFile()
{
    recording::answers().sectorStocks = { stock("A", "1", 0.1) };
    CFilterFiller::fill(manager(), "s=N,1|" + c_strWeight + "|0|0|0.5");
    QVERIFY(service().exportSectorStock2CVS("s", "out"));
    QCOMPARE(written(), QStringList(QString("QWriteFile(out/N%1.csv,)").arg(today())));
}

void tst_sectorexport::aFilterOfAnotherSectorDoesNotCount()
{
    recording::answers().sectorStocks = { stock("A", "1") };
    CFilterFiller::fill(manager(), "other=N,1|" + c_strWeight + "|0|0|0.5");
    QVERIFY(service().exportSectorStock2CVS("s", "out"));
    QVERIFY(written().first().endsWith("A,1,,0.000,)"));
}

void tst_sectorexport::aFailedWriteIsTrueAllTheSame()
{
    recording::answers().sectorStocks = { stock("A", "1") };
    recording::answers().writes = { false };
    QVERIFY(service().exportSectorStock2CVS("s", "out"));
}

void tst_sectorexport::theTableIsThatOfTheSingleInstance()
{
    recording::answers().sectorStocks = { stock("A", "1") };
    CFilterFiller::fill(manager(), "s=OfTheInstance");
    COpenManager other;
    CFilterFiller::fill(other, "s=OfTheOther");
    QVERIFY(other.exportSectorStock2CVS("s", "out"));
    QVERIFY(written().first().startsWith("QWriteFile(out/OfTheInstance"));
}

void tst_sectorexport::comparisonsOnBothSidesOfTheBoundary_data()
{
    QTest::addColumn<int>("op");
    QTest::addColumn<double>("difference");
    QTest::addColumn<bool>("passes");
    const double dEps = 1e-5;
    const double dInside = std::nextafter(dEps, 0.0);
    const double dOutside = std::nextafter(dEps, 1.0);
    struct Row {
        const char* pszName;
        int nOp;
        bool bFarBelow, bJustBelow, bAtLow, bZero, bAtHigh, bJustAbove;
    };
    // Far below and just below the lower edge, on it, at zero, on the upper edge and just above it.
    for (const Row& row : { Row { ">", 0, false, false, false, false, false, true },
                            Row { "<", 1, true, true, false, false, false, false },
                            Row { ">=", 2, false, false, true, true, true, true },
                            Row { "<=", 3, true, true, true, true, true, false },
                            Row { "==", 4, false, false, true, true, true, false },
                            Row { "7", 7, true, true, true, true, true, true },
                            Row { "-1", -1, true, true, true, true, true, true } }) {
        const QString strName = row.pszName;
        QTest::newRow(qPrintable(strName + " far below")) << row.nOp << -1.0 << row.bFarBelow;
        QTest::newRow(qPrintable(strName + " just below"))
            << row.nOp << -dOutside << row.bJustBelow;
        QTest::newRow(qPrintable(strName + " lower edge")) << row.nOp << -dEps << row.bAtLow;
        QTest::newRow(qPrintable(strName + " inside")) << row.nOp << -dInside << row.bAtLow;
        QTest::newRow(qPrintable(strName + " zero")) << row.nOp << 0.0 << row.bZero;
        QTest::newRow(qPrintable(strName + " upper edge")) << row.nOp << dEps << row.bAtHigh;
        QTest::newRow(qPrintable(strName + " just above")) << row.nOp << dOutside << row.bJustAbove;
    }
}

void tst_sectorexport::comparisonsOnBothSidesOfTheBoundary()
{
    QFETCH(int, op);
    QFETCH(double, difference);
    QFETCH(bool, passes);
    QCOMPARE(KW::passes(stock("", "", difference), condition(c_strWeight, op, 0.0)), passes);
    QCOMPARE(KW::passes(stock("", "", 0.0, difference), condition(c_strClose, op, 0.0)), passes);
}

void tst_sectorexport::theThresholdsOfTheField_data()
{
    QTest::addColumn<int>("op");
    QTest::addColumn<double>("threshold");
    QTest::addColumn<double>("weight");
    QTest::addColumn<bool>("passes");
    QTest::newRow("0.05 > 0.05") << 0 << 0.05 << 0.05 << false;
    QTest::newRow("0.05002 > 0.05") << 0 << 0.05 << 0.05002 << true;
    QTest::newRow("1.000005 == 1") << 4 << 1.0 << 1.000005 << true;
    QTest::newRow("1.00002 == 1") << 4 << 1.0 << 1.00002 << false;
}

void tst_sectorexport::theThresholdsOfTheField()
{
    QFETCH(int, op);
    QFETCH(double, threshold);
    QFETCH(double, weight);
    QFETCH(bool, passes);
    QCOMPARE(KW::passes(stock("", "", weight), condition(c_strWeight, op, threshold)), passes);
}

void tst_sectorexport::unknownIndicatorsCompareNothing_data()
{
    QTest::addColumn<int>("op");
    QTest::addColumn<bool>("passes");
    QTest::newRow(">") << 0 << false;
    QTest::newRow("<") << 1 << false;
    QTest::newRow(">=") << 2 << true;
    QTest::newRow("<=") << 3 << true;
    QTest::newRow("==") << 4 << true;
    QTest::newRow("none") << 7 << true;
}

void tst_sectorexport::unknownIndicatorsCompareNothing()
{
    QFETCH(int, op);
    QFETCH(bool, passes);
    QCOMPARE(KW::passes(stock("", "", 5.0, 5.0), condition("xyz", op, 1.0)), passes);
}

void tst_sectorexport::numbersThatAreNoneFailEveryComparison()
{
    const double dNone = std::numeric_limits<double>::quiet_NaN();
    for (const int nOp : { 0, 1, 2, 3, 4 }) {
        QVERIFY(!KW::passes(stock("", "", dNone), condition(c_strWeight, nOp, 1.0)));
    }
    QVERIFY(KW::passes(stock("", "", dNone), condition(c_strWeight, 5, 1.0)));
}

QTEST_GUILESS_MAIN(tst_sectorexport)
#include "tst_sectorexport.moc"
