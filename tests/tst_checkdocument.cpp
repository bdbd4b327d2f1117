#include "checkedfiles.h"
#include "librarytest.h"

#include <inspect/report.h>

#include <libxml/xmlmemory.h>

#include <cstdlib>

// What check() finds of a file as a whole: what stands around the root, the encoding, sections that
// are not there; and that it finds nothing in what a save wrote.
class tst_checkdocument : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void whatStandsAroundTheRootIsFound_data();
    void whatStandsAroundTheRootIsFound();
    void bytesThatAreNoUtf8AreFound();
    void withEntitiesOnlyTheRootHasAPlace();
    void everyMissingSectionIsFound_data();
    void everyMissingSectionIsFound();
    void aFileWithoutSectionsMissesAll();
    void aSectionThatIsReadElsewhereIsNotMissing();
    void theSampleUserIsInOrder();
    void whatASaveWroteIsInOrder_data();
    void whatASaveWroteIsInOrder();
    void deepFilesHaveNoFalseFindings();
    void whatCouldNotBeCheckedIsTold();

private:
    QStringList found(const QByteArray& content);
};

QStringList tst_checkdocument::found(const QByteArray& content)
{
    writeLive(content);
    const inspect::CheckedFile checked = inspect::check(livePath());
    if (checked.file.state != inspect::FileState::Whole) {
        qFatal("%s", qPrintable(toText(checked.file.error)));
    }
    return checkedfiles::texts(checked.findings);
}

void tst_checkdocument::whatStandsAroundTheRootIsFound_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](const char* pszBefore, const char* pszAfter, const char* pszExpected) {
        const QString strExpected(pszExpected);
        QTest::addRow("%s|%s", pszBefore, pszAfter)
            << pszBefore << pszAfter
            << (strExpected.isEmpty() ? QStringList() : strExpected.split(", "));
    };
    row("", "", "");
    row("<?xml version='1.0'?>\n", "\n", "");
    row("<?xml version='1.0' encoding='UTF-8'?>\n", "", "");
    row("\n <!-- a -->\n", "", "dropped comment@2:2");
    row("", "\n <!-- a -->", "dropped comment@25:2");
    row("<!-- a -->", "<!-- b -->\n<!-- c -->",
        "dropped comment@1:1, dropped comment@24:20, dropped comment@25:1");
    row("<?xml version='1.0'?>\n<?a b?>\n", "", "dropped instruction@2:1");
    row("", "\n <?a b?>", "dropped instruction@25:2");
    row("\n<!DOCTYPE ICUserConfigFile>\n", "", "dropped document-type@2:1");
    row("\n<!DOCTYPE r SYSTEM \"a>b[c\">", "\n<?a ?>",
        "dropped document-type@2:1, dropped instruction@26:1");
    row("<!DOCTYPE r [\n<!-- it's ]> --><?b ?>\n<!ELEMENT r ANY>]>\n", "\n<!-- c -->",
        "dropped document-type@1:1, dropped comment@2:1, dropped instruction@2:17, "
        "dropped comment@28:1");
    row("<?xml version='1.0' encoding='GBK'?>\n", "", "changed declared-encoding@1:31");
    row("<?xml version=\"1.0\"\n  encoding = \"utf-16\" standalone='yes'?>\n", "",
        "changed declared-encoding@2:15, dropped standalone@2:23");
    row("<?xml version='1.0' standalone='no'?>\n", "", "");
    row("<?a standalone='yes'?>\n", "", "dropped instruction@1:1");
    row("<?a encoding='GBK'?>\n", "", "dropped instruction@1:1");
}

void tst_checkdocument::whatStandsAroundTheRootIsFound()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(QStringList, expected);
    const QString strRoot = checkedfiles::lines().mid(1).join('\n');
    QCOMPARE(found((before + strRoot + after).toUtf8()), expected);
}

void tst_checkdocument::bytesThatAreNoUtf8AreFound()
{
    QByteArray content = checkedfiles::file().toUtf8();
    content.replace("<drawGraph/>", "<drawGraph>\n <x a='\xc6\xd6'/></drawGraph>");
    QCOMPARE(found(content), QStringList("changed encoding@19:8"));
}

void tst_checkdocument::withEntitiesOnlyTheRootHasAPlace()
{
    QByteArray content = checkedfiles::file().toUtf8();
    content.replace("<ICUser", "<!DOCTYPE r [<!ENTITY e 'x'>]>\n <ICUser")
        .replace("<CustomIndex/>", "<CustomIndex a='1'/>")
        .replace("</ICUser", "<!-- a --></ICUser");
    content.replace("<GroupIndex/>", "");
    QCOMPARE(found(content),
             (QStringList { "dropped attribute@0:0", "dropped comment@0:0",
                            "dropped document-type@2:1", "changed missing-section@3:2" }));
}

