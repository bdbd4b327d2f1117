#include "librarytest.h"
#include "toolrun.h"

// Values that the client would take and nobody means: refused where they are set, taken with
// --force, told by check, and no obstacle on any way back.
class tst_hostvalues : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void whatIsHardlyMeantIsRefused_data();
    void whatIsHardlyMeantIsRefused();
    void aTemplateThatIsAppliedIsJudged();
    void whatIsThereAlreadyStopsNoOtherEdit();
    void theWayBackAsksForNoForce();
    void aResetIsNeverRefused();
    void aNearMarketIsSuggested();
    void knownMarketsNeedNoSuggestion();

private:
    Outcome tool(const QStringList& arguments) const;
    Outcome typed(const QString& words) const;
    QStringList rules() const;
    void writeTemplate(const QString& name, const QByteArray& size) const;
};

void tst_hostvalues::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QVERIFY(QFile::copy(SAMPLE_USER "/sectors.json", userDir() + "/sectors.json"));
    writeFile(userDir() + "/double.csv", "list,market,code,name\n2,SZ,1,n\n2,SZ,1,n\n");
    writeFile(userDir() + "/code.csv", "list,market,code,name\n2,SZ,1-1,n\n");
    writeFile(userDir() + "/patch.json",
              R"({"patch":1,"changes":[{"part":"option","name":"dividDataTime","before":"1",
                  "after":"-5"}]})");
    writeTemplate("none.xml", "width=\"0\" height=\"5\"");
    writeTemplate("large.xml", "width=\"70000\" height=\"5\"");
}

void tst_hostvalues::writeTemplate(const QString& name, const QByteArray& size) const
{
    writeFile(userDir() + '/' + name,
              "<t><LayoutTemplate name=\"odd\"><LayoutWindowTemplate screen_id=\"1\" is_main=\"0\" "
              "maximized=\"0\" left=\"0\" top=\"0\" panelgroup_id=\"1\" "
                  + size + "/></LayoutTemplate></t>");
}

Outcome tst_hostvalues::tool(const QStringList& arguments) const
{
    return runProgram(TOOL, QStringList { "--config-dir", "." } + arguments, {}, userDir());
}

Outcome tst_hostvalues::typed(const QString& words) const
{
    return tool(words.split(' '));
}

// That check tells of the file, and what becomes of each.
QStringList tst_hostvalues::rules() const
{
    const auto findings
        = QJsonDocument::fromJson(typed("check indexUserConfig.xml --json").strOut.toUtf8())
              .object()["findings"]
              .toArray();
    QStringList rules;
    for (const auto& each : findings) {
        rules.append(each.toObject()["effect"].toString() + ' '
                     + each.toObject()["rule"].toString());
    }
    rules.sort();
    return rules;
}

void tst_hostvalues::whatIsHardlyMeantIsRefused_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("rules");
    const auto row = [](const char* pszWords, const char* pszRules) {
        QTest::newRow(pszWords) << QString(pszWords) << QString(pszRules);
    };
    row("option set tickRestoreDay=-1", "kept negative");
    row("option set updateF10DateTime=2024-02-30", "kept date");
    row("option set qsSmartKeyConfig=1;2", "kept number-list");
    row("option set oaAddress=10.0.0.8:0x", "kept address");
    row("option set formulaDebug=2", "kept flag");
    row("option set formulaDebug=2 m_multiDaylines=-3", "kept flag,kept negative");
    row("apply patch.json", "kept negative");
    row("stock add 7 S.H 1-1", "kept code,kept market");
    row("stock import double.csv", "kept double-stock");
    row("stock import code.csv", "kept code");
    row("template import none.xml", "kept window-size");
    row("template import large.xml", "kept window-size");
}

void tst_hostvalues::whatIsHardlyMeantIsRefused()
{
    QFETCH(QString, words);
    QFETCH(QString, rules);
    const QByteArray before = readFile(livePath());
    const Outcome refused = typed(words);
    QCOMPARE(refused.nStatus, 1);
    QVERIFY2(refused.strErr.endsWith("; --force makes the change all the same\n"),
             qPrintable(refused.strErr));
    QCOMPARE(typed(words + " --dry-run").nStatus, 1);
    QCOMPARE(typed(words + " --json").nStatus, 1);
    QCOMPARE(readFile(livePath()), before);
    QVERIFY(!QFile::exists(userDir() + "/History"));
    const Outcome forced = typed(words + " --force");
    QVERIFY2(forced.nStatus == 0, qPrintable(forced.strErr));
    QCOMPARE(this->rules().join(','), rules);
}

