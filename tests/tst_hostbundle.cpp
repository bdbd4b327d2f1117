#include "librarytest.h"
#include "toolrun.h"

#include <platform/limits.h>

// From one user to another: all of it, or some parts, and never a secret.
class tst_hostbundle : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void allOfAUserGoesToANewOne();
    void whatTheOtherHasNotGoes();
    void onlyTheChosenPartsTravel_data();
    void onlyTheChosenPartsTravel();
    void partsAreChosenWhenABundleComesIn();
    void otherManagersGetTheirSectionsWordForWord();
    void aSecretNeitherLeavesNorGoes();
    void whatABundleDoesNotNameStays();
    void aDryRunTellsAndWritesNothing();
    void aBundleComesThroughAPipe();
    void aNewMachineGetsAFile();
    void whoHasCopiesIsNotNew();
    void whatIsNoBundleIsRefused_data();
    void whatIsNoBundleIsRefused();
    void aPartThatIsNotThereIsNamed();
    void aPartOfAnotherNameIsAWrongUsage();
    void whatIsReadOtherwiseIsRefused();
    void whatIsHardlyMeantIsRefused();
    void partsAreCompleted();

private:
    Outcome at(const QString& user, const QStringList& arguments,
               const QByteArray& input = {}) const;
    void require(const QString& user, const char* pszWords) const;
    QString file(const QString& user) const { return user + "/indexUserConfig.xml"; }
    QByteArray bytes(const QString& user) const { return readFile(userDir() + '/' + file(user)); }
    QStringList differingSections(const QString& left, const QString& right) const;
};

// A fresh user has what a client saves at first.
void tst_hostbundle::init()
{
    CLibraryTest::init();
    static QByteArray s_fresh;
    if (s_fresh.isEmpty()) {
        writeLive("<ICUserConfigFile/>");
        for (int i = 0; i < 2; ++i) { // the window that no windows stand for is saved then
            service().loadSettings();
            saveAndWait(service());
        }
        s_fresh = readFile(livePath());
    }
    for (const char* pszUser : { "old", "new" }) {
        QVERIFY(QDir(userDir()).mkdir(pszUser));
    }
    writeFile(userDir() + '/' + file("old"), readFile(SAMPLE_USER "/indexUserConfig.xml"));
    writeFile(userDir() + '/' + file("new"), s_fresh);
}

Outcome tst_hostbundle::at(const QString& user, const QStringList& arguments,
                           const QByteArray& input) const
{
    return runProgram(TOOL, QStringList { "--config-dir", user } + arguments, {}, userDir(), input);
}

void tst_hostbundle::require(const QString& user, const char* pszWords) const
{
    const Outcome outcome = at(user, QString::fromUtf8(pszWords).split(' '));
    QVERIFY2(outcome.nStatus == 0, qPrintable(pszWords + outcome.strErr));
}

// An element with all that is in it, attributes by name: read by Qt's own parser.
static QString textOf(const QDomElement& element)
{
    QStringList attributes;
    const auto map = element.attributes();
    for (int i = 0; i < map.size(); ++i) {
        attributes.append(map.item(i).nodeName() + '=' + map.item(i).nodeValue());
    }
    attributes.sort();
    QString strText = element.tagName() + '(' + attributes.join('|') + ')';
    for (QDomNode each = element.firstChild(); !each.isNull(); each = each.nextSibling()) {
        strText += each.isElement() ? '{' + textOf(each.toElement()) + '}' : each.nodeValue();
    }
    return strText;
}

static QMap<QString, QString> sectionsOf(const QByteArray& bytes)
{
    QMap<QString, QString> sections;
    const QDomElement root = parsed(QString::fromUtf8(bytes)).documentElement();
    for (QDomElement each = root.firstChildElement(); !each.isNull();
         each = each.nextSiblingElement()) {
        sections.insert(each.tagName(), textOf(each));
    }
    return sections;
}

// Without the oa password, which never travels.
QStringList tst_hostbundle::differingSections(const QString& left, const QString& right) const
{
    const QRegularExpression secret("oaPassword=[^|)]*[|]?");
    const auto leftSections = sectionsOf(bytes(left));
    const auto rightSections = sectionsOf(bytes(right));
    QStringList names = leftSections.keys() + rightSections.keys();
    names.removeDuplicates();
    QStringList differing;
    for (const QString& name : qAsConst(names)) {
        QString strLeft = leftSections.value(name);
        QString strRight = rightSections.value(name);
        if (strLeft.remove(secret) != strRight.remove(secret)) {
            differing.append(name);
        }
    }
    return differing;
}

