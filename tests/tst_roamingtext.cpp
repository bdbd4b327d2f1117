#include "librarytest.h"

#include <format/sections.h>
#include <format/userdocument.h>
#include <inspect/layoutfit.h>
#include <inspect/userfile.h>
#include <inspect/userrecords.h>
#include <roaming/policy.h>
#include <roaming/roamingtext.h>

#include <QDirIterator>

using KW::ElementTree;
using roaming::Arrival;
using roaming::CArrangement;
using roaming::Rule;

namespace {

QDomDocument documentOf(const QByteArray& text)
{
    return KW::parseUserDocument(QString::fromUtf8(text)).document;
}

QByteArray sample()
{
    QFile file(SAMPLE_USER "/indexUserConfig.xml");
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Another user with another value in every section that the sample has.
QByteArray otherUser()
{
    QDomDocument doc = documentOf(sample());
    QDomElement root = doc.documentElement();
    for (QDomElement each = root.firstChildElement(); !each.isNull();
         each = each.nextSiblingElement()) {
        QDomElement inner = each.firstChildElement();
        (inner.isNull() ? each : inner).setAttribute("other", each.tagName() + "-of-another");
    }
    root.firstChildElement("Option").firstChildElement().setAttribute("oaPassword", "another's");
    return doc.toByteArray();
}

// As what leaves: comments and instructions stay.
ElementTree bare(ElementTree tree)
{
    QVector<ElementTree> children;
    for (const ElementTree& child : tree.children) {
        if (child.strName != "#comment" && !child.strName.startsWith('?')) {
            children.append(bare(child));
        }
    }
    tree.children = children;
    return tree;
}

ElementTree section(const QByteArray& text, const QString& name)
{
    return KW::elementTree(documentOf(text).documentElement().firstChildElement(name));
}

QVector<ElementTree> allSections(const QByteArray& text)
{
    QVector<ElementTree> all = KW::elementTree(documentOf(text).documentElement()).children;
    std::sort(all.begin(), all.end(),
              [](const auto& left, const auto& right) { return left.strName < right.strName; });
    return all;
}

QByteArray withAttribute(QByteArray text, const QString& sectionName, const QString& name,
                         const QString& value)
{
    QDomDocument doc = documentOf(text);
    doc.documentElement()
        .firstChildElement(sectionName)
        .firstChildElement()
        .setAttribute(name, value);
    return doc.toByteArray();
}

CArrangement screens(const QString& text)
{
    return CArrangement(inspect::screensFromText(text).screens);
}

QByteArray outgoing(const QByteArray& live)
{
    return roaming::outgoingText(live).value_or("none");
}

QByteArray arrived(const QByteArray& local, const Arrival& arrival)
{
    return roaming::arrivedText(local, arrival).value_or("none");
}

} // namespace

class tst_roamingtext : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void everySectionHasItsRule();
    void optionsOfTheSiteAndSecretsAreLocal();
    void theMirrorOfTheFileIsNoSetting();
    void heldAndUnknownSectionsStay();
    void localOptionsStay();
    void aSecretStaysWhereverItStands();
    void theSameSettingsAreTheSameBytes();
    void whatLeavesIsTheTreeThatStays_data();
    void whatLeavesIsTheTreeThatStays();
    void whatArrivesReplacesWhatRoams();
    void whatArrivesLeavesAsItCame_data();
    void whatArrivesLeavesAsItCame();
    void aNewMachineGetsAllThatRoams();
    void localOptionsSurviveATextWithoutOptions();
    void layoutsStayWhereNobodyToldTheScreens();
    void layoutsOfThisArrangementComeBack();
    void otherLayoutsAreBroughtOntoTheScreens();
    void anArrangementIsNamedInOneOrder();
    void aHeldSectionTravelsAlone();
    void whatIsNoUserFileNeitherLeavesNorArrives_data();
    void whatIsNoUserFileNeitherLeavesNorArrives();
};

