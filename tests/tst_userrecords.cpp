#include "librarytest.h"
#include "usermutator.h"

#include <format/sections.h>
#include <format/userdocument.h>
#include <indexuser/servicerecords.h>
#include <inspect/optionvalues.h>
#include <inspect/userdifferences.h>
#include <inspect/userfile.h>

using inspect::UserRecords;

namespace {

// Of sections of others those that a save asks for, the first of each name.
UserRecords withFirstSections(UserRecords records)
{
    QMap<QString, KW::ElementTree> first;
    for (const KW::ElementTree& each : qAsConst(records.sections)) {
        const KW::Section* const pSection = KW::findSection(each.strName);
        if (pSection != nullptr && pSection->owner == KW::SectionOwner::Managers
            && !first.contains(each.strName)) {
            first.insert(each.strName, each);
        }
    }
    records.sections = QVector<KW::ElementTree>(first.begin(), first.end());
    return records;
}

// Its end is beyond the 512 levels of a file in some places, and not in others.
QByteArray deepTree(int levels)
{
    QByteArray tree = "t";
    for (int i = 0; i < levels; ++i) {
        tree = "<d>" + tree + "<e/>u</d>";
    }
    return tree;
}

// The sample with some things in it that no file keeps as they are.
QByteArray oddUser(QByteArray user, quint32 seed)
{
    static const QVector<QByteArray> s_snippets {
        deepTree(509),
        deepTree(508),
        deepTree(507),
        deepTree(506),
        "&foo;",
        " &foo; ",
        "a&foo;b",
        "&#xfffe;",
        "<?pi x?>&#xffff;b",
        "a<!-- c -->b",
        "<a b='&#xfffe;x'/>",
        "<Option><x oaUser='o'/></Option>",
        "<Customs><Custom type='3'><Stock code='1'/></Custom></Customs>",
        "<FormulaPanelGroupLayout><itemLayout key='6000'><LayoutWindow/></itemLayout>"
        "</FormulaPanelGroupLayout>",
        "<UserParams m_bFormulaFunctionTreeExpand='1'/>",
        "<IndexLayout><DockArea/></IndexLayout>",
        "<LayoutTemplate><LayoutWindowTemplate><Dock/></LayoutWindowTemplate></LayoutTemplate>",
    };
    QRandomGenerator random(seed);
    for (int i = random.bounded(1, 5); i > 0; --i) {
        const int nPlace = user.indexOf('>', random.bounded(user.size() - 100)) + 1;
        user.insert(nPlace, s_snippets[random.bounded(s_snippets.size())]);
    }
    return CUserMutator(user, seed).mutant();
}

// What one file takes for its own, others do not: readers find the parts of one in another.
UserRecords mixed(UserRecords records, const UserRecords& other, const UserRecords& plain)
{
    const UserRecords was = records;
    records.options = plain.options;
    records.stocks = plain.stocks;
    records.bFunctionTreeExpand = plain.bFunctionTreeExpand;
    records.sections = other.sections;
    records.layouts.m_formulaPanelSettings = other.layouts.m_formulaPanelSettings;
    records.layouts.m_quoteGroupSetting = plain.layouts.m_quoteGroupSetting;
    for (KW::CPanelGroupLayoutSetting& group : records.layouts.m_valuePanelSettings) {
        group.m_windows += other.layouts.m_defaultLayoutSetting.m_windows;
    }
    for (KW::CLayoutTemplate& each : records.layouts.m_tradeTemplates) {
        each.m_windows += was.layouts.m_quoteGroupSetting.m_windows;
    }
    return records;
}

UserRecords writtenAndRead(const UserRecords& records)
{
    QDomDocument doc = KW::documentOf(records);
    const QString strText = QString::fromStdString(KW::userDocumentText(doc).strUtf8);
    return inspect::recordsOf(KW::parseUserDocument(strText).document);
}

} // namespace

