#include "librarytest.h"
#include "toolrun.h"

#include <inspect/patch.h>
#include <mend/userlock.h>
#include <platform/limits.h>

#include <thread>

// What differs between two users, taken to a third one.
class tst_hostpatch : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aPatchMakesOneUserIntoTheOther();
    void aPatchGoesOntoAUserWhoDiffersElsewhere();
    void aDryRunTellsAndWritesNothing();
    void whatIsThereAlreadyIsNoEdit();
    void whatNoLongerFitsIsRefused_data();
    void whatNoLongerFitsIsRefused();
    void whatIsSavedBeforeTheLockIsTakenIsJudged();
    void aSecretDoesNotTravel();
    void whatDoesNotTravelIsTold();
    void everythingThatDoesNotTravelIsTold_data();
    void everythingThatDoesNotTravelIsTold();
    void whatNobodyCouldBeGivenIsLeftOut_data();
    void whatNobodyCouldBeGivenIsLeftOut();
    void aChangedTemplateKeepsItsPlace();
    void severalTemplatesOfANameAreLeftAlone();
    void aTemplateReadsAsXmlDoes();
    void aTemplateThatNoFileHoldsWholeIsRefused();
    void whatIsMadeOtherwiseIsNamed();
    void aPatchComesFromStandardInput();
    void aBrokenPatchIsRefused_data();
    void aBrokenPatchIsRefused();
    void aTemplateThatIsNoneIsRefused_data();
    void aTemplateThatIsNoneIsRefused();

private:
    Outcome at(const QString& user, const QStringList& arguments,
               const QByteArray& input = {}) const;
    void change(const QString& user, const char* pszWords) const;
    QString file(const QString& user) const { return user + "/indexUserConfig.xml"; }
    QByteArray bytes(const QString& user) const { return readFile(userDir() + '/' + file(user)); }
    void makePatch() const;
    void replace(const QString& user, const QByteArray& before, const QByteArray& after) const;
    QStringList leftOut() const;
    void requireRefused(const QByteArray& patch, const QString& error) const;
};

void tst_hostpatch::init()
{
    CLibraryTest::init();
    for (const char* pszUser : { "old", "new", "third" }) {
        QVERIFY(QDir(userDir()).mkdir(pszUser));
        writeFile(userDir() + '/' + file(pszUser), readFile(SAMPLE_USER "/indexUserConfig.xml"));
    }
    static QByteArray s_new; // made once, since seven edits take longer than a test
    if (s_new.isEmpty()) {
        for (const char* pszWords :
             { "option set tickRestoreDay=7 oaUser=张三", "stock add 7 SH 601012 隆基",
               "stock remove 0 SH 600519", "stock add 9 SZ 1 n", "template delete 早盘",
               "template save new", "template delete --trade 双账户" }) {
            change("new", pszWords);
        }
        s_new = bytes("new");
    }
    writeFile(userDir() + '/' + file("new"), s_new);
}

Outcome tst_hostpatch::at(const QString& user, const QStringList& arguments,
                          const QByteArray& input) const
{
    return runProgram(TOOL, QStringList { "--config-dir", user } + arguments, {}, userDir(), input);
}

void tst_hostpatch::change(const QString& user, const char* pszWords) const
{
    const Outcome outcome = at(user, QString::fromUtf8(pszWords).split(' '));
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
}

void tst_hostpatch::makePatch() const
{
    const Outcome outcome = at("third", { "diff", file("old"), file("new"), "--patch", "p.json" });
    QVERIFY2(outcome.nStatus == 1, qPrintable(outcome.strErr));
}

void tst_hostpatch::replace(const QString& user, const QByteArray& before,
                            const QByteArray& after) const
{
    QByteArray text = bytes(user);
    QVERIFY(text.contains(before));
    writeFile(userDir() + '/' + file(user), text.replace(before, after));
}

// Of the patch that was made last.
QStringList tst_hostpatch::leftOut() const
{
    const QJsonObject patch = QJsonDocument::fromJson(readFile(userDir() + "/p.json")).object();
    return patch["leftOut"].toVariant().toStringList();
}

// One text of XML in a patch.
static QByteArray templatePatch(const QByteArray& xml)
{
    const QJsonObject change { { "part", "template" },
                               { "name", "n" },
                               { "before", QJsonValue() },
                               { "after", QString::fromUtf8(xml) } };
    return QJsonDocument(QJsonObject { { "patch", 1 }, { "changes", QJsonArray { change } } })
        .toJson();
}

