#include "librarytest.h"

#include <inspect/filterline.h>

class tst_filterline : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aKeyIsNoPlaceForTheItems_data();
    void aKeyIsNoPlaceForTheItems();
    void errorsAreNamedByGroupAndItem_data();
    void errorsAreNamedByGroupAndItem();
    void aGroupIsFoundByItsKey();
    void anExportTakesOnlyWhatMatches_data();
    void anExportTakesOnlyWhatMatches();
};

void tst_filterline::aKeyIsNoPlaceForTheItems_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("place");
    for (const char* pszKey : { "%0", "%1", "%2", "a%02", "%020", "%L2" }) {
        QTest::newRow(pszKey) << pszKey << true;
    }
    for (const char* pszKey : { "%", "%3", "%12", "%03", "2%" }) {
        QTest::newRow(pszKey) << pszKey << false;
    }
}

void tst_filterline::aKeyIsNoPlaceForTheItems()
{
    QFETCH(QString, key);
    QFETCH(bool, place);
    const QString strError = "group 1: in the key '" + key + "' a save would put the items";
    QCOMPARE(inspect::filterLineError(key + "=N"), place ? strError : QString());
}

void tst_filterline::errorsAreNamedByGroupAndItem_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("error");
    QTest::newRow("whole") << QStringLiteral("a=N,1|绝对权重|0|0|0.05:b=M") << "";
    QTest::newRow("empty") << ""
                           << "group 1: '' is not of the form key=name,item,...";
    QTest::newRow("no equals sign") << "a=N:b"
                                    << "group 2: 'b' is not of the form key=name,item,...";
    QTest::newRow("two equals signs") << "a=N=M"
                                      << "group 1: 'a=N=M' is not of the form key=name,item,...";
    QTest::newRow("name with bars") << "a=1|2|3|4|5"
                                    << "group 1: the name '1|2|3|4|5' holds '|' or '/'";
    QTest::newRow("name with a slash") << "a=../x"
                                       << "group 1: the name '../x' holds '|' or '/'";
    QTest::newRow("four fields") << "a=N,1|2|3|4"
                                 << "group 1: item 1: 4 fields instead of "
                                    "id|indicator|compareOp|extra|threshold";
    QTest::newRow("id") << "a=N,x|i|0|0|1"
                        << "group 1: item 1: 'x' is no integer";
    QTest::newRow("operator") << "a=N,1|i|0|0|1,1|i|>|0|1"
                              << "group 1: item 2: '>' is no integer";
    for (const char* pszExtra : { "", "x", "0.5", " ", "2147483648" }) {
        QTest::addRow("extra '%s'", pszExtra)
            << QStringLiteral("a=N,1|i|0|%1|1").arg(pszExtra)
            << QStringLiteral("group 1: item 1: '%1' is no integer").arg(pszExtra);
    }
    QTest::newRow("no operator of ours") << "a=.N,1|i|7|0|1"
                                         << ""; // nothing is dropped
    QTest::newRow("threshold") << "a=N,1|i|0|0|1,5"
                               << "group 1: item 2: 1 fields instead of "
                                  "id|indicator|compareOp|extra|threshold";
    QTest::newRow("infinity") << "a=N,1|i|0|0|inf"
                              << "group 1: item 1: 'inf' is no number";
    QTest::newRow("no threshold") << "a=N,1|i|0|0|"
                                  << "group 1: item 1: '' is no number";
    QTest::newRow("twice") << "a=N:a=M"
                           << "group 2: a second group for 'a'";
}

void tst_filterline::errorsAreNamedByGroupAndItem()
{
    QFETCH(QString, line);
    QFETCH(QString, error);
    QCOMPARE(inspect::filterLineError(line), error);
}

void tst_filterline::aGroupIsFoundByItsKey()
{
    QVERIFY(inspect::hasFilterFor("a=N:b=M", "b"));
    QVERIFY(!inspect::hasFilterFor("a=N:b=M", "N"));
}

void tst_filterline::anExportTakesOnlyWhatMatches_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* pszName, const char* pszLine, const char* pszError) {
        QTest::newRow(pszName) << QString::fromUtf8(pszLine) << QString::fromUtf8(pszError);
    };
    row("all there is", "a=N,1|绝对权重|0|0|1,1|前收盘|1|0|1,1|前收盘|2|0|1:b=M,1|前收盘|4|7|1",
        "");
    row("form", "a=N:b", "group 2: 'b' is not of the form key=name,item,...");
    row("indicator", "a=N,1|绝对权重|0|0|1,2|市盈率|0|0|1",
        "group 1: item 2: there is no indicator '市盈率', only 绝对权重 and 前收盘");
    row("indicator with a blank", "a=N,1|绝对权重 |0|0|1",
        "group 1: item 1: there is no indicator '绝对权重 ', only 绝对权重 and 前收盘");
    row("operator above", "a=N:b=M,1|前收盘|5|0|1",
        "group 2: item 1: there is no operator 5, only 0 (>), 1 (<), 2 (>=), 3 (<=) and 4 (=)");
    row("operator below", "a=N,1|前收盘|-1|0|1",
        "group 1: item 1: there is no operator -1, only 0 (>), 1 (<), 2 (>=), 3 (<=) and 4 (=)");
    row("hidden file", "a=.N", "group 1: the name '.N' begins with a dot");
    row("no name", "a=N:b=,1|前收盘|0|0|1", "group 2: the name '' is empty");
    row("line in a name", "a=N\nM", "group 1: the name 'N\nM' holds a control character");
}

void tst_filterline::anExportTakesOnlyWhatMatches()
{
    QFETCH(QString, line);
    QFETCH(QString, error);
    QCOMPARE(inspect::exportFilterError(line), error);
}

QTEST_GUILESS_MAIN(tst_filterline)
#include "tst_filterline.moc"