// What a file holds by meaning, how two of them differ, and options from text.
class tst_userrecords : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void recordsAreWhatTheServiceHolds_data();
    void recordsAreWhatTheServiceHolds();
    void theSavedFormIsWhatASaveLeaves_data();
    void theSavedFormIsWhatASaveLeaves();
    void theSavedFormIsWhatWriterAndReaderMake();
    void howAValueIsWrittenDoesNotCount();
    void differencesHaveTheirPart_data();
    void differencesHaveTheirPart();
    void orderCountsWhereTheEntriesAreTheSame();
    void everyOptionIsSetFromItsText();

private:
    static UserRecords sample(const char* pszFrom = "", const char* pszTo = "");
};

UserRecords tst_userrecords::sample(const char* pszFrom, const char* pszTo)
{
    QByteArray content = readFile(SAMPLE_USER "/indexUserConfig.xml");
    if (*pszFrom != '\0') {
        if (!content.contains(pszFrom)) {
            qFatal("the sample does not hold %s", pszFrom);
        }
        content.replace(pszFrom, pszTo);
    }
    return inspect::recordsOf(parsed(QString::fromUtf8(content)));
}

void tst_userrecords::recordsAreWhatTheServiceHolds_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("sample") << SAMPLE_USER "/indexUserConfig.xml";
    const QFileInfoList files = QDir(TEST_DATA "/load").entryInfoList({ "*.xml" });
    for (const QFileInfo& file : files) {
        QTest::newRow(qPrintable(file.fileName())) << file.filePath();
    }
}

void tst_userrecords::recordsAreWhatTheServiceHolds()
{
    QFETCH(QString, path);
    writeLive(readFile(path));
    service().loadSettings();
    const QDomDocument file = inspect::readUserFile(path).document;
    QVERIFY(inspect::recordsOf(file) == KW::recordsOf(service(), KW::otherSections(file)));
    QCOMPARE(inspect::summary(inspect::differences(
                 inspect::recordsOf(file), KW::recordsOf(service(), KW::otherSections(file)))),
             QString("none"));
}

void tst_userrecords::theSavedFormIsWhatASaveLeaves_data()
{
    recordsAreWhatTheServiceHolds_data();
}

void tst_userrecords::theSavedFormIsWhatASaveLeaves()
{
    QFETCH(QString, path);
    writeLive(readFile(path));
    const UserRecords before = inspect::recordsOf(inspect::readUserFile(path).document);
    service().loadSettings();
    saveAndWait(service());
    const UserRecords after = inspect::recordsOf(inspect::readUserFile(livePath()).document);
    for (const auto& each : inspect::differences(inspect::savedForm(before), after)) {
        QFAIL(qPrintable(inspect::toText(each)));
    }
    QVERIFY(inspect::savedForm(before) == after);
}

// Told by the two that the saved form knows nothing of.
void tst_userrecords::theSavedFormIsWhatWriterAndReaderMake()
{
    int nChanged = 0;
    UserRecords last;
    for (int i = 0; i < 500; ++i) {
        const QByteArray mutant = oddUser(readFile(SAMPLE_USER "/indexUserConfig.xml"), i);
        const KW::UserDocument file = KW::parseUserDocument(QString::fromUtf8(mutant));
        if (!file.isValid()) {
            continue;
        }
        const UserRecords read = withFirstSections(inspect::recordsOf(file.document));
        const UserRecords before = i % 2 == 0 ? read : mixed(read, last, sample());
        last = read;
        const UserRecords after = writtenAndRead(before);
        for (const auto& each : inspect::differences(inspect::savedForm(before), after)) {
            QWARN(qPrintable(inspect::toText(each)));
        }
        QVERIFY2(inspect::savedForm(before) == after, mutant.constData());
        nChanged += before == after ? 0 : 1;
    }
    QVERIFY2(nChanged > 100, qPrintable(QString::number(nChanged)));
}