static QByteArray windowOf(const QByteArray& content, const QByteArray& attribute = {})
{
    return R"(<templates><LayoutTemplate name="n"><LayoutWindowTemplate screen_id="1" )"
           R"(is_main="0" maximized="0" left="1" top="2" width="30" height="40" )"
           R"(panelgroup_id="5" )"
        + attribute + '>' + content + "</LayoutWindowTemplate></LayoutTemplate></templates>";
}

static QByteArray nested(int levels)
{
    return QByteArray("<a>").repeated(levels) + QByteArray("</a>").repeated(levels);
}

void tst_hostpatch::requireRefused(const QByteArray& patch, const QString& error) const
{
    writeFile(userDir() + "/p.json", patch);
    const Outcome outcome = at("third", { "apply", "p.json" });
    QVERIFY2(outcome.nStatus == 4, qPrintable(outcome.strErr));
    QVERIFY2(outcome.strErr.contains(error), qPrintable(outcome.strErr));
    for (const char* pszOption : { "--json", "--dry-run", "--force" }) {
        QCOMPARE(at("third", { "apply", "p.json", pszOption }).nStatus, 4);
    }
    QCOMPARE(bytes("third"), bytes("old"));
}

void tst_hostpatch::aPatchMakesOneUserIntoTheOther()
{
    makePatch();
    const Outcome outcome = at("third", { "apply", "p.json" });
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    QVERIFY(outcome.strOut.contains("Option/Settings@tickRestoreDay"));
    const Outcome diff = at("third", { "diff", file("new"), file("third") });
    QVERIFY2(diff.nStatus == 0, qPrintable(diff.strOut));
    QCOMPARE(at("third", { "undo" }).nStatus, 0);
    QCOMPARE(bytes("third"), bytes("old"));
}

void tst_hostpatch::aPatchGoesOntoAUserWhoDiffersElsewhere()
{
    change("third", "option set showGradient=0");
    change("third", "stock add 2 SH 600000");
    makePatch();
    QCOMPARE(at("third", { "apply", "p.json" }).nStatus, 0);
    QCOMPARE(at("third", { "option", "get", "showGradient" }).strOut, QString("0\n"));
    QCOMPARE(at("third", { "option", "get", "tickRestoreDay" }).strOut, QString("7\n"));
    QVERIFY(at("third", { "stock", "list", "2" }).strOut.contains("600000"));
}

