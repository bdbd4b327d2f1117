#include "librarytest.h"

#include <inspect/check.h>
#include <inspect/userdifferences.h>

Q_DECLARE_METATYPE(inspect::Effect)

// What check() finds, by rule, and that it finds all that a load and a save do not keep.
class tst_check : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void everyDefectHasItsRule_data();
    void everyDefectHasItsRule();
    void theSampleUserIsInOrder();
    void whatASaveWroteIsInOrder();
    void attributesAreFoundInTheirTags();
    void bytesThatAreNoUtf8AreFound();
    void withADocumentTypePlacesAreNotKnown();
    void damagedFilesHaveNoFindings();
    void whatIsNotFoundIsKept_data();
    void whatIsNotFoundIsKept();

private:
    QVector<inspect::Finding> findings(const QString& content);
};

QVector<inspect::Finding> tst_check::findings(const QString& content)
{
    writeLive(content.toUtf8());
    const inspect::CheckedFile checked = inspect::check(livePath());
    if (checked.file.state != inspect::FileState::Whole) {
        qFatal("%s", qPrintable(checked.file.strError));
    }
    return checked.findings;
}

namespace {

using inspect::Effect;

const char c_szWindow[] = "screen_id='1' is_main='0' maximized='0' left='0' top='0' width='9' "
                          "height='9' panelgroup_id='1'";

QString quoteWindow(const QString& content)
{
    return QStringLiteral("<IndexLayout><LayoutWindow %1>%2</LayoutWindow></IndexLayout>")
        .arg(c_szWindow, content);
}

QString inFile(const QString& content)
{
    return QStringLiteral("<ICUserConfigFile>%1</ICUserConfigFile>").arg(content);
}

QString templates(const QString& content)
{
    return QStringLiteral("<LayoutTemplates>%1</LayoutTemplates>").arg(content);
}

QString stocks(const QString& content)
{
    return QStringLiteral("<CustomStock><Customs>%1</Customs></CustomStock>").arg(content);
}

QString options(const QString& attributes)
{
    return QStringLiteral("<Option><Settings %1/></Option>").arg(attributes);
}

QString groups(const QString& content)
{
    return QStringLiteral("<IndexPositionLayout><ValuePanelGroupLayout>%1</ValuePanelGroupLayout>"
                          "</IndexPositionLayout>")
        .arg(content);
}

void row(const QString& content, const char* pszRule, Effect effect)
{
    QTest::addRow("%s, %u", pszRule, qHash(content)) << inFile(content) << pszRule << effect;
}

void addOptionDefects()
{
    row(options("tickRestoreDay='x'"), "number", Effect::Changed);
    row(options("tickRestoreDay='2147483648'"), "number", Effect::Changed);
    row(options("tickRestoreDay=''"), "number", Effect::Changed);
    row(options("showGradient='true'"), "word-boolean", Effect::Changed);
    row(options("showGradient='x'"), "number", Effect::Changed);
    row(options("showGradient='7'"), "switch", Effect::Changed);
    row(options("groupSignalRunTime='09:30'"), "read-only-option", Effect::Dropped);
    row(options("nonsense='1'"), "attribute", Effect::Dropped);
    row(options("graphDisplay='1' m_graphDisplay='2'"), "graph-display", Effect::Merged);
    row("<Option tickRestoreDay='1'><Settings/></Option>", "attribute", Effect::Dropped);
    row("<Option><Other/></Option>", "settings-name", Effect::Changed);
    row("<Option><Settings/><Settings/></Option>", "second-settings", Effect::Merged);
    row("<Option><Settings/></Option><Option/>", "second-section", Effect::Dropped);
    row("<drawGraph><Option><Settings/></Option></drawGraph>", "section-place", Effect::Changed);
    row("<UserParams m_bFormulaFunctionTreeExpand='yes'/>", "word-boolean", Effect::Changed);
}

void addStockDefects()
{
    row(stocks("<Custom type='2'/><Custom type='2'/>"), "double-type", Effect::Merged);
    row(stocks("<Custom type='0'/><Custom type='x'/>"), "double-type", Effect::Merged);
    row(stocks("<Custom type='-1'/>"), "negative-type", Effect::Dropped);
    row(stocks("<Custom type='x'/>"), "number", Effect::Changed);
    row(stocks("<Custom/>"), "missing", Effect::Changed);
    row(stocks("<Custom type='1'><Stock market='SH' name='n'/></Custom>"), "missing",
        Effect::Changed);
    row(stocks("<Custom type='1'><Other/></Custom>"), "element", Effect::Dropped);
    row(stocks("<!-- mine -->"), "comment", Effect::Dropped);
    row(stocks("text"), "text", Effect::Dropped);
    row("<CustomStock><Customs/><Customs/></CustomStock>", "schema", Effect::Changed);
}

void addLayoutDefects()
{
    const QString strKeyed
        = QStringLiteral("<itemLayout key='k'><LayoutWindow %1/></itemLayout>").arg(c_szWindow);
    row(templates("<LayoutTemplate name='A'/><LayoutTemplate name='A'/>"), "double-name",
        Effect::Kept);
    row(templates("<LayoutTemplate/>"), "missing", Effect::Changed);
    row(templates(QStringLiteral("<LayoutTemplate name='A'><LayoutWindowTemplate %1 navtree='n'/>"
                                 "</LayoutTemplate>")
                      .arg(c_szWindow)),
        "attribute", Effect::Dropped);
    row(groups("<itemLayout key='k'/>"), "no-windows", Effect::Dropped);
    row(groups(strKeyed + strKeyed), "double-key", Effect::Merged);
    row(groups(QString(strKeyed).replace("key='k'", "")), "missing", Effect::Changed);
    row(quoteWindow("<a/><b/>"), "window-children", Effect::Dropped);
    row(quoteWindow("<a/><!-- beside -->"), "window-children", Effect::Dropped);
    row(quoteWindow("<!-- alone -->"), "window-children", Effect::Dropped);
    row(quoteWindow(QStringLiteral("<a><LayoutWindow %1/></a>").arg(c_szWindow)), "inner-window",
        Effect::Changed);
    row("<IndexLayout><Dock/></IndexLayout>", "single-window", Effect::Changed);
    row("<IndexLayout/>", "single-window", Effect::Changed);
    row(quoteWindow("").replace("left='0'", "left='-32000'"), "off-screen", Effect::Kept);
    row(quoteWindow("").replace("width='9'", "width='0'"), "off-screen", Effect::Kept);
    row(quoteWindow("").replace("maximized='0'", "maximized='1'")
            + QStringLiteral("<tradePanelGroup><LayoutWindow %1/></tradePanelGroup>")
                  .arg(QString(c_szWindow).replace("left='0'", "left='50'")),
        "off-screen", Effect::Kept);
}

void addSectionDefects()
{
    row("<ConfigVersion version_id='10'/>", "version", Effect::Changed);
    row("<CustomIndex a='1'/>", "attribute", Effect::Dropped);
    row("<CustomSector><a/></CustomSector>", "element", Effect::Dropped);
    row("<investFee/>", "section", Effect::Dropped);
    row("<GroupIndex/><GroupIndex/>", "second-section", Effect::Dropped);
    row("<SectorFilter><x/><sectorFilter param='a=N,M|1'/></SectorFilter>", "filter",
        Effect::Changed);
    row("<SectorFilter><sectorFilter param='a=N=M'/></SectorFilter>", "filter", Effect::Changed);
}

} // namespace

