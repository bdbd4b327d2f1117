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
    void whatIsTornIsLost_data();
    void whatIsTornIsLost();
    void aSectionThatNobodyReadsIsTold();
    void anEntryIsTheNearestSections_data();
    void anEntryIsTheNearestSections();
    void listsAndGroupsAreTakenWhole_data();
    void listsAndGroupsAreTakenWhole();
    void ofListsOfATypeTheFirstIsTaken();
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
    QTest::addColumn<QByteArray>("between"); // windows 1 and 5
    QTest::addColumn<QStringList>("rows");
    const auto row = [](const char* pszName, const QByteArray& between, const QStringList& rows) {
        QTest::newRow(pszName) << between << rows;
    };
    const QStringList whole { "window file 2/2" };
    const QStringList both { "window file 2/3", "window older copy 1/3: 2" };
    const QStringList three { "window file 3/4", "window older copy 1/4: 2" };
    row("nothing", "", whole);
    row("a comment", "<!-- a -->", whole);
    row("zeros", c_zeros, both);
    row("no character", "\xef\xbf\xbe", both);
    row("a surrogate", "\xed\xa0\x80", both);
    row("overlong", "\xe0\x80\x80\xf0\x80\x80\x80\xf4\x90\x80\x80", both);
    row("no name in a torn tag", "<LayoutWindow a=\"" + c_zeros + "\"/>",
        both + QStringList { "window lost 0/3 +1" });
    row("torn, and in the copy", "<LayoutWindow panelgroup_id='2'><Do\xff/>", both);
    row("the rest of a tag", "group_id=\"8\"/>", both);
    row("the rest of a comment", " b -->", both);
    row("a comment in a comment", "<!-- a <!-- b -->", both);
    row("another window between tears", c_zeros + window("4") + c_zeros, three);
    row("another one of a name", window("1") + c_zeros, three);
    row("a torn one of a name", "<LayoutWindow panelgroup_id='1'><Do" + c_zeros,
        { "window file 2/4", "window older copy 1/4: 2", "window lost 1/4: 1" });
}

void tst_salvage::entriesBesideATearAreTaken()
{
    QFETCH(QByteArray, between);
    QFETCH(QStringList, rows);
    const QByteArray section = "<IndexLayout>" + window("1") + between + window("5");
    QCOMPARE(told(mend::salvage(file(section + "</IndexLayout>"), older()), "IndexLayout"), rows);
}

void tst_salvage::whatIsTornIsLost_data()
{
    QTest::addColumn<QByteArray>("rest"); // of window 8
    QTest::newRow("zeros in its tree") << "><Do" + c_zeros + "/></LayoutWindow>";
    QTest::newRow("zeros in a value") << " navtree='" + c_zeros + "'/>";
    QTest::newRow("no UTF-8") << QByteArray(" navtree='\xca\xd7'/>");
    QTest::newRow("half a character") << QByteArray(" navtree='\xe9\xa6");
    QTest::newRow("'&' alone") << QByteArray(" navtree='a&b;'/>");
    QTest::newRow("a '&' without end") << QByteArray(" navtree='a&amp'/>");
    QTest::newRow("an attribute of a stock") << " market='SH'/>" + c_zeros;
    QTest::newRow("an attribute twice") << QByteArray(" left='1' left='2'/>");
    QTest::newRow("no space") << QByteArray(" left='1'top='2'/>");
    QTest::newRow("the end of another") << QByteArray("><Dock></LayoutWindow></tradePanelGroup>");
    QTest::newRow("too deep") << '>' + QByteArray("<a>").repeated(600)
            + QByteArray("</a>").repeated(600) + "</LayoutWindow>" + c_zeros;
}

void tst_salvage::whatIsTornIsLost()
{
    QFETCH(QByteArray, rest);
    const Salvage salvage = mend::salvage(
        file("<IndexLayout>" + window("1") + "<LayoutWindow panelgroup_id='8'" + rest), older());
    QCOMPARE(told(salvage, "IndexLayout"),
             QStringList({ "window file 1/3", "window older copy 1/3: 2", "window lost 1/3: 8" }));
}

namespace {

void addColumns()
{
    QTest::addColumn<QByteArray>("sections");
    QTest::addColumn<QString>("section");
    QTest::addColumn<QStringList>("rows");
}

void row(const char* pszName, const QByteArray& sections, const char* pszSection,
         const QStringList& rows)
{
    QTest::newRow(pszName) << sections << pszSection << rows;
}

} // namespace

void tst_salvage::aSectionThatNobodyReadsIsTold()
{
    const QByteArray known = "<ConfigVersion version_id='11'/>";
    const QByteArray sections = known + "<tradeBaskets a='1'/><UserParams/>" + c_zeros;
    QCOMPARE(told(mend::salvage(file(sections), older()), "tradeBaskets"),
             QStringList("section nobody reads it 1/1: tradeBaskets"));
    // Beside a tear it may be a part of anything.
    QCOMPARE(
        told(mend::salvage(file(known + "<a b='1'/>" + c_zeros + "<UserParams/>"), older()), "a"),
        QStringList());
}

