#include "comparedtrees.h"
#include "librarytest.h"

#include "../bench/documents.h"

namespace {

KW::ElementTree tree(const QString& xml)
{
    return KW::elementTree(parsed(xml).documentElement());
}

QStringList compared(const QString& left, const QString& right)
{
    QStringList lines;
    for (const inspect::Difference& difference : inspect::differences(tree(left), tree(right))) {
        lines.append(inspect::toText(difference));
    }
    return lines;
}

} // namespace

class tst_treedifferences : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void entriesAreNamed_data();
    void entriesAreNamed();
    void aTreeIsWrittenAsItWasRead();
    void attributesAreAllThereHoweverMany();
    void equalTreesHaveNoDifferences();
    void everyKindOfChangeIsSeen_data();
    void everyKindOfChangeIsSeen();
    void anInsertedEntryIsOneDifference();
    void theOrderOfTheSameEntriesIsOneDifference();
    void ofAnOrderOnlyWhatMovedIsTold();
    void elementsAreCountedAtAnyDepth_data();
    void elementsAreCountedAtAnyDepth();
    void theUserOfABenchmarkIsCounted();
};

void tst_treedifferences::entriesAreNamed_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("name");
    QTest::newRow("no identity") << "<x a='1'/>"
                                 << "x";
    QTest::newRow("names before ids") << "<x id='1' name='n'/>"
                                      << "x[n]";
    QTest::newRow("keys before names") << "<x name='n' key='k'/>"
                                       << "x[k]";
    QTest::newRow("an instruction") << "<?x y?>"
                                    << "?x";
}

void tst_treedifferences::entriesAreNamed()
{
    QFETCH(QString, entry);
    QFETCH(QString, name);
    const auto twice = compared("<r>" + entry + "</r>", "<r>" + entry + entry + "</r>");
    QCOMPARE(twice.size(), 1);
    QVERIFY2(twice[0].startsWith("r/" + name + " #2: (absent) -> "), qPrintable(twice[0]));
}

void tst_treedifferences::aTreeIsWrittenAsItWasRead()
{
    // Two names of one bucket change their places with every copy.
    qSetGlobalQHashSeed(0);
    const QDomDocument read
        = parsed("<r b='&lt;\"' a='2'>t<!-- c --><x><![CDATA[<]]></x>&e;<?p q?></r>");
    QDomDocument written;
    KW::appendTree(written, written, KW::elementTree(read.documentElement()));
    QCOMPARE(written.toString(-1), read.toString(-1));
    QVERIFY(KW::elementTree(QDomNode()).isNull());
}

// Many are found by another way than few.
void tst_treedifferences::attributesAreAllThereHoweverMany()
{
    for (const int nCount : { 1, 64, 65, 3000 }) {
        QString strTag = "<r>";
        for (int i = 0; i < nCount; ++i) {
            strTag.insert(2, QStringLiteral(" a%1='= \"%1&lt;&amp;'").arg(i));
        }
        const KW::ElementTree found = tree(strTag + "</r>");
        QCOMPARE(found.attributes.size(), nCount);
        for (int i = 0; i < nCount; ++i) {
            QCOMPARE(found.attribute(QStringLiteral("a%1").arg(i)),
                     QStringLiteral("= \"%1<&").arg(i));
        }
    }
}

void tst_treedifferences::equalTreesHaveNoDifferences()
{
    QCOMPARE(compared("<r a=\"1\" b=\"2\"><x>t</x></r>", "<r b=\"2\" a=\"1\"><x>t</x></r>"),
             QStringList());
}

void tst_treedifferences::everyKindOfChangeIsSeen_data()
{
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("right");
    QTest::addColumn<QString>("line");
    QTest::newRow("attribute") << "<r a=\"1\"/>"
                               << "<r a=\"2\"/>"
                               << "r@a: \"1\" -> \"2\"";
    QTest::newRow("new attribute") << "<r/>"
                                   << "<r a=\"\"/>"
                                   << "r@a: (absent) -> \"\"";
    QTest::newRow("text") << "<r>s</r>"
                          << "<r>t</r>"
                          << "r/#text: \"s\" -> \"t\"";
    QTest::newRow("comment") << "<r><!--s--></r>"
                             << "<r/>"
                             << "r/#comment: \"s\" -> (absent)";
    QTest::newRow("element, without its content") << "<r/>"
                                                  << "<r><x a=\"1\"><y/></x></r>"
                                                  << "r/x: (absent) -> \"\"";
}

