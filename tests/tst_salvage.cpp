#include "librarytest.h"

#include <format/userdocument.h>
#include <inspect/userdifferences.h>
#include <mend/salvage.h>

using mend::Salvage;
using mend::SalvagedPart;

// What can be saved of a cut or torn file: all that is whole in it, the rest from an older copy,
// nothing that is in neither; and a table that tells it.
class tst_salvage : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void aWholeFileGivesWhatItHolds();
    void ofNothingTheCandidateIsLeft();
    void withoutACandidateDefaultsAreTold();
    void entriesBesideATearAreTaken_data();
    void entriesBesideATearAreTaken();
    void optionsAreTakenOneByOne_data();
    void optionsAreTakenOneByOne();
    void whatIsTakenIsWhatTheFileHolds();
    void whatIsFilledStandsBehind();
    void sectionsOfOthersAreTakenWhole_data();
    void sectionsOfOthersAreTakenWhole();
    void theTextIsAWholeFile();
    void aLargeUserTakesASecondOrTwo();
};

namespace {

KW::UserRecords recordsOf(const QByteArray& text)
{
    return KW::recordsOf(KW::parseUserDocument(QString::fromUtf8(text)).document);
}

QByteArray file(const QByteArray& sections)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<ICUserConfigFile>\n" + sections
        + "\n</ICUserConfigFile>\n";
}

QByteArray sample()
{
    QFile user(SAMPLE_USER "/indexUserConfig.xml");
    return user.open(QIODevice::ReadOnly) ? user.readAll() : QByteArray();
}

// Its windows lie at 9 from the left, those of the damaged files at 0.
KW::UserRecords older()
{
    return recordsOf(
        file("<IndexLayout><LayoutWindow left='9' panelgroup_id='1'/>"
             "<LayoutWindow left='9' panelgroup_id='2'/></IndexLayout>"
             "<IndexPositionLayout><ValuePanelGroupLayout><itemLayout key='v'>"
             "<LayoutWindow left='9'/></itemLayout></ValuePanelGroupLayout></IndexPositionLayout>"
             "<LayoutTemplates><LayoutTemplate name='t'/></LayoutTemplates>"
             "<Option><Settings graphDisplay='4' oaUser='old' tickRestoreDay='9'/></Option>"
             "<GroupIndex a='old'/><strategyAlgoTrade a='old'/>"
             "<CustomStock><Customs><Custom type='1'><Stock code='old'/></Custom>"
             "<Custom type='3'/></Customs></CustomStock>"
             "<UserParams m_bFormulaFunctionTreeExpand='1'/>"));
}

// "window file 2/3" or "window lost 1/3: 7 +1", a row of the table.
QStringList told(const Salvage& salvage, const QString& section)
{
    QStringList rows;
    for (const SalvagedPart& part : salvage.table) {
        if (part.strSection == section) {
            rows.append(QStringLiteral("%1 %2 %3/%4")
                            .arg(mend::kindName(part.kind), mend::sourceName(part.source))
                            .arg(part.nCount)
                            .arg(part.nOfAll));
            rows.last() += part.names.isEmpty() ? QString() : ": " + part.names.join(' ');
            rows.last() += part.nNameless == 0 ? QString() : QString(" +%1").arg(part.nNameless);
        }
    }
    return rows;
}

QByteArray window(const char* pszGroup)
{
    return QByteArray("<LayoutWindow left=\"0\" panelgroup_id=\"") + pszGroup
        + "\"><Dock><Panel/></Dock></LayoutWindow>";
}

const QByteArray c_zeros(40, '\0');

} // namespace

void tst_salvage::aWholeFileGivesWhatItHolds()
{
    const Salvage salvage = mend::salvage(sample(), older());
    for (const auto& each : inspect::differences(salvage.records, recordsOf(sample()))) {
        QWARN(qPrintable(inspect::toText(each)));
    }
    QVERIFY(salvage.records == recordsOf(sample()));
    for (const SalvagedPart& part : salvage.table) {
        QCOMPARE(part.source, mend::PartSource::File);
        QCOMPARE(part.nCount, part.nOfAll);
    }
    QCOMPARE(told(salvage, "IndexLayout"), QStringList { "window file 4/4" });
    QCOMPARE(told(salvage, "CustomStock"), QStringList { "stock list file 4/4" });
}

