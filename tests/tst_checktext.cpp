#include "checkedfiles.h"
#include "librarytest.h"

// What check() finds that only the text shows: the tree no longer has it.
class tst_checktext : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void whatTheParserLosesIsFound_data();
    void whatTheParserLosesIsFound();
};

namespace {

void row(const char* pszContent, const char* pszFindings)
{
    QTest::addRow("%s", pszContent)
        << QString(pszContent) << QString(pszFindings).split(", ", Qt::SkipEmptyParts);
}

QString graph(const char* pszContent)
{
    return QStringLiteral("<drawGraph>%1</drawGraph>").arg(pszContent);
}

void graphRow(const char* pszContent, const char* pszFindings)
{
    QTest::addRow("graph %s", pszContent)
        << graph(pszContent) << QString(pszFindings).split(", ", Qt::SkipEmptyParts);
}

void addReferences()
{
    graphRow("\n<x a='&#x1F600;'/>", "changed character-reference@19:7");
    graphRow("\n<x>&#128512;</x>", "changed character-reference@19:4");
    graphRow("<x>&#x10000;</x>\n&#65536;",
             "changed character-reference@18:15, changed character-reference@19:1");
    graphRow("<x>&#xFFFD;&#65533;&#x3042;\U0001F600&amp;#x1F600;</x>", "");
    graphRow("<!-- &#x1F600; --><?a &#x1F600;?><![CDATA[&#x1F600;]]>", "");
    row("<UserParams\n m_bFormulaFunctionTreeExpand='&#x10031;'/>",
        "changed character-reference@25:32");
}

void addBlanks()
{
    graphRow("\n<x>   </x>", "dropped blank-text@19:4");
    graphRow("\n<x>\n</x>", "dropped blank-text@19:4");
    graphRow("  ", "dropped blank-text@18:12");
    graphRow("<x>&#32;</x>", "dropped blank-text@18:15");
    graphRow("<x>&#32;<b/></x>", "dropped blank-text@18:15");
    graphRow("<x>\u3000</x>", "dropped blank-text@18:15");
    graphRow("<x>a<b/>\u00a0<b/></x>", "dropped blank-text@18:20");
    graphRow("<x>\u2003<b/>\u0085</x>", "dropped blank-text@18:15, dropped blank-text@18:20");
    graphRow("<x> <![CDATA[a]]>\n</x>", "dropped blank-text@18:15, dropped blank-text@18:29");
    graphRow("\n<x>\n <b/>\n\t<!-- c -->\n</x>\n", "");
    graphRow("<x> a </x><y>\u3000a</y><z>\u200b</z><a><![CDATA[ ]]></a><b></b>", "");
    row("<CustomStock><Customs>\n\u3000</Customs></CustomStock>", "dropped blank-text@16:23");
    row("<GroupIndex/>\n\u00a0", "dropped blank-text@14:14");
    row("<IndexLayout>\n<Dock><a> </a></Dock></IndexLayout>",
        "changed single-window@4:1, dropped blank-text@5:10");
    row("<investFee> </investFee>", "dropped section@25:1");
}

void addInstructions()
{
    graphRow("\n<t>three<?pi x?>four</t>", "changed mixed-text@19:9");
    graphRow("\n<t><?pi x?> four</t>", "changed mixed-text@19:4");
    graphRow("<t>three<?pi x?><b/></t><?pi?>\n<b/><?pi?><![CDATA[a]]><!-- a -->b", "");
    row("<IndexLayout>\n<Dock><?pi?>a</Dock></IndexLayout>",
        "changed single-window@4:1, changed mixed-text@5:7");
}

} // namespace

void tst_checktext::whatTheParserLosesIsFound_data()
{
    QTest::addColumn<QString>("content");
    QTest::addColumn<QStringList>("expected");
    addReferences();
    addBlanks();
    addInstructions();
}

void tst_checktext::whatTheParserLosesIsFound()
{
    QFETCH(QString, content);
    QFETCH(QStringList, expected);
    writeLive(checkedfiles::fileWith(content).toUtf8());
    const inspect::CheckedFile checked = inspect::check(livePath());
    QCOMPARE(toText(checked.file.error) + checked.strFailure, QString());
    QCOMPARE(checkedfiles::texts(checked.findings), expected);
}

QTEST_GUILESS_MAIN(tst_checktext)
#include "tst_checktext.moc"
