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
    void entitiesDoNotMultiply();
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

void tst_schema::entitiesDoNotMultiply()
{
    QByteArray bomb = "<!DOCTYPE r [<!ENTITY e0 'haha'>";
    for (int i = 1; i < 30; ++i) {
        const QByteArray inner = "&e" + QByteArray::number(i - 1) + ';';
        bomb += "<!ENTITY e" + QByteArray::number(i) + " '" + inner + inner + "'>";
    }
    bomb += "]><ICUserConfigFile a='&e29;'/>";
    const inspect::SchemaAnswer answer = inspect::askSchema(bomb);
    QVERIFY(!answer.errors.isEmpty() || !answer.strFailure.isEmpty());
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