void tst_checkdocument::everyMissingSectionIsFound_data()
{
    QTest::addColumn<int>("line");
    const QStringList all = checkedfiles::lines();
    for (int i = 2; i < all.size() - 1; ++i) {
        QTest::newRow(qPrintable(all[i])) << i;
    }
}

void tst_checkdocument::everyMissingSectionIsFound()
{
    QFETCH(int, line);
    QStringList all = checkedfiles::lines();
    const bool bMayBeMissing = all.takeAt(line) == QLatin1String("<strategyAlgoTrade/>");
    QCOMPARE(found(all.join('\n').toUtf8()),
             bMayBeMissing ? QStringList() : QStringList("changed missing-section@2:1"));
}

void tst_checkdocument::aFileWithoutSectionsMissesAll()
{
    writeLive("<ICUserConfigFile/>");
    QStringList paths;
    for (const inspect::Finding& finding : inspect::check(livePath()).findings) {
        QCOMPARE(finding.strRule, QString("missing-section"));
        paths.append(finding.strPath.section('/', 1));
    }
    QStringList sections;
    for (const QString& line : checkedfiles::lines().mid(2)) {
        sections.append(line.section(QRegularExpression("[</> ]"), 1, 1));
    }
    sections.removeLast();
    QVERIFY(sections.removeOne("strategyAlgoTrade"));
    QCOMPARE(paths, sections);
}

void tst_checkdocument::aSectionThatIsReadElsewhereIsNotMissing()
{
    QString strFile = checkedfiles::fileWith("<drawGraph>\n <Option/></drawGraph>");
    strFile.replace("\n<Option><Settings/></Option>", "");
    QCOMPARE(found(strFile.toUtf8()), QStringList("changed section-place@18:2"));
}

void tst_checkdocument::theSampleUserIsInOrder()
{
    const inspect::CheckedFile checked = inspect::check(SAMPLE_USER "/indexUserConfig.xml");
    QCOMPARE(toText(checked.file.error), QString());
    QCOMPARE(checkedfiles::texts(checked.findings), QStringList());
    QCOMPARE(checked.strFailure, QString());
}

void tst_checkdocument::whatASaveWroteIsInOrder_data()
{
    QTest::addColumn<QString>("path");
    for (const char* pszFolder : { "/load", "/golden" }) {
        const QFileInfoList files = QDir(TEST_DATA + QString(pszFolder)).entryInfoList({ "*.xml" });
        for (const QFileInfo& file : files) {
            QTest::addRow("%s/%s", pszFolder, qPrintable(file.fileName())) << file.filePath();
        }
    }
}

void tst_checkdocument::whatASaveWroteIsInOrder()
{
    QFETCH(QString, path);
    writeLive(readFile(path));
    service().loadSettings();
    saveAndWait(service());
    const inspect::CheckedFile checked = inspect::check(livePath());
    QCOMPARE(toText(checked.file.error) + checked.strFailure, QString());
    for (const inspect::Finding& finding : checked.findings) {
        // What the file had no windows for became an empty quote layout.
        QVERIFY2(finding.effect == inspect::Effect::Kept || finding.strRule == "single-window",
                 qPrintable(finding.strText));
    }
}

void tst_checkdocument::deepFilesHaveNoFalseFindings()
{
    for (const int nLevels : { 200, 255, 256, 257, 400, 510 }) {
        const QString strTree
            = QString("<a>").repeated(nLevels) + QString("</a>").repeated(nLevels);
        const QString strFile = checkedfiles::fileWith("<drawGraph>" + strTree + "</drawGraph>");
        QCOMPARE(found(strFile.toUtf8()), QStringList());
    }
    const QString strTree = QString("<a>").repeated(400) + QString("</a>").repeated(400);
    QString strBroken = checkedfiles::fileWith("<drawGraph>" + strTree + "</drawGraph>");
    strBroken.replace("<Customs/>", "<Customs/>\n<Customs/>");
    QCOMPARE(found(strBroken.toUtf8()), QStringList("changed schema@17:1"));
}

namespace {

void* noMemory(std::size_t)
{
    return nullptr;
}

void* noMoreMemory(void*, std::size_t)
{
    return nullptr;
}

char* noCopy(const char*)
{
    return nullptr;
}

} // namespace

void tst_checkdocument::whatCouldNotBeCheckedIsTold()
{
    writeLive(checkedfiles::file().toUtf8());
    QCOMPARE(inspect::check(livePath()).strFailure, QString());
    xmlMemSetup(std::free, noMemory, noMoreMemory, noCopy);
    const inspect::CheckedFile checked = inspect::check(livePath());
    const QByteArray page = inspect::report(userDir(), { QDateTime::currentDateTime() });
    xmlMemSetup(std::free, std::malloc, std::realloc, ::strdup);
    QVERIFY(checked.strFailure.startsWith("not checked against the schema: "));
    QVERIFY(page.contains(checked.strFailure.toUtf8()));
}

QTEST_GUILESS_MAIN(tst_checkdocument)
#include "tst_checkdocument.moc"
