#include "librarytest.h"

#include <format/savedtext_p.h>
#include <indexuser/servicerecords.h>
#include <inspect/optionvalues.h>
#include <inspect/userdifferences.h>
#include <inspect/userfile.h>

using inspect::UserRecords;

// What a file holds by meaning, how two of them differ, and options from text.
class tst_userrecords : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void recordsAreWhatTheServiceHolds_data();
    void recordsAreWhatTheServiceHolds();
    void theSavedFormIsWhatASaveLeaves_data();
    void theSavedFormIsWhatASaveLeaves();
    void whatIsReadBackAsItIsNeedsNoWriter();
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

void tst_userrecords::whatIsReadBackAsItIsNeedsNoWriter()
{
    QVERIFY(KW::isReadBackAsItIs(KW::savedForm(sample())));
    const char* const pszIn = "<FormulaCatalog>";
    const UserRecords windows = sample(pszIn, "<FormulaCatalog><LayoutWindow/>");
    QVERIFY(!KW::isReadBackAsItIs(KW::savedForm(windows)));
    const UserRecords unreadable = sample(pszIn, "<FormulaCatalog><a>&#xffff;</a>");
    QVERIFY(!KW::isReadBackAsItIs(unreadable));
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