void tst_check::everyDefectHasItsRule_data()
{
    QTest::addColumn<QString>("content");
    QTest::addColumn<QString>("rule");
    QTest::addColumn<Effect>("effect");
    addOptionDefects();
    addStockDefects();
    addLayoutDefects();
    addSectionDefects();
    row("<!-- mine -->", "comment", Effect::Dropped);
    QTest::newRow("root") << "<other/>"
                          << "root" << Effect::Changed;
    QTest::newRow("root attribute") << "<ICUserConfigFile a='1'/>"
                                    << "attribute" << Effect::Dropped;
}

void tst_check::everyDefectHasItsRule()
{
    QFETCH(QString, content);
    QFETCH(QString, rule);
    QFETCH(inspect::Effect, effect);
    int nFound = 0;
    for (const inspect::Finding& finding : findings(content)) {
        if (finding.strRule == rule) {
            QCOMPARE(finding.effect, effect);
            QVERIFY(finding.position.nLine == 1 && finding.position.nColumn > 0);
            ++nFound;
        }
    }
    QCOMPARE(nFound, 1);
}

void tst_check::theSampleUserIsInOrder()
{
    const inspect::CheckedFile checked = inspect::check(SAMPLE_USER "/indexUserConfig.xml");
    QCOMPARE(checked.file.strError, QString());
    QCOMPARE(checked.findings.size(), 0);
}

