#include "librarytest.h"

#include <inspect/filterline.h>

class tst_filterline : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void errorsAreNamedByGroupAndItem_data();
    void errorsAreNamedByGroupAndItem();
    void aGroupIsFoundByItsKey();
};

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
    QTest::newRow("one field") << "a=N,1|i|0|0|1,5"
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

QTEST_GUILESS_MAIN(tst_filterline)
#include "tst_filterline.moc"