void tst_salvage::anEntryIsTheNearestSections_data()
{
    addColumns();
    const QByteArray one = "<IndexLayout>" + window("1");
    const QByteArray trade = window("5") + "</tradePanelGroup>";
    const QStringList first { "window file 1/2", "window older copy 1/2: 2" };
    row("beginning torn", "<Ind" + c_zeros + window("4") + "</IndexLayout>", "IndexLayout",
        { "window file 1/3", "window older copy 2/3: 1 2" });
    row("end torn", one + c_zeros + "out><IndexPositionLayout/>", "IndexLayout", first);
    row("end and beginning torn", one + "<Layout" + c_zeros + trade, "IndexLayout", first);
    row("beginning behind a torn end", one + "<Layout" + c_zeros + trade, "tradePanelGroup",
        { "window file 1/1" });
    row("both torn", c_zeros + window("4") + c_zeros, "", { "window lost 1/1: 4" });
    row("a seam that does not show", one + trade, "", { "window lost 2/2: 1 5" });
    row("filled beside such a seam", one + trade, "IndexLayout", { "window older copy 2/2: 1 2" });
    const QByteArray templates = one + "<LayoutTemplate name='x'/></LayoutTemplates>";
    row("windows beside templates", templates, "IndexLayout", first);
    row("templates beside windows", templates, "LayoutTemplates",
        { "template file 1/2", "template older copy 1/2: t" });
    const QStringList inner { "window file 2/4", "window older copy 1/4: 2", "window lost 1/4: 8" };
    const QByteArray eight = "<LayoutWindow panelgroup_id='8'><Dock>";
    row("within a torn one", one + eight + window("4") + c_zeros + "</IndexLayout>", "IndexLayout",
        inner);
    row("within two halves",
        one + "<LayoutWindow panelgroup_id='8'>" + window("4")
            + "</Dock></LayoutWindow></IndexLayout>",
        "IndexLayout", inner);
    row("of a group",
        one + "<itemLayout key='w'>" + window("1") + c_zeros + window("7")
            + "</itemLayout></ValuePanelGroupLayout></IndexPositionLayout>",
        "", {});
}

void tst_salvage::anEntryIsTheNearestSections()
{
    QFETCH(QByteArray, sections);
    QFETCH(QString, section);
    QFETCH(QStringList, rows);
    QCOMPARE(told(mend::salvage(file(sections), older()), section), rows);
}

void tst_salvage::listsAndGroupsAreTakenWhole_data()
{
    addColumns();
    const QByteArray list = "<CustomStock><Customs><Custom type='0'><Stock code='a'/></Custom>";
    row("lists",
        list + "<Custom type='1'><Stock code='\xff'/></Custom><Custom type='2'/></Customs>",
        "CustomStock", { "stock list file 2/4", "stock list older copy 2/4: 1 3" });
    row("a panel in a list", list + "<Custom type='2'><Panel/></Custom>", "CustomStock",
        { "stock list file 1/4", "stock list older copy 2/4: 1 3", "stock list lost 1/4: 2" });
    row("a list of a type that was there", list + "<Custom type='0'/>" + c_zeros, "CustomStock",
        { "stock list file 1/3", "stock list older copy 2/3: 1 3" });
    row("all lists of a torn section", list + "</Customs>" + c_zeros, "CustomStock",
        { "stock list file 1/1" });
    const QByteArray groups = "<IndexPositionLayout><FormulaPanelGroupLayout/>"
                              "<ValuePanelGroupLayout><itemLayout key='w'>"
        + window("1") + "</itemLayout><itemLayout key='none'/><itemLayout key='x'>";
    row("torn groups", groups, "IndexPositionLayout/ValuePanelGroupLayout",
        { "panel group file 1/3", "panel group older copy 1/3: v", "panel group lost 1/3: x" });
    row("whole groups beside", groups, "IndexPositionLayout/FormulaPanelGroupLayout",
        { "panel group file 0/0" });
}

void tst_salvage::listsAndGroupsAreTakenWhole()
{
    anEntryIsTheNearestSections();
}

void tst_salvage::ofListsOfATypeTheFirstIsTaken()
{
    const Salvage salvage = mend::salvage(
        file("<CustomStock><Customs><Custom type='0'><Stock code='a'/></Custom><Custom type='0'/>"
             + c_zeros),
        std::nullopt);
    QCOMPARE(salvage.records.stocks.value(0).size(), 1);
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
    QVERIFY(text.strUtf8.rfind("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n", 0) == 0);
    QVERIFY(recordsOf(QByteArray::fromStdString(text.strUtf8)) == KW::savedForm(records));
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