void tst_roamingtext::everySectionHasItsRule()
{
    const QStringList byArrangement { "DefaultLayout", "IndexLayout", "IndexPositionLayout",
                                      "tradePanelGroup" };
    const QStringList held { "strategyTrade", "strategyAlgoTrade", "interfaceTrade",
                             "specialstrategydata" };
    QCOMPARE(roaming::sectionsWith(Rule::ByArrangement), byArrangement);
    QCOMPARE(roaming::sectionsWith(Rule::Held), held);
    const int nAll = static_cast<int>(KW::sections().size());
    QCOMPARE(roaming::sectionsWith(Rule::Roams).size(), nAll - 8);
    QCOMPARE(roaming::ruleOf("SomethingNew"), Rule::Local);
}

void tst_roamingtext::optionsOfTheSiteAndSecretsAreLocal()
{
    QStringList local;
    for (const KW::OptionRow& row : KW::optionTable()) {
        if (roaming::isLocalOption(row.strAttribute)) {
            local.append(row.strAttribute);
        }
    }
    local.sort();
    QCOMPARE(
        local,
        QStringList({ "oaAddress", "oaPassword", "oaTableName", "oaUser", "updateF10DateTime" }));
}

void tst_roamingtext::theMirrorOfTheFileIsNoSetting()
{
    QVERIFY(roaming::isLocalSetting("", "userconfig.xml"));
    QVERIFY(roaming::isLocalSetting("UiSettingConfig", "oaPassword"));
    QVERIFY(!roaming::isLocalSetting("UiSettingConfig", "theme"));
}

void tst_roamingtext::heldAndUnknownSectionsStay()
{
    const QByteArray live = "<ICUserConfigFile><!-- mine --><strategyTrade><s enabled=\"1\"/>"
                            "</strategyTrade><New a=\"1\"/><drawGraph><g/></drawGraph>"
                            "</ICUserConfigFile>";
    const QByteArray text = outgoing(live);
    QCOMPARE(allSections(text).size(), 1);
    QCOMPARE(section(text, "drawGraph"), section(live, "drawGraph"));
}

void tst_roamingtext::localOptionsStay()
{
    QByteArray live = sample();
    for (const char* const pszName : { "oaAddress", "oaUser", "oaTableName", "oaPassword" }) {
        live = withAttribute(live, "Option", pszName, QString("local-") + pszName);
    }
    live = withAttribute(live, "Option", "updateF10DateTime", "2024-01-31 00:00:00");
    const QByteArray text = outgoing(live);
    QVERIFY(live.contains("local-oaPassword"));
    QVERIFY(!text.contains("local-"));
    QVERIFY(!text.contains("updateF10DateTime"));
}

void tst_roamingtext::aSecretStaysWhereverItStands()
{
    const QByteArray live = "<ICUserConfigFile><drawGraph><g oaPassword=\"deep\" oaUser=\"not an "
                            "option here\"/></drawGraph></ICUserConfigFile>";
    const QByteArray text = outgoing(live);
    QVERIFY(!text.contains("deep"));
    const QByteArray byHand = "<ICUserConfigFile><Option><!-- oaPassword=\"hand\" --><Settings "
                              "OAPASSWORD=\"hand\"><oaPassword>hand</oaPassword></Settings>"
                              "</Option></ICUserConfigFile>";
    QVERIFY(!outgoing(byHand).contains("hand"));
    QVERIFY(outgoing(byHand).contains("<Settings"));
    QVERIFY(text.contains("not an option here"));
}

void tst_roamingtext::theSameSettingsAreTheSameBytes()
{
    const QByteArray first = outgoing(sample());
    QSet<QByteArray> saved;
    for (int i = 0; i < 20; ++i) {
        qSetGlobalQHashSeed(-1); // another one, as in another process
        const QByteArray text = documentOf(sample()).toByteArray(i % 5);
        QCOMPARE(outgoing(text), first);
        saved.insert(text);
    }
    QVERIFY(saved.size() > 5);
}

