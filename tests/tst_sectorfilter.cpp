#include "librarytest.h"
#include "recording.h"

#include "format/sectorfiltertext.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

using KW::SectorFilterEntry;
using KW::SectorFilterItem;
using KW::SectorFilterMap;

namespace {

SectorFilterMap parsedLine(const QString& line)
{
    SectorFilterMap table;
    KW::parseSectorFilters(line, table);
    return table;
}

SectorFilterMap read(const QString& xml, SectorFilterMap table = {})
{
    const QDomDocument doc = parsed(xml);
    KW::readSectorFilters(doc.documentElement(), table);
    return table;
}

QString oneOf(QRandomGenerator& random, const QStringList& texts)
{
    return texts[random.bounded(texts.size())];
}

SectorFilterEntry randomEntry(QRandomGenerator& random)
{
    SectorFilterEntry entry;
    entry.name = oneOf(random, { "", "Banks", QStringLiteral("银行"), " n ", "%1", "%2" });
    for (int i = random.bounded(4); i > 0; --i) {
        SectorFilterItem item;
        item.id = static_cast<std::int32_t>(random.generate());
        item.indicator
            = oneOf(random, { QStringLiteral("绝对权重"), QStringLiteral("前收盘"), "" });
        item.compareOp = random.bounded(-3, 9);
        item.extra = static_cast<std::int32_t>(random.generate());
        item.threshold = random.bounded(2000000) / 1000.0 - 1000.0;
        entry.items.append(item);
    }
    return entry;
}

} // namespace

class tst_sectorfilter : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void anItemHasItsDefaults();
    void theExampleLineIsWrittenAndRead();
    void withoutSectionNothingChanges();
    void theFirstSectionIsRead();
    void theSectionIsFoundAtAnyDepth();
    void childrenAreReadInOrderWhateverTheirName();
    void theNameOfTheSectionIsExact();
    void whatTheFileLacksStays();
    void lines_data();
    void lines();
    void positionsThreeAndFourKeepTheirPlaces();
    void textThatIsNoNumberIsZero();
    void blanksAreKept();
    void theLastGroupOfAKeyWins();
    void keysAreWrittenInTextOrder();
    void anEmptyTableIsAnEmptyLine();
    void substitutionsAreChained();
    void theFormatOfANumberIsAskedFor();
    void theManagerReadsAndWritesItsTable();
    void aSaveDoesNotWriteTheTable();
    void formatOfParseIsStable();
    void hostileLinesAreReadInLinearTime_data();
    void hostileLinesAreReadInLinearTime();
};

void tst_sectorfilter::anItemHasItsDefaults()
{
    const SectorFilterItem item;
    QCOMPARE(item.indicator, QString());
    QCOMPARE(item.threshold, 1.0);
    QCOMPARE(item.extra, 0);
    QCOMPARE(item.compareOp, 0);
}

void tst_sectorfilter::theExampleLineIsWrittenAndRead()
{
    const SectorFilterMap table {
        { "801010",
          { "Banks",
            { { 1, QStringLiteral("绝对权重"), 0.05, 0, 0 },
              { 2, QStringLiteral("前收盘"), 10.0, 0, 3 } } } },
        { "801020", { "Others", {} } },
    };
    const QString strLine
        = QStringLiteral("801010=Banks,1|绝对权重|0|0|0.050,2|前收盘|3|0|10.000:801020=Others");
    QCOMPARE(KW::formatSectorFilters(table), strLine);
    QCOMPARE(KW::formatSectorFilters(parsedLine(strLine)), strLine);
}

void tst_sectorfilter::withoutSectionNothingChanges()
{
    const SectorFilterMap table = read("<r><sectorFilter param=\"a=b\"/></r>", parsedLine("k=N"));
    QCOMPARE(table.keys(), QStringList("k"));
}

void tst_sectorfilter::theFirstSectionIsRead()
{
    const SectorFilterMap table = read("<r><SectorFilter><x param=\"a=1\"/></SectorFilter>"
                                       "<SectorFilter><x param=\"b=2\"/></SectorFilter></r>");
    QCOMPARE(table.keys(), QStringList("a"));
}

