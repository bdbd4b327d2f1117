#include "librarytest.h"

#include "inspect/treefields.h"

#include "../bench/documents.h"

using inspect::FieldNames;

namespace {

inspect::TreeFields fields(const QString& xml, FieldNames names)
{
    return inspect::fieldsOf(parsed(xml).documentElement(), names);
}

QStringList compared(const QString& left, const QString& right, FieldNames names)
{
    QStringList lines;
    for (const inspect::Difference& difference :
         inspect::differences(fields(left, names), fields(right, names))) {
        lines.append(inspect::toText(difference));
    }
    return lines;
}

} // namespace

class tst_treefields : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void fieldsAreNamed_data();
    void fieldsAreNamed();
    void equalTreesHaveNoDifferences();
    void everyKindOfChangeIsSeen_data();
    void everyKindOfChangeIsSeen();
    void anInsertedEntryIsOneDifference();
    void theOrderOfTheSameEntriesIsOneDifference();
    void aNullTreeHasNoFields();
    void elementsAreCountedAtAnyDepth_data();
    void elementsAreCountedAtAnyDepth();
    void theUserOfABenchmarkIsCounted();
};

void tst_treefields::fieldsAreNamed_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QStringList>("byPosition");
    QTest::addColumn<QStringList>("byIdentity");
    QTest::newRow("windows")
        << "<r><LayoutWindow panelgroup_id=\"7\"/><LayoutWindow panelgroup_id=\"7\"/></r>"
        << QStringList { "r/LayoutWindow[1]@panelgroup_id", "r/LayoutWindow[2]@panelgroup_id" }
        << QStringList { "r/LayoutWindow[7] #2@panelgroup_id", "r/LayoutWindow[7]@panelgroup_id",
                         "r@(order)" };
    QTest::newRow("stocks") << "<r><Stock market=\"SH\" code=\"1\"/></r>"
                            << QStringList { "r/Stock[1]@code", "r/Stock[1]@market" }
                            << QStringList { "r/Stock[SH1]@code", "r/Stock[SH1]@market" };
    QTest::newRow("names before ids")
        << "<r><x id=\"1\" name=\"n\"/></r>" << QStringList { "r/x[1]@id", "r/x[1]@name" }
        << QStringList { "r/x[n]@id", "r/x[n]@name" };
    QTest::newRow("no identity") << "<r><x a=\"1\"/></r>" << QStringList { "r/x[1]@a" }
                                 << QStringList { "r/x@a" };
}

void tst_treefields::fieldsAreNamed()
{
    QFETCH(QString, xml);
    QFETCH(QStringList, byPosition);
    QFETCH(QStringList, byIdentity);
    QCOMPARE(QStringList(fields(xml, FieldNames::ByPosition).keys()).filter("@"), byPosition);
    QCOMPARE(QStringList(fields(xml, FieldNames::ByIdentity).keys()).filter("@"), byIdentity);
}

void tst_treefields::equalTreesHaveNoDifferences()
{
    for (const FieldNames names : { FieldNames::ByPosition, FieldNames::ByIdentity }) {
        QCOMPARE(
            compared("<r a=\"1\" b=\"2\"><x>t</x></r>", "<r b=\"2\" a=\"1\"><x>t</x></r>", names),
            QStringList());
    }
}

void tst_treefields::everyKindOfChangeIsSeen_data()
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
                          << "r/#3: \"s\" -> \"t\"";
    QTest::newRow("comment") << "<r><!--s--></r>"
                             << "<r/>"
                             << "r/#8: \"s\" -> (absent)";
    QTest::newRow("element, without its content") << "<r/>"
                                                  << "<r><x a=\"1\"><y/></x></r>"
                                                  << "r/x: (absent) -> \"\"";
}

void tst_treefields::everyKindOfChangeIsSeen()
{
    QFETCH(QString, left);
    QFETCH(QString, right);
    QFETCH(QString, line);
    QCOMPARE(compared(left, right, FieldNames::ByIdentity), QStringList(line));
    QCOMPARE(compared(left, right, FieldNames::ByPosition).size(), 1);
}

void tst_treefields::anInsertedEntryIsOneDifference()
{
    const QString strOld
        = "<r><Stock market=\"SH\" code=\"1\"/><Stock market=\"SH\" code=\"2\"/></r>";
    const QString strNew = "<r><Stock market=\"SZ\" code=\"0\"/><Stock market=\"SH\" code=\"1\"/>"
                           "<Stock market=\"SH\" code=\"2\"/></r>";
    QCOMPARE(compared(strOld, strNew, FieldNames::ByIdentity),
             QStringList("r/Stock[SZ0]: (absent) -> \"\""));
}

void tst_treefields::theOrderOfTheSameEntriesIsOneDifference()
{
    const QString strLeft = "<r><x name=\"a\"/><x name=\"b\"/></r>";
    const QString strRight = "<r><x name=\"b\"/><x name=\"a\"/></r>";
    QCOMPARE(compared(strLeft, strRight, FieldNames::ByIdentity),
             QStringList("r@(order): \"x[a], x[b]\" -> \"x[b], x[a]\""));
    QCOMPARE(compared(strLeft, strRight, FieldNames::ByPosition).size(), 2);
}

void tst_treefields::aNullTreeHasNoFields()
{
    QVERIFY(inspect::fieldsOf(QDomElement(), FieldNames::ByPosition).isEmpty());
}

void tst_treefields::elementsAreCountedAtAnyDepth_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<int>("count");
    QTest::newRow("none") << "<r a='1'>text<!-- <x/> --><?x y?><![CDATA[<x/>]]></r>" << 0;
    QTest::newRow("children") << "<r><a/>text<b/><!-- c --><a/></r>" << 3;
    QTest::newRow("deep") << "<r><a><b><c/><d/></b></a><e><f/></e></r>" << 6;
}

void tst_treefields::elementsAreCountedAtAnyDepth()
{
    QFETCH(QString, xml);
    QFETCH(int, count);
    const QDomDocument doc = parsed(xml);
    QCOMPARE(inspect::elementCount(doc.documentElement()), count);
    QCOMPARE(inspect::elementCount(doc), count + 1);
    QCOMPARE(inspect::elementCount(QDomNode()), 0);
}

// No text in such a document holds a '<', so its tags are its elements.
void tst_treefields::theUserOfABenchmarkIsCounted()
{
    const bench::Size& size = bench::sizeOf("S");
    const QString strFile = QString::fromUtf8(bench::userFile(size));
    const int nTags = strFile.count(QRegularExpression("<[A-Za-z]"));
    QVERIFY(nTags > size.nStocks + size.nWindows);
    QCOMPARE(inspect::elementCount(bench::buildDocument(size)), nTags);
    QCOMPARE(inspect::elementCount(bench::CPlan(size).build()), nTags);
    QCOMPARE(inspect::elementCount(parsed(strFile)), nTags);
}

QTEST_GUILESS_MAIN(tst_treefields)
#include "tst_treefields.moc"