void tst_roamingtext::whatLeavesIsTheTreeThatStays_data()
{
    QTest::addColumn<QString>("path");
    for (const char* const pszFolder : { "/load", "/golden", "/inspect", "/fuzz" }) {
        QDirIterator files(QString(TEST_DATA) + pszFolder, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString strPath = files.next();
            QTest::newRow(qPrintable(QFileInfo(strPath).fileName())) << strPath;
        }
    }
}

void tst_roamingtext::whatLeavesIsTheTreeThatStays()
{
    QFETCH(QString, path);
    const QByteArray live = readFile(path);
    const inspect::UserFile file = inspect::userFileOf({ inspect::FileState::Whole, live, {} });
    const std::optional<QByteArray> text = roaming::outgoingText(live);
    if (file.state != inspect::FileState::Whole) {
        QVERIFY(!text);
        return;
    }
    if (live.contains('\0')) {
        QVERIFY(text && !text->contains('\0'));
        return;
    }
    QVERIFY(text);
    QCOMPARE(outgoing(*text), *text);
    QVector<ElementTree> expected;
    const auto all = allSections(live);
    for (const ElementTree& each : all) {
        const Rule rule = roaming::ruleOf(each.strName);
        if ((rule == Rule::Roams || rule == Rule::ByArrangement) && each.strName != "Option") {
            expected.append(bare(each));
        }
    }
    QVector<ElementTree> left = allSections(*text);
    left.erase(std::remove_if(left.begin(), left.end(),
                              [](const auto& each) { return each.strName == "Option"; }),
               left.end());
    QVERIFY(left == expected || live.contains("oaPassword"));
}

void tst_roamingtext::whatArrivesReplacesWhatRoams()
{
    const QByteArray local = withAttribute(sample(), "Option", "oaPassword", "mine");
    const QByteArray other = otherUser();
    const QByteArray made = arrived(local, { outgoing(other), std::nullopt, {} });
    for (const KW::Section& each : KW::sections()) {
        const bool bRoams = roaming::ruleOf(each.strName) == Rule::Roams;
        if (each.strName != "Option") {
            const ElementTree wanted = section(bRoams ? other : local, each.strName);
            QVERIFY2(section(made, each.strName) == (bRoams ? bare(wanted) : wanted),
                     qPrintable(each.strName));
        }
    }
    const ElementTree option = section(made, "Option").children.first();
    QCOMPARE(option.attribute("other"), QString("Option-of-another"));
    QCOMPARE(option.attribute("oaPassword"), QString("mine"));
    QCOMPARE(option.attribute("oaAddress"),
             section(local, "Option").children.first().attribute("oaAddress"));
}

void tst_roamingtext::whatArrivesLeavesAsItCame_data()
{
    whatLeavesIsTheTreeThatStays_data();
}

// Else a machine would send back what it has just got.
void tst_roamingtext::whatArrivesLeavesAsItCame()
{
    QFETCH(QString, path);
    const std::optional<QByteArray> text = roaming::outgoingText(readFile(path));
    if (text && !documentOf(*text).documentElement().firstChildElement("Option").isNull()) {
        const CArrangement here = screens("1920x1080+0+0");
        QCOMPARE(outgoing(arrived(sample(), { *text, *text, here })), *text);
    }
}

void tst_roamingtext::aNewMachineGetsAllThatRoams()
{
    const QByteArray text = outgoing(sample());
    const QByteArray made = arrived({}, { text, std::nullopt, {} });
    QCOMPARE(allSections(made), allSections(text));
}

void tst_roamingtext::localOptionsSurviveATextWithoutOptions()
{
    const QByteArray local = withAttribute(sample(), "Option", "oaPassword", "mine");
    const QByteArray text = "<ICUserConfigFile><drawGraph/></ICUserConfigFile>";
    const QByteArray made = arrived(local, { text, std::nullopt, {} });
    QCOMPARE(inspect::recordsOf(documentOf(made)).options.oaPassword, QString("mine"));
}

void tst_roamingtext::layoutsStayWhereNobodyToldTheScreens()
{
    const QByteArray text = outgoing(otherUser());
    const QByteArray made = arrived(sample(), { text, std::nullopt, {} });
    QCOMPARE(section(made, "IndexLayout"), section(sample(), "IndexLayout"));
}