void tst_sectorfilter::theSectionIsFoundAtAnyDepth()
{
    const SectorFilterMap table
        = read("<r><deep><SectorFilter><x param=\"a=1\"/></SectorFilter></deep></r>");
    QCOMPARE(table.keys(), QStringList("a"));
}

void tst_sectorfilter::childrenAreReadInOrderWhateverTheirName()
{
    const SectorFilterMap table
        = read("<r><SectorFilter><x param=\"a=1:b=2\"/><none/><y param=\"b=3\"/>"
               "<z><x param=\"c=4\"/></z></SectorFilter></r>");
    QCOMPARE(table.keys(), QStringList({ "a", "b" }));
    QCOMPARE(table["b"].name, QString("3"));
}

void tst_sectorfilter::theNameOfTheSectionIsExact()
{
    QVERIFY(read("<r><sectorFilter><x param=\"a=1\"/></sectorFilter></r>").isEmpty());
}

void tst_sectorfilter::whatTheFileLacksStays()
{
    const SectorFilterMap table
        = read("<r><SectorFilter><x param=\"b=2\"/></SectorFilter></r>", parsedLine("a=1:b=1"));
    QCOMPARE(table["a"].name, QString("1"));
    QCOMPARE(table["b"].name, QString("2"));
}

void tst_sectorfilter::lines_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("saved");
    QTest::newRow("no equals sign") << "abc"
                                    << "";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("separators only") << ":,|:"
                                     << "";
    QTest::newRow("empty value") << "k="
                                 << "k=";
    QTest::newRow("empty key") << "=N"
                               << "=N";
    QTest::newRow("a bad item") << "k=N,1|a|2|3|4.5,bad"
                                << "k=N,1|a|2|3|4.500";
    QTest::newRow("six fields") << "k=N,1|a|2|3|4|5"
                                << "k=N";
    QTest::newRow("a name that is an item") << "k=a|b|c|d|e"
                                            << "k=a|b|c|d|e,0|b|0|0|0.000";
    QTest::newRow("a second equals sign") << "k=N=M,1|a|2|3|4"
                                          << "k=N";
    QTest::newRow("empty groups") << ":k=N::"
                                  << "k=N";
    QTest::newRow("a group without value") << "x:k=N"
                                           << "k=N";
}

void tst_sectorfilter::lines()
{
    QFETCH(QString, line);
    QFETCH(QString, saved);
    QCOMPARE(KW::formatSectorFilters(parsedLine(line)), saved);
}

void tst_sectorfilter::positionsThreeAndFourKeepTheirPlaces()
{
    const SectorFilterItem item = parsedLine("k=N,1|a|2|3|4.5")["k"].items.first();
    QCOMPARE(item.id, 1);
    QCOMPARE(item.indicator, QString("a"));
    QCOMPARE(item.compareOp, 2);
    QCOMPARE(item.extra, 3);
    QCOMPARE(item.threshold, 4.5);
    QCOMPARE(KW::formatSectorFilters(parsedLine("k=N,1|a|2|3|4.5")), QString("k=N,1|a|2|3|4.500"));
}

void tst_sectorfilter::textThatIsNoNumberIsZero()
{
    const SectorFilterItem item = parsedLine("k=N,x|a|1.5|99999999999|y")["k"].items.first();
    QCOMPARE(item.id, 0);
    QCOMPARE(item.compareOp, 0);
    QCOMPARE(item.extra, 0);
    QCOMPARE(item.threshold, 0.0);
}

void tst_sectorfilter::blanksAreKept()
{
    const SectorFilterMap table = parsedLine(" k=a:k= b");
    QCOMPARE(table.keys(), QStringList({ " k", "k" }));
    QCOMPARE(table["k"].name, QString(" b"));
}

void tst_sectorfilter::theLastGroupOfAKeyWins()
{
    const SectorFilterMap table = parsedLine("k=N,1|a|2|3|4:k=M");
    QCOMPARE(table["k"].name, QString("M"));
    QVERIFY(table["k"].items.isEmpty());
}