void tst_hostbundle::allOfAUserGoesToANewOne()
{
    const QByteArray fresh = bytes("new");
    QVERIFY(differingSections("old", "new").size() > 10);
    QCOMPARE(at("new", { "check" }).nStatus, 0);
    require("old", "bundle export --out b.xml");
    const Outcome outcome = at("new", { "bundle", "import", "b.xml" });
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    QVERIFY(outcome.strOut.contains("Option/Settings@tickRestoreDay"));
    const Outcome diff = at("new", { "diff", file("old"), file("new"), "--json" });
    const auto changes
        = QJsonDocument::fromJson(diff.strOut.toUtf8()).object()["changes"].toArray();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes[0].toObject()["value"], QJsonValue("Option/Settings@oaPassword"));
    QCOMPARE(differingSections("old", "new"), QStringList());
    QCOMPARE(at("new", { "check" }).nStatus, 0);
    require("new", "undo");
    QCOMPARE(bytes("new"), fresh);
}

// Windows, groups, templates, lists and catalogues; a section that a client writes at times only is
// not in the bundle, and stays.
void tst_hostbundle::whatTheOtherHasNotGoes()
{
    const QByteArray before = bytes("old");
    require("new", "bundle export --out b.xml");
    require("old", "bundle import b.xml");
    QCOMPARE(differingSections("old", "new"), QStringList("strategyAlgoTrade"));
    require("old", "undo");
    QCOMPARE(bytes("old"), before);
}

void tst_hostbundle::onlyTheChosenPartsTravel_data()
{
    QTest::addColumn<QString>("parts");
    QTest::addColumn<QStringList>("sections");
    const QStringList options { "Option", "UserParams" };
    const QStringList layouts { "DefaultLayout", "IndexLayout", "IndexPositionLayout",
                                "tradePanelGroup" };
    QTest::newRow("options") << "options" << options;
    QTest::newRow("stocks") << "stocks" << QStringList("CustomStock");
    QTest::newRow("layouts") << "layouts" << layouts;
    QTest::newRow("templates") << "templates"
                               << QStringList({ "LayoutTemplates", "tradeLayoutTemplates" });
    QTest::newRow("sections") << "sections"
                              << QStringList({ "ExtendDataCatalog", "FormulaCatalog", "GroupIndex",
                                               "WindDataCatalog", "drawGraph",
                                               "externalDataCatalog", "interfaceTrade",
                                               "specialstrategydata", "strategyAlgoTrade",
                                               "strategyTrade" });
    QTest::newRow("two") << "stocks,options" << options + QStringList("CustomStock");
}

void tst_hostbundle::onlyTheChosenPartsTravel()
{
    QFETCH(QString, parts);
    QFETCH(QStringList, sections);
    const QByteArray fresh = bytes("new");
    require("old", qPrintable("bundle export --out b.xml --parts " + parts));
    require("new", "bundle import b.xml");
    const auto before = sectionsOf(fresh);
    const auto after = sectionsOf(bytes("new"));
    QStringList changed;
    for (auto it = after.begin(); it != after.end(); ++it) {
        if (before.value(it.key()) != *it) {
            changed.append(it.key());
        }
    }
    const QStringList other = differingSections("old", "new");
    for (const QString& section : sections) {
        QVERIFY2(!other.contains(section), qPrintable(section));
    }
    sections.sort();
    QCOMPARE(changed, sections);
}

void tst_hostbundle::partsAreChosenWhenABundleComesIn()
{
    require("old", "bundle export --out b.xml");
    require("new", "bundle import b.xml --parts stocks");
    require("old", "bundle export --out c.xml --parts stocks");
    const QByteArray some = bytes("new");
    require("new", "undo");
    require("new", "bundle import c.xml");
    QCOMPARE(sectionsOf(bytes("new")), sectionsOf(some));
    QVERIFY(some.contains("600519"));
    QVERIFY(!some.contains("2024-01-31 08:55:00"));
}

