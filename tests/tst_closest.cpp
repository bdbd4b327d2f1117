#include "librarytest.h"

#include <inspect/closest.h>

class tst_closest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aSuggestionHasALimit_data();
    void aSuggestionHasALimit();
    void theNearestIsSuggested();
};

void tst_closest::aSuggestionHasALimit_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("known");
    QTest::addColumn<bool>("suggested");
    const auto row = [](const char* pszWord, const char* pszKnown, bool bSuggested) {
        QTest::addRow("%s for %s", pszKnown, pszWord)
            << QString::fromUtf8(pszWord) << QString::fromUtf8(pszKnown) << bSuggested;
    };
    row("", "ab", false);
    row("a", "ab", false); // of one letter nothing would be left
    row("ab", "a", false);
    row("a", "A", false);
    row("盘", "早盘", false);
    row("😀", "😁", false); // one letter of two units
    row("ab", "ax", true);
    row("ab", "xy", false);
    row("ab", "ba", true); // swapped letters are one mistake
    row("早盆", "早盘", true);
    row("abc", "abx", true);
    row("abc", "axy", false);
    row("abcd", "abxy", true);
    row("abcd", "axyz", false);
    row("abxy", "ab", false);
    row("shwo", "show", true);
    row("badcfe", "abcdef", false); // three swaps in six letters
    row("badcef", "abcdef", true);
    row("801870", "801780", true);
    row("801780", "801012", false);
    row("abcdefg", "abcdxyz", true);
    row("abcdefg", "abcwxyz", false);
    row("OAUSER", "oaUser", true);
}

void tst_closest::aSuggestionHasALimit()
{
    QFETCH(QString, word);
    QFETCH(QString, known);
    QFETCH(bool, suggested);
    QCOMPARE(inspect::didYouMean(word, { known }),
             suggested ? QStringLiteral(", did you mean '%1'?").arg(known) : QString());
}

void tst_closest::theNearestIsSuggested()
{
    const QStringList known { "reportRefreshTime", "tickRestoreDay", "show", "shop" };
    QCOMPARE(inspect::didYouMean("reportrefreshTimes", known),
             QString(", did you mean 'reportRefreshTime'?"));
    QCOMPARE(inspect::didYouMean("shwo", known), QString(", did you mean 'show'?"));
    QCOMPARE(inspect::didYouMean("shpo", known), QString(", did you mean 'shop'?"));
    QCOMPARE(inspect::didYouMean("xyz", known), QString());
}

QTEST_GUILESS_MAIN(tst_closest)
#include "tst_closest.moc"