void tst_userrecords::howAValueIsWrittenDoesNotCount()
{
    QVERIFY(inspect::differences(sample(), sample("tickRestoreDay=\"2\"", "tickRestoreDay=' +2'"))
                .isEmpty());
    QVERIFY(inspect::differences(sample(), sample("<CustomIndex/>", "<!-- empty --><Other/>"))
                .isEmpty());
    QVERIFY(inspect::differences(sample(), sample("<CustomIndex/>", "")).isEmpty());
    const auto records = [](const char* pszSections) {
        return inspect::recordsOf(parsed(QStringLiteral("<r>%1</r>").arg(pszSections)));
    };
    QVERIFY(inspect::differences(records("<a x='1'/><b y='1'/>"), records("<b y='1'/><a x='1'/>"))
                .isEmpty());
}

void tst_userrecords::differencesHaveTheirPart_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<QString>("found");
    const auto row = [](const char* pszFrom, const char* pszTo, const char* pszFound) {
        QTest::newRow(pszFound) << QByteArray(pszFrom) << QByteArray(pszTo) << pszFound;
    };
    row("tickRestoreDay=\"2\"", "tickRestoreDay=\"3\"",
        "options Option/Settings@tickRestoreDay: \"2\" -> \"3\"");
    row("m_bFormulaFunctionTreeExpand=\"1\"", "m_bFormulaFunctionTreeExpand=\"0\"",
        "options UserParams@m_bFormulaFunctionTreeExpand: \"1\" -> \"0\"");
    row("name=\"宁德时代\"", "name=\"宁德\"",
        "stocks CustomStock/Customs/Custom[0]/Stock[SZ300750]@name: \"宁德时代\" -> \"宁德\"");
    row("left=\"-960\"", "left=\"-840\"",
        "layouts IndexLayout/LayoutWindow[103]@left: \"-960\" -> \"-840\"");
    row("<LayoutTemplate name=\"期权\">", "<LayoutTemplate name=\"期货\">",
        "templates LayoutTemplates/LayoutTemplate[期权]: \"\" -> (absent)");
    row("slices=\"24\"", "slices=\"25\"",
        "sections strategyAlgoTrade/Algo[TWAP]@slices: \"24\" -> \"25\"");
}

void tst_userrecords::differencesHaveTheirPart()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(QString, found);
    QStringList texts;
    for (const auto& each :
         inspect::differences(sample(), sample(from.constData(), to.constData()))) {
        texts.append(KW::partName(each.part) + ' ' + inspect::toText(each));
    }
    QVERIFY2(texts.contains(found), qPrintable(texts.join('\n')));
}

void tst_userrecords::orderCountsWhereTheEntriesAreTheSame()
{
    const char* pszFirst = "<Stock market=\"CFFEX\" code=\"IF2406\" name=\"沪深300股指2406\"/>";
    const char* pszSecond = "<Stock market=\"SHFE\" code=\"au2408\" name=\"沪金2408\"/>";
    const QByteArray both = QByteArray(pszFirst) + "\n                " + pszSecond;
    const QByteArray swapped = QByteArray(pszSecond) + pszFirst;
    const auto found
        = inspect::differences(sample(), sample(both.constData(), swapped.constData()));
    QCOMPARE(found.size(), 1);
    QCOMPARE(inspect::pathOf(found[0]), QString("CustomStock/Customs/Custom[2]@(order)"));
    QCOMPARE(inspect::differences(sample(), sample(pszFirst, "")).size(), 1);
}

void tst_userrecords::everyOptionIsSetFromItsText()
{
    KW::paramSettingForClient options;
    for (const KW::OptionRow& row : KW::optionTable()) {
        const QString strError = inspect::setOption(options, row.strAttribute, "1");
        QCOMPARE(strError.isEmpty(), row.saved == KW::OptionSaved::Yes);
        if (strError.isEmpty()) {
            QCOMPARE(inspect::optionText(options, row), QString("1"));
        }
    }
}

QTEST_GUILESS_MAIN(tst_userrecords)
#include "tst_userrecords.moc"