void tst_hostbundle::otherManagersGetTheirSectionsWordForWord()
{
    const QByteArray catalogue = "<FormulaCatalog version=\"3\"><F code=\"A:1;\">if a &lt; b"
                                 "<!-- mine --><![CDATA[x < y]]></F><?go on?></FormulaCatalog>";
    QByteArray text = bytes("old");
    const int nBegin = text.indexOf("<FormulaCatalog");
    const int nEnd = text.indexOf("</FormulaCatalog>") + 17;
    writeFile(userDir() + '/' + file("old"), text.replace(nBegin, nEnd - nBegin, catalogue));
    require("old", "bundle export --out b.xml --parts sections");
    require("new", "bundle import b.xml");
    QCOMPARE(sectionsOf(bytes("new"))["FormulaCatalog"], sectionsOf(text)["FormulaCatalog"]);
    QVERIFY(bytes("new").contains("<!-- mine -->") && bytes("new").contains("<?go on?>"));
}

void tst_hostbundle::aSecretNeitherLeavesNorGoes()
{
    writeFile(userDir() + "/secret", "kept-here\n");
    require("new", "option set oaPassword --from-file secret");
    require("old", "bundle export --out b.xml");
    QVERIFY(!readFile(userDir() + "/b.xml").contains("sample-only"));
    QVERIFY(!readFile(userDir() + "/b.xml").contains("oaPassword"));
    require("new", "bundle import b.xml");
    QVERIFY(bytes("new").contains("oaPassword=\"kept-here\""));
    // A whole file names one.
    require("new", "bundle import old/indexUserConfig.xml");
    QVERIFY(bytes("new").contains("oaPassword=\"kept-here\""));
}

void tst_hostbundle::whatABundleDoesNotNameStays()
{
    writeFile(userDir() + "/b.xml",
              "<ICUserConfigFile><!-- for all --><Option><Settings tickRestoreDay=\"9\"/></Option>"
              "</ICUserConfigFile>");
    const QByteArray before = bytes("old");
    const Outcome outcome = at("old", { "bundle", "import", "b.xml" });
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strErr,
             QString("indexuserctl: b.xml: 1 of what is in it nobody reads; 'check FILE' names "
                     "it\n"));
    QByteArray wanted = before;
    wanted.replace("tickRestoreDay=\"2\"", "tickRestoreDay=\"9\"");
    QVERIFY(wanted != before);
    QCOMPARE(sectionsOf(bytes("old")), sectionsOf(wanted));
}

void tst_hostbundle::aDryRunTellsAndWritesNothing()
{
    require("old", "bundle export --out b.xml");
    const QByteArray before = bytes("new");
    const Outcome outcome = at("new", { "bundle", "import", "b.xml", "--dry-run" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains("CustomStock/Customs/Custom[0]"));
    QCOMPARE(bytes("new"), before);
    QVERIFY(!QFile::exists(userDir() + "/new/History"));
    QCOMPARE(at("old", { "bundle", "export", "--out", "c.xml", "--dry-run" }).nStatus, 0);
    QVERIFY(!QFile::exists(userDir() + "/c.xml"));
}

void tst_hostbundle::aBundleComesThroughAPipe()
{
    const Outcome bundle = at("old", { "bundle", "export", "--parts", "stocks", "--out", "-" });
    QCOMPARE(bundle.nStatus, 0);
    QCOMPARE(at("new", { "bundle", "import", "-" }, bundle.strOut.toUtf8()).nStatus, 0);
    QVERIFY(!differingSections("old", "new").contains("CustomStock"));
}

void tst_hostbundle::aNewMachineGetsAFile()
{
    QVERIFY(QFile::remove(userDir() + '/' + file("new")));
    require("old", "bundle export --out bundle.xml");
    require("new", "bundle import bundle.xml --dry-run");
    QVERIFY(!QFile::exists(userDir() + '/' + file("new")));
    require("new", "bundle import bundle.xml");
    QCOMPARE(differingSections("old", "new"), QStringList());
    QVERIFY(bytes("new").contains("oaPassword=\"\""));
    QCOMPARE(at("new", { "check" }).nStatus, 0);
}

void tst_hostbundle::whoHasCopiesIsNotNew()
{
    require("old", "bundle export --out bundle.xml");
    require("new", "option set tickRestoreDay=7");
    QVERIFY(QFile::remove(userDir() + '/' + file("new")));
    QCOMPARE(at("new", { "bundle", "import", "bundle.xml" }).nStatus, 3);
    QVERIFY(!QFile::exists(userDir() + '/' + file("new")));
}

void tst_hostbundle::whatIsNoBundleIsRefused_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error");
    const QByteArray root = "<ICUserConfigFile>";
    const int nLevels = KW::c_nMaxDepth;
    QTest::newRow("nothing") << QByteArray() << "";
    QTest::newRow("torn") << root + "\n<Option>"
                          << "b.xml:2:";
    QTest::newRow("foreign") << QByteArray("<html/>") << "the root is 'html'";
    QTest::newRow("no section") << root + "</ICUserConfigFile>"
                                << "no part of a user is in it";
    QTest::newRow("deep") << root + "<drawGraph>" + QByteArray("<a>").repeated(nLevels)
            + QByteArray("</a>").repeated(nLevels) + "</drawGraph></ICUserConfigFile>"
                          << "nested deeper than 512 levels";
    QTest::newRow("another encoding") << root + "<drawGraph n=\"\xb9\xc9\"/></ICUserConfigFile>"
                                      << "not UTF-8";
}

