#include "checkedfiles.h"
#include "librarytest.h"

#include <inspect/userdifferences.h>

// What check() finds in sections: every defect by effect, rule, line and column, and nothing else.
class tst_check : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void everyDefectIsFound_data();
    void everyDefectIsFound();
    void whatIsInOrderHasNoFindings_data();
    void whatIsInOrderHasNoFindings();
    void attributesAreFoundInTheirTags();
    void findingsNameTheirElement();
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
    if (checked.file.state != inspect::FileState::Whole || !checked.strFailure.isEmpty()) {
        qFatal("%s%s", qPrintable(toText(checked.file.error)), qPrintable(checked.strFailure));
    }
    return checked.findings;
}

namespace {

const char c_szWindow[] = "screen_id='1' is_main='0' maximized='0' left='0' top='0' width='9' "
                          "height='9' panelgroup_id='1'";

// Each in the second line of its section and not in the first column.

QString quoteWindow(const QString& content)
{
    return QStringLiteral("<IndexLayout>\n <LayoutWindow %1>%2</LayoutWindow></IndexLayout>")
        .arg(c_szWindow, content);
}

QString templates(const QString& content)
{
    return QStringLiteral("<LayoutTemplates>\n %1</LayoutTemplates>").arg(content);
}

QString stocks(const QString& content)
{
    return QStringLiteral("<CustomStock><Customs>\n %1</Customs></CustomStock>").arg(content);
}

QString options(const QString& attributes)
{
    return QStringLiteral("<Option>\n <Settings %1/></Option>").arg(attributes);
}

QString groups(const QString& content)
{
    return QStringLiteral("<IndexPositionLayout><FormulaPanelGroupLayout/>"
                          "<ValuePanelGroupLayout>\n %1</ValuePanelGroupLayout>"
                          "</IndexPositionLayout>")
        .arg(content);
}

void row(const QString& content, const char* pszFindings)
{
    QTest::addRow("%s", qPrintable(content))
        << content << QString(pszFindings).split(", ", Qt::SkipEmptyParts);
}

void addOptionDefects()
{
    row(options("tickRestoreDay='x'"), "changed number@14:12");
    row(options("tickRestoreDay='2147483648'"), "changed number@14:12");
    row(options("tickRestoreDay=''"), "changed number@14:12");
    row(options("graphDisplay='1' showGradient='true'"), "changed word-boolean@14:29");
    row(options("showGradient='x'"), "changed number@14:12");
    row(options("showGradient='7'"), "changed switch@14:12");
    row(options("showGradient='-1'"), "changed switch@14:12");
    row(options("groupSignalRunTime='09:30'"), "dropped read-only-option@14:12");
    row(options("nonsense='1'"), "dropped attribute@14:12");
    row(options("graphDisplay='1' m_graphDisplay='2'"), "merged graph-display@14:12");
    row(options("tickRestoreDay='-1'"), "kept negative@14:12");
    row(options("tickRestoreDay='0' formulaDebug='2'"), "kept flag@14:31");
    row(options("updateF10DateTime='2024-02-30'"), "kept date@14:12");
    row(options("updateF10DateTime='' oaAddress='' qsSmartKeyConfig='' smartKeyConfig='-1'"), "");
    row(options("qsSmartKeyConfig='1,a'"), "kept number-list@14:12");
    row(options("oaAddress='a b'"), "kept address@14:12");
    row(options("groupSignalRunTime='x'"), "dropped read-only-option@14:12");
    row("<Option\n tickRestoreDay='1'><Settings/></Option>", "dropped attribute@14:2");
    row("<Option>\n <Other/></Option>", "changed settings-name@14:2");
    row("<Option><Settings/>\n <Settings/></Option>", "merged second-settings@14:2");
    row("<Option><Settings/></Option>\n <Option/>", "dropped second-section@14:2");
    row("<Option>\n <Settings><a/></Settings></Option>", "dropped element@14:12");
    row("<DefaultLayout>\n <Option/></DefaultLayout>",
        "dropped element@4:2, changed section-place@4:2");
    row("<UserParams\n m_bFormulaFunctionTreeExpand='yes'/>", "changed word-boolean@25:2");
}

void addStockDefects()
{
    row(stocks("<Custom type='2'/><Custom type='2'/>"), "merged double-type@17:28");
    row(stocks("<Custom type='0'/><Custom type='x'/>"),
        "changed number@17:28, merged double-type@17:28");
    row(stocks("<Custom type='-1'/>"), "dropped negative-type@17:10");
    row(stocks("<Custom type='-1'/><Custom type='-1'/>"),
        "dropped negative-type@17:10, dropped negative-type@17:29");
    row(stocks("<Custom type='1'><Custom type='2'/></Custom>"), "changed inner-list@17:19");
    row(stocks("<Custom type='x'/>"), "changed number@17:10");
    row(stocks("<Custom/>"), "changed missing@17:2");
    row(stocks("<Custom type='1'><Stock market='SH' name='n'/></Custom>"), "changed missing@17:19");
    row(stocks("<Custom type='1'>\n <Stock market='S H' code='' name=''/></Custom>"),
        "kept market@18:9, kept code@18:22");
    row(stocks("<Custom type='1'><Stock market='SH' code='1' name='a'/>\n <Stock market='SH' "
               "code='1' name='b'/></Custom>"),
        "kept double-stock@18:2");
    row(stocks("<Custom type='1'><Stock market='SH' code='1' name='a'/></Custom>\n <Custom "
               "type='2'><Stock market='SH' code='1' name='a'/></Custom>"),
        "");
    row(stocks("<Custom type='-1'><Stock market='S H' code='1' name=''/></Custom>"),
        "dropped negative-type@17:10");
    row(stocks("<Custom type='1'>\n <Other/></Custom>"), "dropped element@18:2");
    row(stocks("<!-- mine -->"), "dropped comment@17:2");
    row(stocks("<?mine ?>"), "dropped instruction@17:2");
    row(stocks("text"), "dropped text@16:14");
    row(stocks("<![CDATA[text]]>"), "dropped text@16:14");
    row("<CustomStock><Customs/>\n <Customs/></CustomStock>", "changed schema@17:1");
    row("<CustomStock><Customs/>\n <Customs/><!-- mine --></CustomStock>",
        "changed schema@17:1, dropped comment@17:12");
}

void addLayoutDefects()
{
    const QString strKeyed
        = QStringLiteral("<itemLayout key='k'><LayoutWindow %1/></itemLayout>\n ").arg(c_szWindow);
    row(templates("<LayoutTemplate name='A'/>\n <LayoutTemplate name='A'/>"),
        "kept double-name@8:18");
    row(templates("<LayoutTemplate/>"), "changed missing@7:2");
    row(templates(QStringLiteral("<LayoutTemplate name='A'><LayoutWindowTemplate %1\n navtree='n'/>"
                                 "</LayoutTemplate>")
                      .arg(c_szWindow)),
        "dropped attribute@8:2");
    row(groups("<itemLayout key='k'/>"), "dropped no-windows@6:2");
    row(groups(strKeyed + strKeyed), "merged double-key@7:14");
    row(groups(strKeyed + "<itemLayout key='k'/>"), "dropped no-windows@7:2");
    row(groups("<itemLayout key='k'/>\n " + strKeyed), "dropped no-windows@6:2");
    row(groups(QString(strKeyed).replace("key='k'", "")), "changed missing@6:2");
    row(quoteWindow("<a/><b/>"), "dropped window-children@5:2");
    row(quoteWindow("<a/><!-- beside -->"), "dropped window-children@5:2, dropped comment@5:116");
    row(quoteWindow("<!-- alone -->"), "dropped window-children@5:2, dropped comment@5:112");
    row(quoteWindow("<?alone ?>"), "dropped window-children@5:2, dropped instruction@5:112");
    row("<IndexLayout>\n <Dock/></IndexLayout>", "changed single-window@4:1");
    row("<IndexLayout>\n <Dock/>\n <Dock/></IndexLayout>",
        "changed single-window@4:1, dropped window-children@4:1");
    row("<IndexLayout/>", "changed single-window@4:1");
    row(quoteWindow("").replace("left='0'", "left='-32000'"), "kept off-screen@5:2");
    row(quoteWindow("").replace("width='9'", "width='0'"), "kept window-size@5:2");
    row(quoteWindow("").replace("width='9'", "width='60001'"), "kept window-size@5:2");
    row(quoteWindow("").replace("maximized='0'", "maximized='1'").replace("'9'", "'0'"), "");
    row(quoteWindow("").replace("maximized='0'", "maximized='1'")
            + QStringLiteral("<tradePanelGroup>\n <LayoutWindow %1/></tradePanelGroup>")
                  .arg(QString(c_szWindow).replace("left='0'", "left='50'")),
        "kept off-screen@6:2, dropped second-section@9:1");
}

// What readers look for at any depth.
void addPlaceDefects()
{
    for (const char* pszTag :
         { "Customs", "Option", "UserParams", "IndexLayout", "DefaultLayout", "LayoutTemplates",
           "tradePanelGroup", "tradeLayoutTemplates", "IndexPositionLayout" }) {
        row(QStringLiteral("<DefaultLayout>\n <LayoutWindow %1>\n<a><%2/></a></LayoutWindow>"
                           "</DefaultLayout>")
                .arg(c_szWindow, pszTag),
            pszTag == QLatin1String("DefaultLayout") ? "" : "changed section-place@5:4");
    }
    row("<FormulaCatalog>\n <Customs/></FormulaCatalog>", "changed section-place@13:2");
    row("<drawGraph>\n <Customs/></drawGraph>", "");
    row("<CustomStock>\n <a><Customs/></a></CustomStock>",
        "changed missing-content@16:1, dropped element@17:2, changed section-place@17:5");
    row(quoteWindow(QStringLiteral("<a>\n <LayoutWindow %1/></a>").arg(c_szWindow)),
        "changed inner-window@6:2");
    row(templates("<LayoutTemplate name='A'>\n <a><LayoutTemplate/></a></LayoutTemplate>"),
        "dropped element@8:2, changed inner-template@8:5");
    row(templates(QStringLiteral("<LayoutTemplate name='A'><LayoutWindowTemplate %1>\n<a>"
                                 "<LayoutTemplate/><LayoutWindowTemplate/><LayoutWindow/></a>"
                                 "</LayoutWindowTemplate></LayoutTemplate>")
                      .arg(c_szWindow)),
        "changed inner-template@8:4, changed inner-window@8:21");
    row(QStringLiteral("<tradeLayoutTemplates><tradeLayoutTemplate name='A'><tradeWindowTemplate "
                       "%1>\n<a><tradeLayoutTemplate/><tradeWindowTemplate/><LayoutTemplate/></a>"
                       "</tradeWindowTemplate></tradeLayoutTemplate></tradeLayoutTemplates>")
            .arg(c_szWindow),
        "changed inner-template@9:4, changed inner-window@9:26");
    row(groups(QStringLiteral("<itemLayout key='k'><LayoutWindow %1>\n<a><itemLayout/><itemLayout>"
                              "<LayoutWindow/></itemLayout></a></LayoutWindow></itemLayout>")
                   .arg(c_szWindow)),
        "changed inner-group@7:17, changed inner-window@7:29");
    row(stocks("<a>\n<Stock/><Custom><b><Stock/></b></Custom></a>"),
        "dropped element@17:2, changed inner-list@18:9, changed inner-stock@18:20");
    row("<drawGraph>\n<Custom><Stock/></Custom><LayoutTemplate/><itemLayout/></drawGraph>", "");
    row(quoteWindow("") + QStringLiteral("\n<IndexLayout>\n<a><LayoutWindow/></a></IndexLayout>"),
        "dropped second-section@6:1");
}

void addMissingContent()
{
    row("<Option/>", "changed missing-content@13:1");
    row("<Option>\n</Option>", "changed missing-content@13:1");
    row("<UserParams/>", "changed missing-content@24:1");
    row("<ConfigVersion/>", "changed missing-content@9:1");
    row("<CustomStock/>", "changed missing-content@16:1");
    row("<IndexPositionLayout/>", "changed missing-content@5:1");
    row("<IndexPositionLayout><ValuePanelGroupLayout/></IndexPositionLayout>",
        "changed missing-content@5:1");
    row("<IndexPositionLayout><FormulaPanelGroupLayout/></IndexPositionLayout>",
        "changed missing-content@5:1");
    row("<CustomStock/>\n<GroupIndex><Customs/></GroupIndex>",
        "changed missing-content@16:1, dropped second-section@17:1, changed section-place@17:13");
}

void addSectionDefects()
{
    row("<ConfigVersion\n version_id='10'/>", "changed version@10:2");
    row("<CustomIndex\n a='1'/>", "dropped attribute@11:2");
    row("<CustomSector\n><a/></CustomSector>", "dropped element@12:2");
    row("<investFee/>", "dropped section@25:1");
    row("<GroupIndex/>\n <GroupIndex/>", "dropped second-section@15:2");
    row("<SectorFilter><x/>\n <sectorFilter param='a=N,M|1'/></SectorFilter>",
        "dropped section@25:1, changed filter@26:16");
    row("<SectorFilter><x><y/>\n<z/>\n</x>\n<sectorFilter param='abc'/></SectorFilter>",
        "dropped section@25:1, changed filter@28:15");
    row("<SectorFilter>\n <sectorFilter param='a=N=M'/></SectorFilter>",
        "dropped section@25:1, changed filter@26:16");
    row("<drawGraph><!-- kept -->\n<?kept ?></drawGraph>\n <!-- lost --><?lost ?>",
        "dropped comment@20:2, dropped instruction@20:15");
    row("<GroupIndex>\n<!-- kept --><a><?kept ?></a></GroupIndex><?lost ?>\n <!-- lost -->",
        "dropped instruction@15:43, dropped comment@16:2");
    row("<GroupIndex/>\n text", "dropped text@2:1");
}

} // namespace