void tst_hostpatch::aDryRunTellsAndWritesNothing()
{
    makePatch();
    const Outcome outcome = at("third", { "apply", "p.json", "--dry-run" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains(QRegularExpression("option +tickRestoreDay +fits\n")));
    QVERIFY(outcome.strOut.contains(QRegularExpression("stocks +7 +fits\n")));
    QVERIFY(outcome.strOut.contains(QRegularExpression("trade template +双账户 +fits\n")));
    QCOMPARE(bytes("third"), bytes("old"));
    QVERIFY(!QFile::exists(userDir() + "/third/Temp"));
}

void tst_hostpatch::whatIsThereAlreadyIsNoEdit()
{
    makePatch();
    const QByteArray before = bytes("new");
    const Outcome outcome = at("new", { "apply", "p.json" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains("there already"));
    QVERIFY(outcome.strOut.contains("No differences"));
    QCOMPARE(bytes("new"), before);
}

void tst_hostpatch::whatNoLongerFitsIsRefused_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("conflict");
    QTest::newRow("option") << "option set tickRestoreDay=5"
                            << "option tickRestoreDay";
    QTest::newRow("list") << "stock add 7 SZ 2 n"
                          << "stocks 7";
    QTest::newRow("new list") << "stock add 9 SZ 2 n"
                              << "stocks 9";
    QTest::newRow("template") << "template save 早盘"
                              << "template 早盘";
    QTest::newRow("trade template") << "template save --trade 双账户"
                                    << "trade template 双账户";
}

void tst_hostpatch::whatNoLongerFitsIsRefused()
{
    QFETCH(QString, words);
    QFETCH(QString, conflict);
    makePatch();
    change("third", words.toUtf8().constData());
    const QByteArray before = bytes("third");
    const Outcome outcome = at("third", { "apply", "p.json" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strErr.contains(": " + conflict + "; --force "), qPrintable(outcome.strErr));
    QCOMPARE(bytes("third"), before);
    QCOMPARE(at("third", { "apply", "p.json", "--force" }).nStatus, 0);
    const Outcome diff = at("third", { "diff", file("new"), file("third") });
    QVERIFY2(diff.nStatus == 0, qPrintable(diff.strOut));
}

void tst_hostpatch::whatIsSavedBeforeTheLockIsTakenIsJudged()
{
    makePatch();
    change("old", "stock add 7 SZ 2 n");
    const QByteArray saved = bytes("old");
    auto pLock = std::make_unique<mend::CUserLock>(userDir() + "/third");
    QCOMPARE(pLock->take(0), mend::LockState::Taken);
    std::thread other([&] {
        QThread::msleep(500); // the tool waits by then
        writeFile(userDir() + '/' + file("third"), saved);
        pLock.reset();
    });
    const Outcome outcome = at("third", { "apply", "--wait", "30", "p.json" });
    other.join();
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strErr.contains(": stocks 7; --force "), qPrintable(outcome.strErr));
    QVERIFY(outcome.strOut.contains(QRegularExpression("stocks +7 +conflict\n")));
    QCOMPARE(bytes("third"), saved);
}

void tst_hostpatch::aSecretDoesNotTravel()
{
    change("new", "option set oaPassword=hidden-one");
    makePatch();
    const QByteArray patch = readFile(userDir() + "/p.json");
    QVERIFY(patch.contains("tickRestoreDay"));
    QVERIFY(!patch.contains("hidden-one") && !patch.contains("sample-only"));
    const Outcome outcome = at("third", { "diff", file("old"), file("new"), "--patch", "q.json" });
    QVERIFY2(outcome.strOut.contains("\nleft out: options 1\n"), qPrintable(outcome.strOut));
}

void tst_hostpatch::whatDoesNotTravelIsTold()
{
    change("new", "template apply 期权");
    const Outcome outcome = at("third", { "diff", file("old"), file("new"), "--patch", "p.json" });
    QVERIFY2(outcome.strOut.contains(QRegularExpression("\nleft out: layouts \\d+\n")),
             qPrintable(outcome.strOut));
    const QJsonObject patch = QJsonDocument::fromJson(readFile(userDir() + "/p.json")).object();
    QCOMPARE(patch["leftOut"].toArray().size(), 1);
}

void tst_hostpatch::everythingThatDoesNotTravelIsTold_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<QString>("told");
    const auto row = [](const char* pszName, const char* pszBefore, const char* pszAfter,
                        const char* pszTold) {
        QTest::newRow(pszName) << QByteArray(pszBefore) << QByteArray(pszAfter) << QString(pszTold);
    };
    row("of the user", "FunctionTreeExpand=\"1\"", "FunctionTreeExpand=\"0\"", "options 1");
    row("never saved", "<Settings ", "<Settings updateposition=\"7\" ", "options 1");
    row("order", R"(<LayoutTemplate name="期权">)",
        R"(<LayoutTemplate name="z"/><LayoutTemplate name="期权">)", "the order of templates");
    row("trade order", R"(<tradeLayoutTemplate name="双账户">)",
        R"(<tradeLayoutTemplate name="z"/><tradeLayoutTemplate name="双账户">)",
        "the order of trade templates");
    row("at the end", "</LayoutTemplates>",
        R"(<LayoutTemplate name="b"/><LayoutTemplate name="a"/></LayoutTemplates>)", "");
}

void tst_hostpatch::everythingThatDoesNotTravelIsTold()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    QFETCH(QString, told);
    writeFile(userDir() + '/' + file("new"), bytes("old"));
    replace("new", before, after);
    makePatch();
    QCOMPARE(leftOut().join('|'), told);
    QCOMPARE(at("third", { "apply", "p.json" }).nStatus, 0);
    const Outcome diff = at("third", { "diff", file("new"), file("third") });
    QVERIFY2(diff.nStatus == (told.isEmpty() ? 0 : 1), qPrintable(diff.strOut));
}

void tst_hostpatch::whatNobodyCouldBeGivenIsLeftOut_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<QString>("told");
    const auto row = [](const char* pszName, const char* pszBefore, const char* pszAfter,
                        const char* pszTold) {
        QTest::newRow(pszName) << QByteArray(pszBefore) << QByteArray(pszAfter) << QString(pszTold);
    };
    row("option", "oaUser=\"张三\"", "oaUser=\"a&#x200f;b\"",
        "option oaUser: the text holds a control character");
    row("list", R"(<Custom type="1">)", R"(<Custom type="1"><Stock market="SH" code="" name=""/>)",
        "stocks 1: a stock without code");
    row("name of a stock", R"(<Custom type="1">)",
        R"(<Custom type="1"><Stock market="SH" code="1" name="&#x200f;"/>)",
        "stocks 1: a stock holds a control character");
    row("template", "name=\"new\"", "name=\"a&#x200f;\"",
        "template a\u200f: the name holds a control character");
    row("template without name", "name=\"new\"", "name=\"\"", "template : the name is empty");
    row("several", "name=\"单屏 &quot;夜&quot;\"", "name=\"new\"",
        "template new: several have this name");
}