void tst_sectorfilter::keysAreWrittenInTextOrder()
{
    QCOMPARE(KW::formatSectorFilters(parsedLine("9=b:10=a")), QString("10=a:9=b"));
}

void tst_sectorfilter::anEmptyTableIsAnEmptyLine()
{
    QDomDocument doc = parsed("<SectorFilter/>");
    QDomElement parent = doc.documentElement();
    KW::writeSectorFilters(parent, doc, {});
    QCOMPARE(doc.toString(-1), QString("<SectorFilter><sectorFilter param=\"\"/></SectorFilter>"));
}

// The key goes in first, and the elements then go to the lowest marker that is left.
void tst_sectorfilter::substitutionsAreChained()
{
    QCOMPARE(KW::formatSectorFilters({ { "a%2b", { "N", {} } } }), QString("aNb=N"));
    QCOMPARE(KW::formatSectorFilters({ { "a%1b", { "N", {} } } }), QString("aNb=%2"));
    QCOMPARE(KW::formatSectorFilters({ { "k", { "%1%2", {} } } }), QString("k=%1%2"));
}

void tst_sectorfilter::theFormatOfANumberIsAskedFor()
{
    KW::formatSectorFilters({ { "k", { "N", { SectorFilterItem() } } } });
    QCOMPARE(recording::calls(),
             QStringList(QStringLiteral("formatDoubleNumber(3,0,false,非法值)")));
}

void tst_sectorfilter::theManagerReadsAndWritesItsTable()
{
    COpenManager manager;
    const QDomDocument doc = parsed("<r><SectorFilter><x param=\"k=N\"/></SectorFilter></r>");
    QDomElement root = doc.documentElement();
    manager.loadSectorFilterConfig(root);
    QDomDocument out = parsed("<SectorFilter/>");
    QDomElement parent = out.documentElement();
    manager.saveSectorFilterConfig(parent, out);
    QCOMPARE(out.toString(-1),
             QString("<SectorFilter><sectorFilter param=\"k=N\"/></SectorFilter>"));
}

void tst_sectorfilter::aSaveDoesNotWriteTheTable()
{
    writeLive("<ICUserConfigFile><SectorFilter><x param=\"k=N\"/></SectorFilter>"
              "</ICUserConfigFile>");
    service().loadSettings();
    saveAndWait(service());
    QVERIFY(!readFile(livePath()).contains("ectorFilter"));
}

void tst_sectorfilter::formatOfParseIsStable()
{
    QRandomGenerator random(20240131);
    for (int i = 0; i < 500; ++i) {
        SectorFilterMap table;
        for (int n = random.bounded(4); n > 0; --n) {
            table.insert(QString::number(random.bounded(20)), randomEntry(random));
        }
        const QString strLine = KW::formatSectorFilters(table);
        QCOMPARE(KW::formatSectorFilters(parsedLine(strLine)), strLine);
    }
}

void tst_sectorfilter::hostileLinesAreReadInLinearTime_data()
{
    QTest::addColumn<QString>("piece");
    for (const char* pszPiece :
         { ":", "=", ",", "|", "k=:", "k=,", "k=N,1|a|2|3|4,", "=|,:", "1|2|3|4|5", "k=%1%2:" }) {
        QTest::newRow(pszPiece) << pszPiece;
    }
}

// A ratio of two sizes, so that no machine is too slow: twice the text, at most some four times as
// long, where a quadratic reader at these sizes would need minutes.
void tst_sectorfilter::hostileLinesAreReadInLinearTime()
{
    QFETCH(QString, piece);
    const QString strLine = piece.repeated((1 << 20) / piece.size());
    QElapsedTimer timer;
    timer.start();
    parsedLine(strLine);
    const qint64 nOnce = qMax<qint64>(timer.restart(), 20);
    parsedLine(strLine + strLine);
    QVERIFY2(timer.elapsed() < nOnce * 20, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(tst_sectorfilter)
#include "tst_sectorfilter.moc"
