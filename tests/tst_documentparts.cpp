#include "librarytest.h"

#include <roaming/documentparts.h>

#include <QRandomGenerator>

using roaming::partsOf;

// Where a text is cut, so that what did not change is stored already.
class tst_documentparts : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void aPartBeginsWhereATagBeginsALine_data();
    void aPartBeginsWhereATagBeginsALine();
    void thereAreNoMorePartsThanAllowed();
    void oneChangedSectionIsOneChangedPart();
    void joinedTheyAreTheText();
};

void tst_documentparts::aPartBeginsWhereATagBeginsALine_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QVector<QByteArray>>("parts");

    using Parts = QVector<QByteArray>;
    QTest::newRow("nothing") << QByteArray() << Parts {};
    QTest::newRow("no tag") << QByteArray("=12\n") << Parts { "=12\n" };
    QTest::newRow("no tag at first") << QByteArray("a\n<b/>") << Parts { "a\n", "<b/>" };
    QTest::newRow("sections") << QByteArray("<?xml?>\n<r>\n<a/>\n<b>\n <c/>\n</b>\n</r>\n")
                              << Parts { "<?xml?>\n", "<r>\n", "<a/>\n",
                                         "<b>\n <c/>\n</b>\n</r>\n" };
    QTest::newRow("within a line") << QByteArray("<a><b/></a>") << Parts { "<a><b/></a>" };
    QTest::newRow("carriage returns")
        << QByteArray("<a/>\r\n<b/>\r<c/>") << Parts { "<a/>\r\n", "<b/>\r<c/>" };
    QTest::newRow("cut short") << QByteArray("<a/>\n<") << Parts { "<a/>\n", "<" };
    QTest::newRow("empty lines") << QByteArray("\n\n<a/>\n\n") << Parts { "\n\n", "<a/>\n\n" };
}

void tst_documentparts::aPartBeginsWhereATagBeginsALine()
{
    QFETCH(const QByteArray, text);
    QFETCH(const QVector<QByteArray>, parts);
    QCOMPARE(partsOf(text), parts);
}

void tst_documentparts::thereAreNoMorePartsThanAllowed()
{
    const QByteArray text = QByteArray("<a/>\n").repeated(1000);
    const QVector<QByteArray> parts = partsOf(text);

    QCOMPARE(parts.size(), 256);
    QCOMPARE(parts[254], QByteArray("<a/>\n"));
    QCOMPARE(parts[255], QByteArray("<a/>\n").repeated(1000 - 255));
    QCOMPARE(partsOf(QByteArray("<a/>\n").repeated(256)).size(), 256);
}

void tst_documentparts::oneChangedSectionIsOneChangedPart()
{
    const QVector<QByteArray> before = partsOf("<r>\n<a>\n 1\n</a>\n<b/>\n</r>\n");
    const QVector<QByteArray> after = partsOf("<r>\n<a>\n 2\n more\n</a>\n<b/>\n</r>\n");

    QCOMPARE(after.size(), before.size());
    QCOMPARE(after[0], before[0]);
    QVERIFY(after[1] != before[1]);
    QCOMPARE(after[2], before[2]);
}

void tst_documentparts::joinedTheyAreTheText()
{
    QRandomGenerator random(1);
    for (int i = 0; i < 2000; ++i) {
        QByteArray text;
        for (quint32 n = random.bounded(40U); n > 0; --n) {
            text += "<</a\n\n\r "[random.bounded(9)];
        }
        QByteArray joined;
        for (const QByteArray& part : partsOf(text)) {
            QVERIFY(!part.isEmpty());
            joined += part;
        }
        QCOMPARE(joined, text);
    }
}

QTEST_GUILESS_MAIN(tst_documentparts)
#include "tst_documentparts.moc"
