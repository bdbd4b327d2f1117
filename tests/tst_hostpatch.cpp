#include "librarytest.h"
#include "toolrun.h"

#include <mend/userlock.h>

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
    void aPatchComesFromStandardInput();
    void aBrokenPatchIsRefused_data();
    void aBrokenPatchIsRefused();

private:
    Outcome at(const QString& user, const QStringList& arguments,
               const QByteArray& input = {}) const;
    void change(const QString& user, const char* pszWords) const;
    QString file(const QString& user) const { return user + "/indexUserConfig.xml"; }
    QByteArray bytes(const QString& user) const { return readFile(userDir() + '/' + file(user)); }
    void makePatch() const;
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
    row("template", R"({"part":"template","name":"n","before":null,"after":"<a"})");
    row("template without it", R"({"part":"template","name":"n","before":null,"after":"<a/>"})");
    row("template of another name",
        R"({"part":"template","name":"n","before":null,)"
        R"("after":"<t><LayoutTemplate name='m'/></t>"})");
}

void tst_hostpatch::aBrokenPatchIsRefused()
{
    QFETCH(QByteArray, text);
    writeFile(userDir() + "/p.json", text);
    const Outcome outcome = at("third", { "apply", "p.json" });
    QVERIFY2(outcome.nStatus == 4, qPrintable(outcome.strErr));
    QCOMPARE(bytes("third"), bytes("old"));
}

QTEST_GUILESS_MAIN(tst_hostpatch)
#include "tst_hostpatch.moc"
