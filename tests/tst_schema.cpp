#include "librarytest.h"

#include <inspect/schema.h>

#include <libxml/xmlmemory.h>

#include <cstdlib>

// The question to a schema: an answer, or why there is none; never "in order" instead.
class tst_schema : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void errorsHaveTheirLine();
    void aSchemaThatCannotBeReadIsNoAnswer_data();
    void aSchemaThatCannotBeReadIsNoAnswer();
    void anotherSchemaIsAsked();
    void everyFailedAllocationIsNoAnswer();
    void entitiesDoNotMultiply_data();
    void entitiesDoNotMultiply();
    void entitiesAreReadAsTheyStand();
    void nothingIsFetchedFromElsewhere();
    void depthIsNoLimit_data();
    void depthIsNoLimit();
    void prefixesAreNoErrors();
};

namespace {

const char c_szBroken[] = "<ICUserConfigFile>\n<Other/></ICUserConfigFile>";

// Allocations from a certain one on fail.
int g_nLeft = 0;

bool hasRoom()
{
    return g_nLeft-- > 0;
}

void* allocate(std::size_t size)
{
    return hasRoom() ? std::malloc(size) : nullptr;
}

void* reallocate(void* pMemory, std::size_t size)
{
    return hasRoom() ? std::realloc(pMemory, size) : nullptr;
}

char* copied(const char* pszText)
{
    return hasRoom() ? ::strdup(pszText) : nullptr;
}

inspect::SchemaAnswer answerWith(int allocations, const QByteArray& content)
{
    g_nLeft = allocations;
    xmlMemSetup(std::free, allocate, reallocate, copied);
    inspect::SchemaAnswer answer = inspect::askSchema(content);
    xmlMemSetup(std::free, std::malloc, std::realloc, ::strdup);
    return answer;
}

} // namespace

void tst_schema::errorsHaveTheirLine()
{
    const inspect::SchemaAnswer answer = inspect::askSchema(c_szBroken);
    QCOMPARE(answer.strFailure, QString());
    QCOMPARE(answer.errors.size(), 1);
    QCOMPARE(answer.errors[0].nLine, 2);
    QVERIFY(inspect::askSchema("<ICUserConfigFile/>").errors.isEmpty());
}

void tst_schema::aSchemaThatCannotBeReadIsNoAnswer_data()
{
    QTest::addColumn<QByteArray>("schema");
    for (const char* pszSchema :
         { "", "<xs:schema", "<schema/>",
           "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:element name='r' type='t'/>"
           "</xs:schema>" }) {
        QTest::addRow("%s", pszSchema) << QByteArray(pszSchema);
    }
}

void tst_schema::aSchemaThatCannotBeReadIsNoAnswer()
{
    QFETCH(QByteArray, schema);
    const inspect::SchemaAnswer answer = inspect::askSchema("<r/>", schema);
    QVERIFY2(answer.strFailure.startsWith("the schema cannot be read"),
             qPrintable(answer.strFailure));
}

void tst_schema::anotherSchemaIsAsked()
{
    const QByteArray schema = "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>"
                              "<xs:element name='r'/></xs:schema>";
    QVERIFY(inspect::askSchema("<r/>", schema).errors.isEmpty());
    QCOMPARE(inspect::askSchema("<s/>", schema).errors.size(), 1);
}

// Up to the validator, which has none of its own: inside it the library does not bear a failure.
void tst_schema::everyFailedAllocationIsNoAnswer()
{
    QCOMPARE(inspect::askSchema(c_szBroken).errors.size(), 1);
    inspect::SchemaAnswer answer;
    int nTried = 0;
    while (answer.strFailure != QLatin1String("the validator failed")) {
        answer = answerWith(nTried++, c_szBroken);
        QVERIFY2(!answer.strFailure.isEmpty(), qPrintable(QString::number(nTried)));
    }
    QVERIFY(nTried > 10);
}

namespace {

// Thirty entities, each twice the one before; \a mark is "% " for those of the document type.
QByteArray bomb(const QByteArray& mark, const QByteArray& reference, const QByteArray& seed)
{
    QByteArray entities = "<!ENTITY " + mark + "e0 '" + seed + "'>";
    for (int i = 1; i < 30; ++i) {
        const QByteArray inner = reference + "e" + QByteArray::number(i - 1) + ';';
        entities += "<!ENTITY " + mark + "e" + QByteArray::number(i) + " '" + inner + inner + "'>";
    }
    return entities;
}

QByteArray withDocumentType(const QByteArray& subset, const QByteArray& content)
{
    return "<!DOCTYPE ICUserConfigFile [" + subset + "]><ICUserConfigFile>" + content
        + "</ICUserConfigFile>";
}

} // namespace