void tst_hostpatch::whatNobodyCouldBeGivenIsLeftOut()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    QFETCH(QString, told);
    replace("new", before, after);
    makePatch();
    QCOMPARE(leftOut(), QStringList(told));
    const Outcome outcome = at("third", { "apply", "p.json" });
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
}

void tst_hostpatch::aChangedTemplateKeepsItsPlace()
{
    for (const char* pszUser : { "old", "third", "new" }) {
        writeFile(userDir() + '/' + file(pszUser), readFile(SAMPLE_USER "/indexUserConfig.xml"));
    }
    replace("new", R"(top="60" width="1800" height="900" panelgroup_id)",
            R"(top="61" width="1800" height="900" panelgroup_id)");
    replace("third", R"(<LayoutTemplate name="单屏)", R"(<LayoutTemplate name="z"/>
        <LayoutTemplate name="单屏)");
    makePatch();
    QCOMPARE(leftOut(), QStringList());
    const Outcome outcome = at("third", { "apply", "p.json" });
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    replace("new", R"(<LayoutTemplate name="单屏)", R"(<LayoutTemplate name="z"/>
        <LayoutTemplate name="单屏)");
    const Outcome diff = at("third", { "diff", file("new"), file("third") });
    QVERIFY2(diff.nStatus == 0, qPrintable(diff.strOut));
}

void tst_hostpatch::severalTemplatesOfANameAreLeftAlone()
{
    makePatch();
    replace("third", "name=\"期权\"", "name=\"早盘\"");
    const QByteArray before = bytes("third");
    QCOMPARE(at("third", { "apply", "p.json" }).nStatus, 1);
    const Outcome forced = at("third", { "apply", "p.json", "--force" });
    QCOMPARE(forced.nStatus, 1);
    QVERIFY2(forced.strErr.contains("there are several templates '早盘'"),
             qPrintable(forced.strErr));
    QCOMPARE(bytes("third"), before);
}

// Another program may write a patch in its own way.
void tst_hostpatch::aTemplateReadsAsXmlDoes()
{
    const QByteArray area = R"(<DockArea a='1' b="&#65;">)"
                            "\n  <Panel name='p'/></DockArea>";
    writeFile(userDir() + "/p.json", templatePatch(windowOf(area)));
    const Outcome outcome = at("third", { "apply", "p.json" });
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    QVERIFY(bytes("third").contains(R"(<Panel name="p"/>)"));
    QVERIFY(at("third", { "apply", "p.json" }).strOut.contains("there already"));
}

// In a file it stands a level deeper.
void tst_hostpatch::aTemplateThatNoFileHoldsWholeIsRefused()
{
    const auto applied = [&](int levels) {
        writeFile(userDir() + "/p.json", templatePatch(windowOf(nested(levels))));
        return at("third", { "apply", "p.json" });
    };
    const Outcome outcome = applied(KW::c_nMaxDepth - 3);
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strErr.contains("a save would not hold what the patch says: template n"),
             qPrintable(outcome.strErr));
    QCOMPARE(bytes("third"), bytes("old"));
    QCOMPARE(applied(KW::c_nMaxDepth - 4).nStatus, 0);
}

void tst_hostpatch::whatIsMadeOtherwiseIsNamed()
{
    inspect::UserRecords before;
    before.layouts.m_tradeTemplates = { { "t", {} } };
    inspect::Patch patch;
    patch.changes = { { inspect::PatchPart::Option, "oaUser", "", "x" },
                      { inspect::PatchPart::TradeTemplate, "t", "", QJsonValue() } };
    inspect::UserRecords after = before;
    after.stocks[3] = {};
    QCOMPARE(inspect::otherwiseMade(patch, before, after),
             QStringList({ "option oaUser", "stocks 3", "trade template t" }));
    after = before;
    after.options.oaUser = "x";
    after.layouts.m_tradeTemplates.clear();
    QCOMPARE(inspect::otherwiseMade(patch, before, after), QStringList());
    after.layouts.m_quoteTemplates = { { "t", {} }, { "t", {} } };
    QCOMPARE(inspect::otherwiseMade(patch, before, after), QStringList("template t"));
}