void tst_check::everyDefectIsFound_data()
{
    QTest::addColumn<QString>("content");
    QTest::addColumn<QStringList>("expected");
    addOptionDefects();
    addStockDefects();
    addLayoutDefects();
    addPlaceDefects();
    addMissingContent();
    addSectionDefects();
}

void tst_check::everyDefectIsFound()
{
    QFETCH(QString, content);
    QFETCH(QStringList, expected);
    QCOMPARE(checkedfiles::texts(findings(checkedfiles::fileWith(content))), expected);
}

void tst_check::whatIsInOrderHasNoFindings_data()
{
    QTest::addColumn<QString>("content");
    for (const QString& content :
         { QString("<DefaultLayout/>"), options("tickRestoreDay='7' showGradient='0'"),
           stocks("<Custom type='0'><Stock market='SH' code='1' name=''/></Custom>"),
           templates("<LayoutTemplate name=''/>"),
           quoteWindow("<a><?kept ?><!-- kept -->text<![CDATA[<!DOCTYPE]]></a>"),
           QString("<drawGraph a='1'><!-- kept -->text<?kept ?><Stock/></drawGraph>"),
           QString("<GroupIndex><!-- <!DOCTYPE r [<!ENTITY e 'x'>]> --></GroupIndex>"),
           QString("<GroupIndex><x:y a:b='1'/></GroupIndex>"),
           QString("<CustomIndex>\n </CustomIndex>"), QString("<CustomSector>\n</CustomSector>"),
           QString("<ConfigVersion version_id='11'>\n</ConfigVersion>"),
           QString("<UserParams m_bFormulaFunctionTreeExpand='1'>\n</UserParams>"),
           QString("<Option>\n<Settings>\n</Settings>\n</Option>"),
           stocks(
               "<Custom type='0'>\n<Stock market='SH' code='1' name=''>\n</Stock>\n</Custom>") }) {
        QTest::newRow(qPrintable(content)) << content;
    }
}