void tst_schema::entitiesDoNotMultiply_data()
{
    QTest::addColumn<QByteArray>("content");
    const QByteArray entities = bomb("", "&", "haha");
    const QByteArray loop = "<!ENTITY a '&b;'><!ENTITY b '&a;'>";
    QTest::newRow("text") << withDocumentType(entities, "<drawGraph>&e29;</drawGraph>");
    QTest::newRow("attribute") << withDocumentType(entities, "<drawGraph a='&e29;'/>");
    QTest::newRow("elements") << withDocumentType(bomb("", "&", "<a/>"),
                                                  "<drawGraph>&e29;</drawGraph>");
    QTest::newRow("often") << withDocumentType("<!ENTITY e '" + QByteArray(4000, 'x') + "'>",
                                               "<drawGraph>" + QByteArray("&e;").repeated(20000)
                                                   + "</drawGraph>");
    QTest::newRow("document type")
        << withDocumentType(bomb("% ", "&#37;", "<!ELEMENT a ANY>") + "%e29;", "");
    QTest::newRow("loop") << withDocumentType(loop, "<drawGraph>&a;</drawGraph>");
}

void tst_schema::entitiesDoNotMultiply()
{
    QFETCH(QByteArray, content);
    const inspect::SchemaAnswer answer = inspect::askSchema(content);
    QCOMPARE(answer.strFailure, QString("its entities stand for more than 4194304 bytes"));
}

void tst_schema::entitiesAreReadAsTheyStand()
{
    const QByteArray subset
        = "<!ENTITY e 'x &f;'><!ENTITY f 'y'><!ENTITY g '<a/>'><!ENTITY none ''>"
          "<!ENTITY % p '<!ENTITY q \"z\">'>%p;";
    const auto ask = [&](const QByteArray& content) {
        const inspect::SchemaAnswer answer = inspect::askSchema(withDocumentType(subset, content));
        return answer.strFailure + (answer.errors.isEmpty() ? "" : answer.errors[0].strText);
    };
    QCOMPARE(ask("<drawGraph a='&e;'>&e;&g;&lt;&q;&none;</drawGraph>"), QString());
    QVERIFY(ask("<CustomIndex>&g;</CustomIndex>").contains("CustomIndex"));
}

void tst_schema::nothingIsFetchedFromElsewhere()
{
    writeFile(userDir() + "/other", "<!ELEMENT Other");
    const QByteArray system = " SYSTEM '" + userDir().toUtf8() + "/other'>";
    for (const QByteArray& content :
         { withDocumentType("<!ENTITY e" + system, "<drawGraph>&e;</drawGraph>"),
           withDocumentType("<!ENTITY % e" + system + "%e;", "") }) {
        const inspect::SchemaAnswer answer = inspect::askSchema(content);
        QCOMPARE(answer.strFailure, QString());
        QCOMPARE(answer.errors.size(), 0);
    }
}

void tst_schema::depthIsNoLimit_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("inside");
    QTest::newRow("plain") << QByteArray() << QByteArray();
    QTest::newRow("comment") << QByteArray("<!-- <!DOCTYPE x> -->") << QByteArray();
    QTest::newRow("characters") << QByteArray() << QByteArray("<![CDATA[<!DOCTYPE]]>");
    QTest::newRow("type") << QByteArray("<!DOCTYPE ICUserConfigFile>") << QByteArray();
    QTest::newRow("entity") << QByteArray("<!DOCTYPE ICUserConfigFile [<!ENTITY e 'x'>]>")
                            << QByteArray("&e;");
}

void tst_schema::depthIsNoLimit()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, inside);
    const inspect::SchemaAnswer answer = inspect::askSchema(
        before + "<ICUserConfigFile><drawGraph>" + QByteArray("<a>").repeated(500) + inside
        + QByteArray("</a>").repeated(500) + "</drawGraph></ICUserConfigFile>");
    QCOMPARE(answer.strFailure, QString());
    QCOMPARE(answer.errors.size(), 0);
}

void tst_schema::prefixesAreNoErrors()
{
    const inspect::SchemaAnswer answer = inspect::askSchema(
        "<ICUserConfigFile><drawGraph><x:y a:b='1'/></drawGraph></ICUserConfigFile>");
    QCOMPARE(answer.strFailure, QString());
    QVERIFY(answer.errors.isEmpty());
}

QTEST_GUILESS_MAIN(tst_schema)
#include "tst_schema.moc"