void tst_roamingtext::layoutsOfThisArrangementComeBack()
{
    const QByteArray here = withAttribute(sample(), "IndexLayout", "left", "77");
    const QByteArray made
        = arrived(otherUser(), { outgoing(sample()), outgoing(here), screens("800x600+0+0") });
    QCOMPARE(section(made, "IndexLayout"), section(here, "IndexLayout"));
    QCOMPARE(section(made, "CustomStock"), section(sample(), "CustomStock"));
}

void tst_roamingtext::otherLayoutsAreBroughtOntoTheScreens()
{
    const CArrangement small = screens("1024x768+0+0");
    const QByteArray made = arrived({}, { outgoing(sample()), std::nullopt, small });
    const auto before = inspect::layoutsOf(inspect::recordsOf(documentOf(sample())));
    const auto after = inspect::layoutsOf(inspect::recordsOf(documentOf(made)));
    QCOMPARE(after.size(), before.size());
    for (int i = 0; i < after.size(); ++i) {
        QVERIFY(inspect::allFit(inspect::fitted(after[i].windows, small.screens())));
        QCOMPARE(after[i].windows.size(), before[i].windows.size());
        for (int n = 0; n < after[i].windows.size(); ++n) {
            const auto& was = before[i].windows[n];
            const auto& is = after[i].windows[n];
            QCOMPARE(is.m_nPanelGroupId, was.m_nPanelGroupId);
            QCOMPARE(is.m_strNavTree, was.m_strNavTree);
            QCOMPARE(is.m_bMaximized, was.m_bMaximized);
            QCOMPARE(KW::panelTree(is), KW::panelTree(was));
        }
    }
    QCOMPARE(section(made, "LayoutTemplates"), section(sample(), "LayoutTemplates"));
}

void tst_roamingtext::anArrangementIsNamedInOneOrder()
{
    using Screens = QVector<roaming::ArrangedScreen>;
    const roaming::ArrangedScreen left { { 0, 0, 1920, 1080 }, 1.0 };
    const roaming::ArrangedScreen right { { 1920, 0, 2560, 1440 }, 1.5 };
    const QString strName = "1920x1080@0,0*1;2560x1440@1920,0*1.5";
    QCOMPARE(CArrangement(Screens { left, right }).name(), strName);
    QCOMPARE(CArrangement(Screens { right, left }).name(), strName);
    QVERIFY(!CArrangement().isKnown());
}

void tst_roamingtext::aHeldSectionTravelsAlone()
{
    const QByteArray live = "<ICUserConfigFile><strategyTrade><s id=\"1\"/></strategyTrade>"
                            "<drawGraph/></ICUserConfigFile>";
    const auto held = roaming::heldText(live, "strategyTrade");
    QVERIFY(held);
    QCOMPARE(allSections(*held), QVector<ElementTree> { section(live, "strategyTrade") });
    const auto made = roaming::withHeld(sample(), *held);
    QVERIFY(made);
    QCOMPARE(section(*made, "strategyTrade"), section(live, "strategyTrade"));
    QCOMPARE(section(*made, "drawGraph"), section(sample(), "drawGraph"));
    QVERIFY(!roaming::heldText(live, "interfaceTrade"));
}

void tst_roamingtext::whatIsNoUserFileNeitherLeavesNorArrives_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("cut") << sample().left(2000);
    QTest::newRow("another root") << QByteArray("<Other/>");
    QTest::newRow("GBK") << QByteArray("<ICUserConfigFile><a b=\"\xd0\xd0\"/></ICUserConfigFile>");
}

void tst_roamingtext::whatIsNoUserFileNeitherLeavesNorArrives()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(!roaming::outgoingText(bytes));
    QVERIFY(!roaming::arrivedText(sample(), { bytes, std::nullopt, {} }));
    QVERIFY(bytes.isEmpty() || !roaming::arrivedText(bytes, { sample(), std::nullopt, {} }));
}

QTEST_GUILESS_MAIN(tst_roamingtext)
#include "tst_roamingtext.moc"