void tst_check::whatIsInOrderHasNoFindings()
{
    QFETCH(QString, content);
    QCOMPARE(checkedfiles::texts(findings(checkedfiles::fileWith(content))), QStringList());
}

void tst_check::attributesAreFoundInTheirTags()
{
    const QString strParams = "<UserParams x=\"a>b = c\"\n"
                              "     m_bFormulaFunctionTreeExpand  =  'on'/>";
    QCOMPARE(checkedfiles::texts(findings(checkedfiles::fileWith(strParams))),
             (QStringList { "dropped attribute@24:13", "changed word-boolean@25:6" }));
}

void tst_check::findingsNameTheirElement()
{
    const auto found = findings(checkedfiles::fileWith(options("showGradient='on'")));
    QCOMPARE(found.size(), 1);
    QCOMPARE(found[0].strPath, QString("ICUserConfigFile/Option/Settings"));
    QCOMPARE(found[0].strText, QString("showGradient=\"on\" is a word and reads as 0"));
}

void tst_check::damagedFilesHaveNoFindings()
{
    for (const char* pszContent : { "<a", "<a/>", "<html>\n<Option/></html>" }) {
        writeLive(pszContent);
        const inspect::CheckedFile checked = inspect::check(livePath());
        QCOMPARE(checked.file.state, inspect::FileState::Damaged);
        QCOMPARE(checked.findings.size(), 0);
    }
}

void tst_check::whatIsNotFoundIsKept_data()
{
    QTest::addColumn<QString>("path");
    const QFileInfoList files = QDir(TEST_DATA "/load").entryInfoList({ "*.xml" });
    for (const QFileInfo& file : files) {
        QTest::newRow(qPrintable(file.fileName())) << file.filePath();
    }
}

// A file in order comes back as it was; one whose save differs was not called in order. That a
// section is missing says nothing of those that are there.
void tst_check::whatIsNotFoundIsKept()
{
    QFETCH(QString, path);
    const inspect::CheckedFile checked = inspect::check(path);
    const QStringList found = checkedfiles::texts(checked.findings);
    const inspect::UserRecords records = inspect::recordsOf(checked.file.document);
    const bool bKept = inspect::differences(records, inspect::savedForm(records)).isEmpty();
    QVERIFY(bKept || found != found.filter("missing-section"));
}

QTEST_GUILESS_MAIN(tst_check)
#include "tst_check.moc"
