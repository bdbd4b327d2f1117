#include "librarytest.h"

#include <inspect/stockchanges.h>

#include <QElapsedTimer>
#include <QRandomGenerator>

// What became of the stocks of a list.
class tst_stockchanges : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void whatChangedIsTold_data();
    void whatChangedIsTold();
    void noFewerCouldHaveMoved();
    void aLongListTakesNoTime();
};

namespace {

// A letter a stock; "a=x" has another name.
KW::InstrumentList listOf(const QString& text)
{
    KW::InstrumentList list;
    const auto words = text.split(' ', Qt::SkipEmptyParts);
    for (const QString& word : words) {
        auto pStock = std::make_shared<rxservice::CInstrumentDetail>();
        pStock->market = "SH";
        pStock->code = word.section('=', 0, 0).toStdString();
        pStock->name = word.section('=', 1).toStdString();
        list.append(pStock);
    }
    return list;
}

QStringList told(const KW::InstrumentList& before, const KW::InstrumentList& after)
{
    QStringList lines;
    const auto changes = inspect::stockChanges(before, after);
    for (const inspect::StockChange& each : changes) {
        const auto& pStock = each.nAfter < 0 ? before[each.nBefore] : after[each.nAfter];
        lines.append(QString::fromStdString(pStock->code) + ": " + each.notes.join(", "));
    }
    return lines;
}

// By trying all of them.
int longestOrdered(const QVector<int>& places)
{
    int nLongest = 0;
    for (int nChosen = 0; nChosen < 1 << places.size(); ++nChosen) {
        int nLast = -1;
        int nCount = 0;
        for (int i = 0; i < places.size() && nCount >= 0; ++i) {
            if ((nChosen >> i & 1) != 0) {
                nCount = places[i] > nLast ? nCount + 1 : -1;
                nLast = places[i];
            }
        }
        nLongest = std::max(nLongest, nCount);
    }
    return nLongest;
}

} // namespace

void tst_stockchanges::whatChangedIsTold_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](const char* pszName, const char* pszBefore, const char* pszAfter,
                        const QStringList& expected) {
        QTest::newRow(pszName) << pszBefore << pszAfter << expected;
    };
    row("nothing", "a b", "a b", {});
    row("empty", "", "", {});
    row("to the top", "a b c d", "d a b c", { "d: moved from 4 to 1" });
    row("to the end", "a b c d", "b c d a", { "a: moved from 1 to 4" });
    row("two change places", "a b c d", "a c b d", { "c: moved from 3 to 2" });
    row("new and gone move nothing", "a b c", "x b c", { "x: new", "a: gone" });
    row("new in front", "a b", "x a b", { "x: new" });
    row("renamed", "a=x b", "a=y b", { "a: was named x" });
    row("renamed and moved", "a=x b c", "b c a=y", { "a: moved from 1 to 3, was named x" });
    row("twice", "a b", "a b a", { "a: new" });
    row("once less", "a b a", "b a", { "b: moved from 2 to 1", "a: gone" });
    row("all", "a", "b", { "b: new", "a: gone" });
}

void tst_stockchanges::whatChangedIsTold()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(QStringList, expected);
    QCOMPARE(told(listOf(before), listOf(after)), expected);
}

void tst_stockchanges::noFewerCouldHaveMoved()
{
    QRandomGenerator random(7);
    for (int nRound = 0; nRound < 300; ++nRound) {
        QStringList names { "a", "b", "c", "d", "e", "f", "g", "h" };
        const KW::InstrumentList before = listOf(names.join(' '));
        std::shuffle(names.begin(), names.end(), random);
        QVector<int> places;
        for (const QString& name : qAsConst(names)) {
            places.append(name[0].unicode() - 'a');
        }
        const int nMoved = told(before, listOf(names.join(' '))).size();
        QCOMPARE(nMoved, names.size() - longestOrdered(places));
    }
}

void tst_stockchanges::aLongListTakesNoTime()
{
    KW::InstrumentList before;
    for (int i = 0; i < 200000; ++i) {
        before += listOf(QString::number(i));
    }
    KW::InstrumentList after = before;
    std::reverse(after.begin(), after.end());
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(inspect::stockChanges(before, after).size(), before.size() - 1);
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(tst_stockchanges)
#include "tst_stockchanges.moc"