void tst_salvage::ofNothingTheCandidateIsLeft()
{
    for (const QByteArray& nothing : { QByteArray(), c_zeros, QByteArray("\xb0\xa1<<>&]]>") }) {
        const Salvage salvage = mend::salvage(nothing, recordsOf(sample()));
        QVERIFY(salvage.records == recordsOf(sample()));
        QCOMPARE(told(salvage, "IndexLayout"),
                 QStringList { "window older copy 4/4: 6000 101 102 103" });
        QCOMPARE(told(salvage, "GroupIndex"), QStringList { "section older copy 1/1: GroupIndex" });
    }
}

void tst_salvage::withoutACandidateDefaultsAreTold()
{
    const Salvage salvage = mend::salvage(
        file("<IndexLayout>" + window("7") + "<LayoutWindow panelgroup_id='8'><Do"), std::nullopt);
    QCOMPARE(told(salvage, "IndexLayout"),
             QStringList({ "window file 1/2", "window lost 1/2: 8" }));
    QCOMPARE(told(salvage, "tradePanelGroup"), QStringList { "window default 0/0" });
    QCOMPARE(told(salvage, "GroupIndex"), QStringList { "section default 0/0" });
    QCOMPARE(told(salvage, "UserParams"), QStringList { "section default 1/1: UserParams" });
    QVERIFY(told(salvage, "Option").first().startsWith("option default 29/29: reportRefreshTime"));
    QVERIFY(salvage.records.options == KW::paramSettingForClient());
}