void tst_hostbundle::whatIsNoBundleIsRefused()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, error);
    writeFile(userDir() + "/b.xml", text);
    const QByteArray before = bytes("new");
    for (const char* pszOption : { "--all", "--force", "--dry-run", "--json" }) {
        const Outcome outcome = at("new", { "bundle", "import", "b.xml", pszOption });
        QCOMPARE(outcome.nStatus, 4);
        QVERIFY2(outcome.strErr.contains(error), qPrintable(outcome.strErr));
    }
    QCOMPARE(bytes("new"), before);
}

void tst_hostbundle::aPartThatIsNotThereIsNamed()
{
    require("old", "bundle export --parts stocks --out b.xml");
    const Outcome outcome = at("new", { "bundle", "import", "b.xml", "--parts", "stocks,layouts" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strErr.contains("b.xml: there are no layouts in it"),
             qPrintable(outcome.strErr));
    QCOMPARE(at("new", { "bundle", "import", "none.xml" }).nStatus, 3);
}

void tst_hostbundle::aPartOfAnotherNameIsAWrongUsage()
{
    for (const char* pszParts : { "stock", "options,", "options,,stocks", " " }) {
        const Outcome outcome
            = at("old", { "bundle", "export", "--out", "b.xml", "--parts", pszParts });
        QCOMPARE(outcome.nStatus, 2);
        QVERIFY2(outcome.strErr.contains("there is no part '"), qPrintable(outcome.strErr));
    }
    QVERIFY(!QFile::exists(userDir() + "/b.xml"));
}

void tst_hostbundle::whatIsReadOtherwiseIsRefused()
{
    writeFile(userDir() + "/b.xml",
              "<ICUserConfigFile>\n<Option><Settings tickRestoreDay=\"two\"/></Option>"
              "</ICUserConfigFile>");
    const QByteArray before = bytes("new");
    const Outcome outcome = at("new", { "bundle", "import", "b.xml" });
    QCOMPARE(outcome.nStatus, 4);
    QVERIFY2(outcome.strErr.contains("b.xml:2: tickRestoreDay=\"two\" is no number and reads as 0; "
                                     "--force takes what is read of it"),
             qPrintable(outcome.strErr));
    QCOMPARE(bytes("new"), before);
    require("new", "bundle import b.xml --force");
    QCOMPARE(at("new", { "option", "get", "tickRestoreDay" }).strOut, QString("0\n"));
}

void tst_hostbundle::whatIsHardlyMeantIsRefused()
{
    writeFile(userDir() + "/b.xml",
              "<ICUserConfigFile>\n<Option><Settings oaAddress=\"a b\"/></Option>"
              "</ICUserConfigFile>");
    const Outcome outcome = at("new", { "bundle", "import", "b.xml" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(
        outcome.strErr.contains("oaAddress: 'a b' is not a host or a URL, or nothing; --force"),
        qPrintable(outcome.strErr));
    require("new", "bundle import b.xml --force");
}

void tst_hostbundle::partsAreCompleted()
{
    QCOMPARE(runTool({ "complete", "bundle", "export", "--parts", "o" }).strOut,
             QString("options\n"));
    QCOMPARE(runTool({ "complete", "bundle", "import", "--parts", "options,s" }).strOut,
             QString("options,stocks\noptions,sections\n"));
}

QTEST_GUILESS_MAIN(tst_hostbundle)
#include "tst_hostbundle.moc"