void tst_hostvalues::aTemplateThatIsAppliedIsJudged()
{
    QCOMPARE(typed("template import none.xml --force").nStatus, 0);
    const Outcome outcome = typed("template apply odd");
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strErr.contains("IndexLayout: the window 0x5+0+0 has no size; --force"),
             qPrintable(outcome.strErr));
    QCOMPARE(typed("template apply odd --force").nStatus, 0);
    QCOMPARE(rules(), QStringList({ "kept window-size", "kept window-size" }));
}

void tst_hostvalues::whatIsThereAlreadyStopsNoOtherEdit()
{
    for (const char* pszWords :
         { "option set tickRestoreDay=-1 --force", "stock add 7 S.H 1 --force",
           "template import none.xml --force", "option set oaUser=a", "stock add 7 SH 600004",
           "stock move 7 S.H 1 0", "stock remove 0 S.H 1", "template rename odd odder",
           "template delete odder", "option set tickRestoreDay=3" }) {
        const Outcome outcome = typed(pszWords);
        QVERIFY2(outcome.nStatus == 0, qPrintable(pszWords + outcome.strErr));
    }
    QCOMPARE(rules(), QStringList());
}

// Undo, redo, the history, dated copies, recovery: each brings a refused value back.
void tst_hostvalues::theWayBackAsksForNoForce()
{
    QCOMPARE(typed("option set updateF10DateTime=never --force").nStatus, 0);
    const QByteArray odd = readFile(livePath());
    QVERIFY(odd.contains("never"));
    QVERIFY(QDir(userDir()).mkpath("Temp"));
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", odd);
    for (const char* pszWords : { "undo", "redo", "option reset updateF10DateTime", "undo",
                                  "option reset "
                                  "updateF10DateTime",
                                  "snapshot restore 2024-01-31", "option reset updateF10DateTime",
                                  "recover --from 2024-01-31" }) {
        const Outcome outcome = typed(pszWords);
        QVERIFY2(outcome.nStatus == 0, qPrintable(pszWords + outcome.strErr));
        const bool bBack = !QByteArray(pszWords).startsWith("option") && qstrcmp(pszWords, "undo");
        QCOMPARE(readFile(livePath()).contains("never"), bBack || readFile(livePath()) == odd);
    }
    QCOMPARE(readFile(livePath()), odd);
    writeLive("torn");
    QCOMPARE(typed("recover").nStatus, 0);
    QCOMPARE(readFile(livePath()), odd);
}

void tst_hostvalues::aResetIsNeverRefused()
{
    QStringList names;
    const auto options = QJsonDocument::fromJson(typed("option list --json").strOut.toUtf8())
                             .object()["options"]
                             .toArray();
    for (const auto& each : options) {
        if (each.toObject()["saved"].toBool()) {
            names.append(each.toObject()["option"].toString());
        }
    }
    QCOMPARE(names.size(), 29);
    const Outcome outcome = tool(QStringList { "option", "reset" } + names);
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    QCOMPARE(rules(), QStringList());
}

void tst_hostvalues::aNearMarketIsSuggested()
{
    const Outcome outcome = typed("stock add 7 SHH 600004");
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strErr,
             QString("indexuserctl: no other stock has the market 'SHH', did you mean 'SH'?\n"));
    writeFile(userDir() + "/new.csv", "list,market,code,name\n2,CFEX,1,n\n3,CFEX,2,n\n");
    const Outcome import = typed("stock import new.csv");
    QCOMPARE(import.nStatus, 0);
    QCOMPARE(import.strErr.count("did you mean 'CFFEX'?"), 1);
}

// A market that only the sectors have is none to ask about, nor is one that is like no other.
void tst_hostvalues::knownMarketsNeedNoSuggestion()
{
    writeFile(userDir() + "/sectors.json",
              R"({"sectors":[{"code":"1","name":"n","constituents":[{"market":"SHH","code":"1",
                  "name":"n","absoluteWeight":0.5,"previousClose":1}]}]})");
    for (const char* pszWords : { "stock add 7 SHH 600004", "stock add 7 NASDAQ 1" }) {
        const Outcome outcome = typed(pszWords);
        QCOMPARE(outcome.nStatus, 0);
        QCOMPARE(outcome.strErr, QString());
    }
}

QTEST_GUILESS_MAIN(tst_hostvalues)
#include "tst_hostvalues.moc"