void tst_salvage::entriesBesideATearAreTaken_data()
{
    QTest::addColumn<QByteArray>("sections");
    QTest::addColumn<QString>("section");
    QTest::addColumn<QStringList>("rows");
    const auto row = [](const char* pszName, const QByteArray& sections, const QStringList& rows,
                        const char* pszSection = "IndexLayout") {
        QTest::newRow(pszName) << sections << pszSection << rows;
    };
    const QByteArray one = "<IndexLayout>" + window("1");
    const QByteArray five = window("5") + "</IndexLayout>";
    const QString strOlder = "window older copy 1/3: 2";
    const QStringList both { "window file 2/3", strOlder };
    row("whole", one + five, { "window file 2/2" });
    row("zeros between", one + c_zeros + five, both);
    row("zeros in a value", one + "<LayoutWindow a=\"" + c_zeros + "\"/>" + five,
        { "window file 2/3", strOlder, "window lost 0/3 +1" });
    row("zeros in a tree",
        one + "<LayoutWindow panelgroup_id='8'><Do" + c_zeros + "/></LayoutWindow>" + five,
        { "window file 2/4", "window older copy 1/4: 2", "window lost 1/4: 8" });
    row("torn, and in the copy", one + "<LayoutWindow panelgroup_id='2'><Do\xff/>" + five, both);
    row("no UTF-8", one + "<LayoutWindow panelgroup_id='8' navtree='\xca\xd7'/>" + five,
        { "window file 2/4", "window older copy 1/4: 2", "window lost 1/4: 8" });
    row("cut in a character", one + "<LayoutWindow panelgroup_id='8' navtree='\xe9\xa6",
        { "window file 1/3", "window older copy 1/3: 2", "window lost 1/3: 8" });
    row("no character", one + "\xef\xbf\xbe" + five, both);
    row("U+FFFD of the file",
        one + "<LayoutWindow panelgroup_id='8' navtree='\xef\xbf\xbd'/>" + five,
        { "window file 3/3" });
    row("'&' alone", one + "<LayoutWindow panelgroup_id='8' navtree='a&b;'/>" + five,
        { "window file 2/4", "window older copy 1/4: 2", "window lost 1/4: 8" });
    row("the section's beginning", "<Index" + c_zeros + window("4") + five,
        { "window file 2/4", "window older copy 2/4: 1 2" });
    row("the section's end", one + c_zeros + "out><IndexPositionLayout/>",
        { "window file 1/2", "window older copy 1/2: 2" });
    row("between two sections", one + "<Layout" + c_zeros + window("5") + "</tradePanelGroup>",
        { "window file 1/2", "window older copy 1/2: 2" });
    row("of the other one", one + "<Layout" + c_zeros + window("5") + "</tradePanelGroup>",
        { "window file 1/1" }, "tradePanelGroup");
    row("two tears", one + c_zeros + window("4") + c_zeros + five,
        { "window file 3/4", "window older copy 1/4: 2" });
    row("whose is not told", c_zeros + window("4") + c_zeros, { "window lost 1/1: 4" }, "");
    row("a seam that does not show", one + window("5") + "</tradePanelGroup>",
        { "window lost 2/2: 1 5" }, "");
    row("such a seam, one side", one + window("5") + "</tradePanelGroup>",
        { "window older copy 2/2: 1 2" });
    row("other entries beside a seam", one + "<LayoutTemplate name='x'/></LayoutTemplates>",
        { "window file 1/2", "window older copy 1/2: 2" });
    row("templates beside a seam", one + "<LayoutTemplate name='x'/></LayoutTemplates>",
        { "template file 1/2", "template older copy 1/2: t" }, "LayoutTemplates");
    row("begun within, ended elsewhere",
        one + "<LayoutWindow panelgroup_id='8'><Dock></LayoutWindow></tradePanelGroup>",
        { "window file 1/3", "window older copy 1/3: 2", "window lost 1/3: 8" });
    row("glued to a stock", one + "<LayoutWindow panelgroup_id='8' market='SH'/>" + c_zeros + five,
        { "window file 2/4", "window older copy 1/4: 2", "window lost 1/4: 8" });
    row("an attribute twice", one + "<LayoutWindow panelgroup_id='8' left='1' left='2'/>" + five,
        { "window file 2/4", "window older copy 1/4: 2", "window lost 1/4: 8" });
    row("the rest of a tag", one + "group_id=\"8\"/>" + five, both);
    row("the rest of a comment", one + " b -->" + five, both);
    row("a comment in a comment", one + "<!-- a <!-- b -->" + five, both);
    row("a whole comment", one + "<!-- a -->" + five, { "window file 2/2" });
    row("a second declaration", one + "<?xml version='1.0'?>" + five, both);
    row("an entry within a torn one",
        one + "<LayoutWindow panelgroup_id='8'><Dock>" + window("4") + c_zeros + "</IndexLayout>",
        { "window file 2/4", "window older copy 1/4: 2", "window lost 1/4: 8" });
    row("two of a name", one + window("1") + c_zeros + five,
        { "window file 3/4", "window older copy 1/4: 2" });
    row("the second of a name", one + "<LayoutWindow panelgroup_id='1'><Do" + c_zeros + five,
        { "window file 2/4", "window older copy 1/4: 2", "window lost 1/4: 1" });
    row("too deep",
        one + "<LayoutWindow panelgroup_id='8'>" + QByteArray("<a>").repeated(600)
            + QByteArray("</a>").repeated(600) + "</LayoutWindow>" + five,
        { "window file 2/4", "window older copy 1/4: 2", "window lost 1/4: 8" });
    const QByteArray lists = "<CustomStock><Customs><Custom type='0'><Stock code='a'/></Custom>";
    row("lists",
        lists + "<Custom type='1'><Stock code='\xff'/></Custom><Custom type='2'/></Customs>",
        { "stock list file 2/4", "stock list older copy 2/4: 1 3" }, "CustomStock");
    row("a list of a type that was there", lists + "<Custom type='0'/>" + c_zeros,
        { "stock list file 1/3", "stock list older copy 2/3: 1 3" }, "CustomStock");
    row("all lists in a torn section", lists + "</Customs>" + c_zeros, { "stock list file 1/1" },
        "CustomStock");
    row("half of the groups",
        "<IndexPositionLayout><FormulaPanelGroupLayout/><ValuePanelGroupLayout><itemLayout key='w'>"
            + window("1") + "</itemLayout><itemLayout key='x'>" + window("1"),
        { "panel group file 1/3", "panel group older copy 1/3: v", "panel group lost 1/3: x" },
        "IndexPositionLayout/ValuePanelGroupLayout");
    row("the other half",
        "<IndexPositionLayout><FormulaPanelGroupLayout/><ValuePanelGroupLayout>" + c_zeros,
        { "panel group file 0/0" }, "IndexPositionLayout/FormulaPanelGroupLayout");
    row("windows of groups are no others'",
        one + "<itemLayout key='w'>" + window("1") + c_zeros + window("7") + "</itemLayout>"
            + "</ValuePanelGroupLayout></IndexPositionLayout>",
        {}, "");
}