void tst_treedifferences::everyKindOfChangeIsSeen()
{
    QFETCH(QString, left);
    QFETCH(QString, right);
    QFETCH(QString, line);
    QVERIFY(!(tree(left) == tree(right)));
    QCOMPARE(compared(left, right), QStringList(line));
}

void tst_treedifferences::anInsertedEntryIsOneDifference()
{
    QCOMPARE(compared("<r><x id='1'/><x id='2'/></r>", "<r><x id='0'/><x id='1'/><x id='2'/></r>"),
             QStringList("r/x[0]: (absent) -> \"\""));
}

void tst_treedifferences::theOrderOfTheSameEntriesIsOneDifference()
{
    QCOMPARE(compared("<r><x name='a'/><x name='b'/></r>", "<r><x name='b'/><x name='a'/></r>"),
             QStringList("r@(order): \"x[a], x[b]\" -> \"x[b], x[a]\""));
    QCOMPARE(compared("<r><x name='a'/><x name='b'/></r>", "<r><x name='c'/><x name='a'/></r>"),
             (QStringList { "r/x[b]: \"\" -> (absent)", "r/x[c]: (absent) -> \"\"" }));
}

// What stands where it stood is not told, nor a list without end.
void tst_treedifferences::ofAnOrderOnlyWhatMovedIsTold()
{
    QCOMPARE(compared("<r><a/><b/><c/><d/></r>", "<r><a/><c/><b/><d/></r>"),
             QStringList("r@(order): \"b, c\" -> \"c, b\""));
    QString strLeft;
    QString strRight;
    for (int i = 0; i < 1000; ++i) {
        strLeft += QStringLiteral("<x id='%1'/>").arg(i);
        strRight.prepend(QStringLiteral("<x id='%1'/>").arg(i));
    }
    const QStringList lines = compared("<r>" + strLeft + "</r>", "<r>" + strRight + "</r>");
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines[0].count("x["), 40);
    QCOMPARE(lines[0].count("... 980 more"), 2);
}

void tst_treedifferences::elementsAreCountedAtAnyDepth_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<int>("count");
    QTest::newRow("none") << "<r a='1'>text<!-- <x/> --><?x y?><![CDATA[<x/>]]></r>" << 0;
    QTest::newRow("a reference") << "<r>&x;<a/>&y;</r>" << 1;
    QTest::newRow("children") << "<r><a/>text<b/><!-- c --><a/></r>" << 3;
    QTest::newRow("deep") << "<r><a><b><c/><d/></b></a><e><f/></e></r>" << 6;
}

void tst_treedifferences::elementsAreCountedAtAnyDepth()
{
    QFETCH(QString, xml);
    QFETCH(int, count);
    const QDomDocument doc = parsed(xml);
    QCOMPARE(KW::elementCount(doc.documentElement()), count);
    QCOMPARE(KW::elementCount(KW::elementTree(doc.documentElement())), count);
    QCOMPARE(KW::elementCount(doc), count + 1);
    QCOMPARE(KW::elementCount(QDomNode()), 0);
}

// No text in such a document holds a '<', so its tags are its elements.
void tst_treedifferences::theUserOfABenchmarkIsCounted()
{
    const bench::Size& size = bench::sizeOf("S");
    const QString strFile = QString::fromUtf8(bench::userFile(size));
    const int nTags = strFile.count(QRegularExpression("<[A-Za-z]"));
    QVERIFY(nTags > size.nStocks + size.nWindows);
    QCOMPARE(KW::elementCount(bench::buildDocument(size)), nTags);
    QCOMPARE(KW::elementCount(bench::CPlan(size).build()), nTags);
    QCOMPARE(KW::elementCount(parsed(strFile)), nTags);
}

QTEST_GUILESS_MAIN(tst_treedifferences)
#include "tst_treedifferences.moc"