void tst_hostpatch::aPatchComesFromStandardInput()
{
    makePatch();
    QCOMPARE(at("third", { "apply", "-" }, readFile(userDir() + "/p.json")).nStatus, 0);
    QCOMPARE(at("third", { "diff", file("new"), file("third") }).nStatus, 0);
    const Outcome piped
        = at("old", { "diff", "-", file("new"), "--patch", "q.json" }, bytes("old"));
    QCOMPARE(piped.nStatus, 1);
    QCOMPARE(readFile(userDir() + "/q.json"), readFile(userDir() + "/p.json"));
    const Outcome streamed = at("old", { "diff", file("old"), file("new"), "--patch", "-" });
    QCOMPARE(streamed.strOut.toUtf8(), readFile(userDir() + "/p.json"));
}

void tst_hostpatch::aBrokenPatchIsRefused_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("no JSON") << QByteArray("{");
    QTest::newRow("another form") << QByteArray("{}");
    QTest::newRow("another version") << QByteArray(R"({"patch":2,"changes":[]})");
    const auto row = [](const char* pszName, const QByteArray& change) {
        QTest::newRow(pszName) << R"({"patch":1,"changes":[)" + change + "]}";
    };
    row("no change", R"(5)");
    row("another part", R"({"part":"x","name":"n","before":"","after":""})");
    row("no value before", R"({"part":"option","name":"oaUser","after":""})");
    row("unknown option", R"({"part":"option","name":"x","before":"","after":""})");
    row("secret", R"({"part":"option","name":"oaPassword","before":"","after":"x"})");
    row("option that goes", R"({"part":"option","name":"oaUser","before":"","after":null})");
    row("option of a number",
        R"({"part":"option","name":"tickRestoreDay","before":"2","after":"x"})");
    row("no list", R"({"part":"stocks","name":"x","before":null,"after":[]})");
    row("stocks as text", R"({"part":"stocks","name":"7","before":[],"after":"x"})");
    row("stock without code",
        R"({"part":"stocks","name":"7","before":[],"after":[{"market":"SH","code":"","name":""}]})");
    row("stock with a control character",
        R"({"part":"stocks","name":"7","before":[],"after":[{"market":"S\u0007","code":"1",)"
        R"("name":""}]})");
    for (const char* pszList : { "01", "+1", " 1", "-1", "1.0", "" }) {
        row(pszList,
            QByteArray(R"({"part":"stocks","name":")") + pszList
                + R"(","before":null,"after":[]})");
    }
    row("option kept otherwise",
        R"({"part":"option","name":"tickRestoreDay","before":"2","after":"07"})");
    row("stock with more",
        R"({"part":"stocks","name":"7","before":[],"after":[{"market":"S","code":"1",)"
        R"("name":"n","x":""}]})");
    const QByteArray list = R"({"part":"stocks","name":"9","before":null,"after":[]})";
    row("list twice", list + ',' + list);
    const QByteArray option = R"({"part":"option","name":"oaUser","before":"","after":"x"})";
    row("option twice", option + ',' + option);
}

void tst_hostpatch::aBrokenPatchIsRefused()
{
    QFETCH(QByteArray, text);
    requireRefused(text, {});
}

void tst_hostpatch::aTemplateThatIsNoneIsRefused_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* pszName, const QByteArray& xml, const char* pszError) {
        QTest::newRow(pszName) << xml << QString("template n: ") + pszError;
    };
    const QByteArray inner = "<LayoutTemplate name=\"m\"/>";
    row("no XML", "<a", "");
    row("nested", windowOf(nested(100000)), "elements are nested deeper than 512 levels");
    row("nested less", windowOf(nested(600)), "elements are nested deeper than 512 levels");
    row("attribute", windowOf({}, "bogus=\"1\""), "it holds what no template keeps");
    row("two panels", windowOf("<a/><b/>"), "it holds what no template keeps");
    row("entity", windowOf("<a>&bogus;</a>"), "it names an entity");
    row("entity in a value", windowOf("<a b=\"&bogus;\"/>"), "it names an entity");
    row("no template", "<a/>", "0 templates in one");
    row("two in one", windowOf({}).replace("<templates>", "<templates>" + inner),
        "2 templates in one");
    row("one in a panel", windowOf("<a>" + inner + "</a>"), "2 templates in one");
    row("another name", windowOf({}).replace("name=\"n\"", "name=\"m\""),
        "a template of another name");
}

void tst_hostpatch::aTemplateThatIsNoneIsRefused()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, error);
    requireRefused(templatePatch(xml), error);
}

QTEST_GUILESS_MAIN(tst_hostpatch)
#include "tst_hostpatch.moc"