void tst_salvage::entriesBesideATearAreTaken()
{
    QFETCH(QByteArray, sections);
    QFETCH(QString, section);
    QFETCH(QStringList, rows);
    QCOMPARE(told(mend::salvage(file(sections), older()), section), rows);
}

void tst_salvage::optionsAreTakenOneByOne_data()
{
    QTest::addColumn<QByteArray>("section");
    QTest::addColumn<QString>("values"); // oaUser, graphDisplay, tickRestoreDay
    QTest::addColumn<int>("ofFile");
    QTest::newRow("whole") << QByteArray("<Option><Settings oaUser='n' graphDisplay='1'/></Option>")
                           << "n 1 9" << 3;
    QTest::newRow("cut") << QByteArray("<Option><Settings oaUser='n' graphDisplay='1") << "n 4 9"
                         << 1;
    QTest::newRow("cut behind a value")
        << QByteArray("<Option><Settings oaUser='n'") << "n 4 9" << 1;
    QTest::newRow("torn in the middle") << "<Option><Settings oaUser='n' graphDisplay='" + c_zeros
            + "3' tickRestoreDay='5'/></Option>"
                                        << "n 4 5" << 2;
    QTest::newRow("a quote lost") << "<Option><Settings oaUser=\"n" + c_zeros
            + "=\"3\" tickRestoreDay=\"5\"/></Option>"
                                  << "old 4 5" << 1;
    QTest::newRow("the other name")
        << "<Option><Settings m_graphDisplay='1' x='" + c_zeros + "'/></Option>"
        << "old 1 9" << 2;
    QTest::newRow("something sticks")
        << QByteArray("<Option><Settings oaUser='n' tickRestoreDay='5'x") << "n 4 9" << 1;
    QTest::newRow("glued to a panel")
        << QByteArray("<Option><Settings oaUser='n' tickRestoreDay='5' kind='x'/></Dock>")
        << "n 4 9" << 1;
    QTest::newRow("twice") << "<Option><Settings oaUser='n' oaUser='m' x='" + c_zeros
            + "'/></Option>"
                           << "n 4 9" << 1;
    QTest::newRow("of another") << "<GroupIndex><Settings oaUser='n'/>" + c_zeros + "</GroupIndex>"
                                << "old 4 9" << 0;
    QTest::newRow("the beginning torn") << c_zeros + " oaUser='n' tickRestoreDay='5'/></Option>"
                                        << "n 4 5" << 2;
}

void tst_salvage::optionsAreTakenOneByOne()
{
    QFETCH(QByteArray, section);
    const Salvage salvage = mend::salvage(file(section), older());
    const KW::paramSettingForClient& options = salvage.records.options;
    QTEST(QString("%1 %2 %3")
              .arg(options.oaUser)
              .arg(options.graphDisplay)
              .arg(options.tickRestoreDay),
          "values");
    const SalvagedPart part
        = *std::find_if(salvage.table.begin(), salvage.table.end(),
                        [](const auto& each) { return each.strSection == "Option"; });
    QTEST(part.source == mend::PartSource::File ? part.nCount : 0, "ofFile");
    QCOMPARE(part.nOfAll, 29);
}

void tst_salvage::whatIsTakenIsWhatTheFileHolds()
{
    QByteArray text = sample();
    text.replace("K线", c_zeros); // in the first quote window, and in the first template
    KW::UserRecords expected = recordsOf(sample());
    expected.layouts.m_quoteGroupSetting.m_windows.removeFirst();
    expected.layouts.m_quoteTemplates.removeFirst();
    const Salvage salvage = mend::salvage(text, std::nullopt);
    QVERIFY(salvage.records == expected);
    QCOMPARE(told(salvage, "IndexLayout"),
             QStringList({ "window file 3/4", "window lost 1/4: 6000" }));
    QCOMPARE(told(salvage, "LayoutTemplates"),
             QStringList({ "template file 2/3", "template lost 1/3: 早盘" }));
}