void tst_check::whatASaveWroteIsInOrder()
{
    writeLive(readFile(TEST_DATA "/load/groups-without-windows-or-key.xml"));
    service().loadSettings();
    saveAndWait(service());
    // What the file had no windows for became an empty quote layout.
    for (const inspect::Finding& finding : inspect::check(livePath()).findings) {
        QVERIFY2(finding.effect == inspect::Effect::Kept || finding.strRule == "single-window",
                 qPrintable(finding.strText));
    }
}

void tst_check::attributesAreFoundInTheirTags()
{
    const auto found = findings("<?xml version=\"1.0\"?>\n<!-- <b c='1'> -->\n"
                                "<ICUserConfigFile>\n  <UserParams x=\"a>b = c\"\n"
                                "     m_bFormulaFunctionTreeExpand  =  'on'/>\n"
                                "</ICUserConfigFile>");
    QCOMPARE(found.size(), 2);
    QCOMPARE(found[0].strRule, QString("attribute"));
    QCOMPARE(found[0].position.nLine, 4);
    QCOMPARE(found[0].position.nColumn, 15);
    QCOMPARE(found[1].strRule, QString("word-boolean"));
    QCOMPARE(found[1].position.nLine, 5);
    QCOMPARE(found[1].position.nColumn, 6);
    QCOMPARE(found[1].strPath, QString("ICUserConfigFile/UserParams"));
}

void tst_check::bytesThatAreNoUtf8AreFound()
{
    writeLive("<ICUserConfigFile>\n<GroupIndex a='\xc6\xd6'/></ICUserConfigFile>");
    const auto found = inspect::check(livePath()).findings;
    QCOMPARE(found.size(), 1);
    QCOMPARE(found[0].strRule, QString("encoding"));
    QCOMPARE(found[0].position.nLine, 2);
    QCOMPARE(found[0].position.nColumn, 16);
}

void tst_check::withADocumentTypePlacesAreNotKnown()
{
    const auto found = findings("<!DOCTYPE r><ICUserConfigFile a='1'><Other/></ICUserConfigFile>");
    QCOMPARE(found.size(), 2);
    QCOMPARE(found[0].position.nLine, 0);
    QCOMPARE(found[1].position.nLine, 0);
}

void tst_check::damagedFilesHaveNoFindings()
{
    writeLive("<a");
    const inspect::CheckedFile checked = inspect::check(livePath());
    QCOMPARE(checked.file.state, inspect::FileState::Damaged);
    QCOMPARE(checked.findings.size(), 0);
}

void tst_check::whatIsNotFoundIsKept_data()
{
    QTest::addColumn<QString>("path");
    const QFileInfoList files = QDir(TEST_DATA "/load").entryInfoList({ "*.xml" });
    for (const QFileInfo& file : files) {
        QTest::newRow(qPrintable(file.fileName())) << file.filePath();
    }
}

// A file in order comes back as it was; one whose save differs was not called in order.
void tst_check::whatIsNotFoundIsKept()
{
    QFETCH(QString, path);
    const inspect::CheckedFile checked = inspect::check(path);
    const inspect::UserRecords records = inspect::recordsOf(checked.file.document);
    const bool bKept = inspect::differences(records, inspect::savedForm(records)).isEmpty();
    QVERIFY(bKept || !checked.findings.isEmpty());
}

QTEST_GUILESS_MAIN(tst_check)
#include "tst_check.moc"