void tst_salvage::whatIsFilledStandsBehind()
{
    const Salvage salvage = mend::salvage(
        file("<IndexLayout>" + c_zeros + window("7") + window("1") + "</IndexLayout>"), older());
    QStringList windows;
    for (const KW::CLayoutWindow& each : salvage.records.layouts.m_quoteGroupSetting.m_windows) {
        windows.append(QString("%1@%2").arg(each.m_nPanelGroupId).arg(each.m_rect.left()));
    }
    QCOMPARE(windows, QStringList({ "7@0", "1@0", "2@9" }));
}

void tst_salvage::sectionsOfOthersAreTakenWhole_data()
{
    QTest::addColumn<QByteArray>("sections");
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("row");
    QTest::addColumn<QString>("attribute");
    const QByteArray whole = "<GroupIndex a='new'><![CDATA[a<b]]>-->&lt;</GroupIndex>";
    const QByteArray torn = "<GroupIndex a='new'>" + c_zeros + "</GroupIndex>";
    const char* const pszOlder = "section older copy 1/1: GroupIndex";
    QTest::newRow("whole") << whole << "GroupIndex"
                           << "section file 1/1"
                           << "new";
    QTest::newRow("torn") << torn << "GroupIndex" << pszOlder << "old";
    QTest::newRow("twice") << whole + "<GroupIndex a='newer'/>"
                           << "GroupIndex"
                           << "section file 1/1"
                           << "new";
    QTest::newRow("torn, then whole") << torn + whole << "GroupIndex"
                                      << "section file 1/1"
                                      << "new";
    QTest::newRow("torn and in no copy") << "<drawGraph><a/>" + c_zeros << "drawGraph"
                                         << "section lost 1/1: drawGraph"
                                         << "";
    QTest::newRow("behind open data") << "<drawGraph><![CDATA[a" + whole << "GroupIndex"
                                      << "section file 1/1"
                                      << "new";
    QTest::newRow("the rest of a tag") << QByteArray("<GroupIndex a='new'>x=\"1\"/></GroupIndex>")
                                       << "GroupIndex" << pszOlder << "old";
    QTest::newRow("left out") << QByteArray("<strategyTrade/> <WindDataCatalog/>")
                              << "strategyAlgoTrade"
                              << "section file 0/0"
                              << "";
    QTest::newRow("not left out") << "<strategyTrade/>" + c_zeros + "<WindDataCatalog/>"
                                  << "strategyAlgoTrade"
                                  << "section older copy 1/1: strategyAlgoTrade"
                                  << "old";
}

void tst_salvage::sectionsOfOthersAreTakenWhole()
{
    QFETCH(QByteArray, sections);
    QFETCH(QString, section);
    const Salvage salvage = mend::salvage(file(sections), older());
    QTEST(told(salvage, section).join('|'), "row");
    QString strAttribute;
    for (const KW::ElementTree& each : salvage.records.sections) {
        strAttribute += each.strName == section ? each.attribute("a") : QString();
    }
    QTEST(strAttribute, "attribute");
}

void tst_salvage::theTextIsAWholeFile()
{
    const KW::UserRecords records = mend::salvage(sample().left(9000), older()).records;
    const KW::UserDocumentText text = mend::salvagedText(records);
    QVERIFY(text.cut.isEmpty());
    QVERIFY(text.strText.startsWith("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"));
    QVERIFY(recordsOf(text.strText.toUtf8()) == KW::savedForm(records));
    QVERIFY(KW::savedForm(records) == records);
}

void tst_salvage::aLargeUserTakesASecondOrTwo()
{
    QByteArray text = file("<CustomStock><Customs>" + []() {
        QByteArray lists;
        for (int i = 0; i < 500; ++i) {
            lists += "<Custom type=\"" + QByteArray::number(i) + "\">"
                + QByteArray("<Stock market=\"SH\" code=\"600000\" name=\"浦发银行\"/>\n")
                      .repeated(100)
                + "</Custom>";
        }
        return lists;
    }() + "</Customs></CustomStock>");
    text.replace(text.size() / 2, c_zeros.size(), c_zeros);
    QElapsedTimer timer;
    timer.start();
    const Salvage salvage = mend::salvage(text, recordsOf(file("")));
    QVERIFY2(timer.elapsed() < 20000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(told(salvage, "CustomStock"),
             QStringList({ "stock list file 499/500", "stock list lost 1/500: 250" }));
}

QTEST_GUILESS_MAIN(tst_salvage)
#include "tst_salvage.moc"
