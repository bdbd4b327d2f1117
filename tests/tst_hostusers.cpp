#include "librarytest.h"
#include "toolrun.h"

#include <mend/userlock.h>

#include <algorithm>
#include <csignal>

// One command for many users.
class tst_hostusers : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aPatternNamesDirectories();
    void aFileNamesUsersInItsOrder();
    void standardInputNamesUsers();
    void aUserWhoIsNamedTwiceIsAnsweredOnce();
    void nobodyIsNoAnswer_data();
    void nobodyIsNoAnswer();
    void theGravestStatusIsTheStatus_data();
    void theGravestStatusIsTheStatus();
    void oneBrokenUserHoldsUpNobody();
    void eachAnswerIsWholeBelowItsUser();
    void theSumCountsUsersByFinding();
    void linesAreAnswersOfTheirUsers();
    void filesAreLinesToo();
    void oneAnswerIsALine();
    void anEditReachesEachUserWithAHistory();
    void datesAreEachUsersOwn();
    void aFileIsComparedWithEachUser();
    void recoveryReachesWhoNeedsIt();
    void whatOnlyOneCanHaveIsRefused_data();
    void whatOnlyOneCanHaveIsRefused();
    void theToolAnswersNoFurtherAfterFailures();
    void memoryDoesNotGrowWithTheUsers();
    void aTerminalSeesHowFarItIs();
    void whoIsBrokenOffIsAFailureOfItsUser();
    void whoeverStartedItNeedNotWait();

private:
    QString addUser(const QString& name, const QByteArray& live = {}) const;
    void addUsers(int count) const;
    Outcome tool(const QStringList& arguments, const QByteArray& input = {}) const;
    static QVector<QJsonObject> lines(const Outcome& outcome);
    static QStringList namesIn(const QVector<QJsonObject>& answers);
};

void tst_hostusers::init()
{
    CLibraryTest::init();
    QVERIFY(QDir(userDir()).mkdir("users"));
}

QString tst_hostusers::addUser(const QString& name, const QByteArray& live) const
{
    const QString strPath = userDir() + "/users/" + name;
    QDir().mkpath(strPath);
    writeFile(strPath + "/indexUserConfig.xml",
              live.isEmpty() ? readFile(SAMPLE_USER "/indexUserConfig.xml") : live);
    return strPath;
}

void tst_hostusers::addUsers(int count) const
{
    for (int i = 0; i < count; ++i) {
        addUser(QString::number(i));
    }
}

Outcome tst_hostusers::tool(const QStringList& arguments, const QByteArray& input) const
{
    return runProgram(TOOL, arguments, {}, userDir(), input);
}

QVector<QJsonObject> tst_hostusers::lines(const Outcome& outcome)
{
    QVector<QJsonObject> answers;
    const auto all = outcome.strOut.split('\n', Qt::SkipEmptyParts);
    for (const QString& line : all) {
        answers.append(QJsonDocument::fromJson(line.toUtf8()).object());
    }
    return answers;
}

// In the order of names: answers come as they are there.
QStringList tst_hostusers::namesIn(const QVector<QJsonObject>& answers)
{
    QStringList names;
    for (const QJsonObject& answer : answers) {
        names.append(answer["user"].toString());
    }
    names.sort();
    return names;
}

void tst_hostusers::aPatternNamesDirectories()
{
    addUser("a");
    addUser("李 四");
    addUser("other");
    writeFile(userDir() + "/users/a file", "");
    const auto names = [&](const QString& pattern) {
        return namesIn(lines(tool({ "check", "--users", pattern, "--jsonl" })));
    };
    QCOMPARE(names("users/*"), QStringList({ "users/a", "users/other", "users/李 四" }));
    QCOMPARE(names("users/[!o]*"), QStringList({ "users/a", "users/李 四" }));
    QCOMPARE(names("users/李 四/"), QStringList("users/李 四"));
}

void tst_hostusers::aFileNamesUsersInItsOrder()
{
    addUsers(3);
    writeFile(userDir() + "/list", "users/2\n\nusers/[0]\nusers/0");
    const Outcome outcome = tool({ "check", "--users-from", "list", "--jsonl" });
    QCOMPARE(namesIn(lines(outcome)), QStringList({ "users/0", "users/2", "users/[0]" }));
    QCOMPARE(outcome.nStatus, 3);
}

void tst_hostusers::standardInputNamesUsers()
{
    addUsers(2);
    const Outcome outcome = tool({ "check", "--users-from", "-", "--jsonl" }, "users/1\n");
    QCOMPARE(namesIn(lines(outcome)), QStringList("users/1"));
    QCOMPARE(outcome.nStatus, 0);
}

void tst_hostusers::aUserWhoIsNamedTwiceIsAnsweredOnce()
{
    addUsers(1);
    const Outcome outcome
        = tool({ "check", "--users-from", "-", "--jsonl" }, "users/0\nusers/0/\n./users/0\n");
    QCOMPARE(namesIn(lines(outcome)), QStringList("users/0"));
}

void tst_hostusers::nobodyIsNoAnswer_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<int>("status");
    QTest::newRow("no match") << QStringList { "--users", "users/*" } << QByteArray() << 1;
    QTest::newRow("empty file") << QStringList { "--users-from", "-" } << QByteArray("\n") << 1;
    QTest::newRow("no file") << QStringList { "--users-from", "none" } << QByteArray() << 3;
    QTest::newRow("not UTF-8") << QStringList { "--users-from", "-" } << QByteArray("a\n\xff\n")
                               << 2;
    QTest::newRow("NUL") << QStringList { "--users-from", "-" } << QByteArray("a\0b\n", 4) << 2;
}

void tst_hostusers::nobodyIsNoAnswer()
{
    QFETCH(QStringList, words);
    QFETCH(QByteArray, input);
    QFETCH(int, status);
    const Outcome outcome = tool(QStringList { "check", "--jsonl" } + words, input);
    QCOMPARE(outcome.nStatus, status);
    QCOMPARE(lines(outcome).size(), 1);
    QVERIFY(lines(outcome).first()["error"].isObject());
}

void tst_hostusers::theGravestStatusIsTheStatus_data()
{
    QTest::addColumn<QStringList>("users");
    QTest::addColumn<int>("status");
    QTest::newRow("in order") << QStringList { "good" } << 0;
    QTest::newRow("findings") << QStringList { "good", "found" } << 1;
    QTest::newRow("damaged") << QStringList { "found", "torn", "good" } << 4;
    QTest::newRow("missing") << QStringList { "torn", "none", "found" } << 3;
}

void tst_hostusers::theGravestStatusIsTheStatus()
{
    QFETCH(QStringList, users);
    QFETCH(int, status);
    const QByteArray sample = readFile(SAMPLE_USER "/indexUserConfig.xml");
    addUser("good");
    addUser("found", QByteArray(sample).replace("<ConfigVersion", "<Strange/><ConfigVersion"));
    addUser("torn", sample.left(999));
    const QByteArray list = ("users/" + users.join("\nusers/")).toUtf8();
    QCOMPARE(tool({ "check", "--users-from", "-" }, list).nStatus, status);
    QCOMPARE(tool({ "check", "--users-from", "-", "--json" }, list).nStatus, status);
}

void tst_hostusers::oneBrokenUserHoldsUpNobody()
{
    addUsers(5);
    writeFile(userDir() + "/users/2/indexUserConfig.xml", "<ICUserConfigFile>\n<a></b>");
    QVERIFY(QDir(userDir() + "/users/3").removeRecursively());
    QVERIFY(QDir(userDir() + "/users").mkdir("3"));
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7", "--users", "users/*" });
    QCOMPARE(outcome.nStatus, 3);
    for (const char* pszName : { "0", "1", "4" }) {
        const QString strFile = userDir() + "/users/" + pszName + "/indexUserConfig.xml";
        QVERIFY(readFile(strFile).contains("tickRestoreDay=\"7\""));
    }
    for (const char* pszText : { "==> users/2 <==\nindexuserctl: users/2/indexUserConfig.xml:2:",
                                 "==> users/3 <==\nindexuserctl: users/3/indexUserConfig.xml: " }) {
        QVERIFY2(outcome.strErr.contains(pszText), qPrintable(outcome.strErr));
    }
}

// Whoever is in order has nothing to tell of a check.
void tst_hostusers::eachAnswerIsWholeBelowItsUser()
{
    addUsers(8);
    for (int i = 0; i < 8; ++i) {
        const QString strOption = QStringLiteral("oaUser=user %1").arg(i);
        QCOMPARE(tool({ "--config-dir", "users/" + QString::number(i), "option", "set", strOption })
                     .nStatus,
                 0);
    }
    const Outcome outcome = tool({ "option", "get", "oaUser", "--users", "users/*" });
    const QString strAnswers = outcome.strOut.section("\n\n8 users\n", 0, 0);
    QStringList answers = (strAnswers + '\n').split("==> ", Qt::SkipEmptyParts);
    answers.sort();
    QStringList wanted;
    for (int i = 0; i < 8; ++i) {
        wanted.append(QStringLiteral("users/%1 <==\nuser %1\n").arg(i));
    }
    QCOMPARE(answers, wanted);
    QCOMPARE(tool({ "check", "--users", "users/*" }).strOut,
             QString("\n8 users\n  status  users\n  ok      8\n"));
}

void tst_hostusers::theSumCountsUsersByFinding()
{
    const QByteArray sample = readFile(SAMPLE_USER "/indexUserConfig.xml");
    addUser("0");
    addUser("1", QByteArray(sample).replace("<ConfigVersion", "<X/><Y/><ConfigVersion"));
    addUser("2", QByteArray(sample).replace("<ConfigVersion", "<X/><ConfigVersion"));
    const QString strSum = tool({ "check", "--users", "users/*" }).strOut.section("\n\n", 1);
    QCOMPARE(strSum,
             QString("3 users\n  status    users\n  ok        1\n  negative  2\n"
                     "\nBy finding\n  rule     users  findings\n  section  2      3\n"));
    const QJsonObject sum
        = QJsonDocument::fromJson(tool({ "check", "--users", "users/*", "--json" }).strOut.toUtf8())
              .object();
    const QJsonArray rules { QJsonObject {
        { "rule", "section" }, { "users", 2 }, { "findings", 3 } } };
    QCOMPARE(sum["rules"].toArray(), rules);
    QCOMPARE(sum["users"].toArray().size(), 2);
}

void tst_hostusers::linesAreAnswersOfTheirUsers()
{
    addUsers(3);
    const Outcome outcome = tool({ "show", "options", "--users", "users/*", "--jsonl" });
    const auto answers = lines(outcome);
    QCOMPARE(namesIn(answers), QStringList({ "users/0", "users/1", "users/2" }));
    for (QJsonObject answer : answers) {
        const QString strUser = answer.take("user").toString();
        const Outcome alone = tool({ "--config-dir", strUser, "show", "options", "--json" });
        QCOMPARE(answer, QJsonDocument::fromJson(alone.strOut.toUtf8()).object());
    }
    QCOMPARE(outcome.strErr, QString("\n3 users\n  status  users\n  ok      3\n"));
}

void tst_hostusers::filesAreLinesToo()
{
    addUsers(1);
    writeFile(userDir() + "/--torn", "<a>");
    const Outcome outcome
        = tool({ "check", "--jsonl", "--", "users/0/indexUserConfig.xml", "--torn" });
    QCOMPARE(outcome.nStatus, 4);
    QStringList states;
    for (const QJsonObject& answer : lines(outcome)) {
        const QJsonObject file = answer["files"].toArray()[0].toObject();
        states.append(file["file"].toString() + ' ' + file["state"].toString());
        QVERIFY(!answer.contains("user"));
    }
    states.sort();
    QCOMPARE(states, QStringList({ "--torn damaged", "users/0/indexUserConfig.xml in order" }));
    QCOMPARE(outcome.strErr,
             QString("==> --torn <==\n"
                     "indexuserctl: --torn:1:4: unexpected end of file\n"));
}

void tst_hostusers::oneAnswerIsALine()
{
    addUsers(1);
    const QStringList words { "--config-dir", "users/0", "stock", "list" };
    const QString strLine = tool(words + QStringList("--jsonl")).strOut;
    QCOMPARE(strLine.count('\n'), 1);
    QCOMPARE(QJsonDocument::fromJson(strLine.toUtf8()),
             QJsonDocument::fromJson(tool(words + QStringList("--json")).strOut.toUtf8()));
}

void tst_hostusers::anEditReachesEachUserWithAHistory()
{
    addUsers(50);
    const QStringList words { "option", "set", "tickRestoreDay=7", "--users", "users/*" };
    const auto answers = lines(tool(words + QStringList("--jsonl")));
    QCOMPARE(answers.size(), 50);
    for (const QJsonObject& answer : answers) {
        QCOMPARE(answer["receipt"].toObject()["edit"].toInt(), 1);
        const QString strLog = answer["user"].toString();
        const QJsonObject history
            = QJsonDocument::fromJson(
                  tool({ "--config-dir", strLog, "history", "list", "--json" }).strOut.toUtf8())
                  .object()["history"]
                  .toArray()[0]
                  .toObject();
        QCOMPARE(history["command"].toString(), QString("option set tickRestoreDay=7 --json"));
    }
    QCOMPARE(tool(words).nStatus, 0);
}

void tst_hostusers::datesAreEachUsersOwn()
{
    for (const char* pszDay : { "20240131", "20240202" }) {
        const QString strUser = addUser(pszDay);
        QVERIFY(QDir(strUser).mkdir("Temp"));
        QVERIFY(QFile::copy(strUser + "/indexUserConfig.xml",
                            strUser + "/Temp/indexUserConfig.xml_" + pszDay));
    }
    const Outcome outcome
        = tool({ "recover", "--from", "latest", "--dry-run", "--users", "users/*" });
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    const Outcome pages
        = tool({ "report", "--against", "latest", "--users", "users/*", "--out", "pages" });
    QVERIFY2(pages.nStatus == 0, qPrintable(pages.strErr));
    QStringList told;
    for (const QString& page : QDir(userDir() + "/pages").entryList({ "users*" })) {
        const QByteArray html = readFile(userDir() + "/pages/" + page);
        told.append(html.contains("since 2024-01-31") ? "2024-01-31" : "");
        told.append(html.contains("since 2024-02-02") ? "2024-02-02" : "");
    }
    QCOMPARE(told, QStringList({ "2024-01-31", "", "", "2024-02-02" }));
}

void tst_hostusers::aFileIsComparedWithEachUser()
{
    addUsers(3);
    QCOMPARE(tool({ "--config-dir", "users/1", "option", "set", "tickRestoreDay=7" }).nStatus, 0);
    const Outcome outcome
        = tool({ "diff", SAMPLE_USER "/indexUserConfig.xml", "--users", "users/*", "--jsonl" });
    QCOMPARE(outcome.nStatus, 1);
    for (const QJsonObject& answer : lines(outcome)) {
        const bool bChanged = answer["user"].toString() == "users/1";
        QCOMPARE(answer["changes"].toArray().size(), bChanged ? 1 : 0);
    }
    QCOMPARE(tool({ "diff", "--config-dir", "users/1", "users/0/indexUserConfig.xml" }).nStatus, 1);
}

void tst_hostusers::recoveryReachesWhoNeedsIt()
{
    addUsers(2);
    const QString strUser = userDir() + "/users/1";
    QVERIFY(QDir(strUser).mkdir("Temp"));
    QVERIFY(QFile::rename(strUser + "/indexUserConfig.xml",
                          strUser + "/Temp/indexUserConfig.xml_20240131"));
    const Outcome outcome = tool({ "recover", "--users", "users/*" });
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strOut + outcome.strErr));
    QVERIFY(QFile::exists(strUser + "/indexUserConfig.xml"));
}

void tst_hostusers::whatOnlyOneCanHaveIsRefused_data()
{
    QTest::addColumn<QString>("words");
    QTest::newRow("file") << "check a.xml --users users/*";
    QTest::newRow("second file") << "diff a.xml b.xml --users users/*";
    QTest::newRow("patch") << "diff a.xml --patch p --users users/*";
    QTest::newRow("standard input") << "apply - --users users/*";
    QTest::newRow("secret") << "option set oaPassword --from-file - --users users/*";
    QTest::newRow("twice") << "check --users users/* --users-from list";
    QTest::newRow("resume") << "check --resume file";
    QTest::newRow("stop") << "check --stop-after 2";
    QTest::newRow("stop at none") << "check --users users/* --stop-after 0";
    QTest::newRow("stop at what") << "check --users users/* --stop-after 2x";
    QTest::newRow("page") << "report --users users/* --out -";
    QTest::newRow("command") << "undo --users users/*";
}

void tst_hostusers::whatOnlyOneCanHaveIsRefused()
{
    QFETCH(QString, words);
    addUsers(1);
    const Outcome outcome = tool(words.split(' '));
    QVERIFY2(outcome.nStatus == 2, qPrintable(outcome.strOut + outcome.strErr));
    QCOMPARE(outcome.strOut, QString());
    QCOMPARE(QDir(userDir()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList("users"));
}

// Those that are under way end as they would.
void tst_hostusers::theToolAnswersNoFurtherAfterFailures()
{
    addUsers(40);
    const QByteArray torn("<a>");
    for (int i = 0; i < 40; ++i) {
        addUser(QString::number(i), torn);
    }
    const Outcome outcome
        = tool({ "option", "get", "oaUser", "--users", "users/*", "--stop-after", "2", "--jsonl" });
    const int nAnswers = lines(outcome).size();
    QVERIFY2(nAnswers >= 2 && nAnswers < 2 + QThread::idealThreadCount(),
             qPrintable(outcome.strOut));
    QCOMPARE(outcome.nStatus, 4);
    const QString strLeft = QStringLiteral("stopped after %1 failures; %2 users are left")
                                .arg(nAnswers)
                                .arg(40 - nAnswers);
    QVERIFY2(outcome.strErr.contains(strLeft), qPrintable(outcome.strErr));
}

void tst_hostusers::memoryDoesNotGrowWithTheUsers()
{
    const auto peak = [&](int count) {
        const QString strList = userDir() + "/list";
        QByteArray list;
        for (int i = 0; i < count; ++i) {
            list += "users/" + QByteArray::number(i) + '\n';
        }
        writeFile(strList, list);
        const Outcome outcome
            = runProgram("/usr/bin/env",
                         { "python3", "-c",
                           "import resource,subprocess,sys\n"
                           "subprocess.run(sys.argv[1:],stdout=subprocess.DEVNULL)\n"
                           "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)",
                           TOOL, "check", "--users-from", "list" },
                         { "ASAN_OPTIONS=quarantine_size_mb=1" }, userDir()); // or it keeps all
        return outcome.strOut.toInt();
    };
    addUsers(1200);
    const int nFew = peak(120);
    const int nMany = peak(1200);
    QVERIFY2(nFew > 0 && nMany < nFew * 1.2,
             qPrintable(QStringLiteral("%1 KB, then %2 KB").arg(nFew).arg(nMany)));
}

void tst_hostusers::aTerminalSeesHowFarItIs()
{
    addUsers(3);
    const Outcome outcome
        = runProgram("script", { "-qec", TOOL " check --users 'users/*' 2>&1", "/dev/null" },
                     { "TERM=xterm" }, userDir());
    QVERIFY2(outcome.strOut.contains("] 2/3"), qPrintable(outcome.strOut));
    QVERIFY(outcome.strOut.contains("3 users"));
}

// It waits for a lock, and is killed there.
void tst_hostusers::whoIsBrokenOffIsAFailureOfItsUser()
{
    addUsers(2);
    mend::CUserLock lock(userDir() + "/users/0");
    QCOMPARE(lock.take(0), mend::LockState::Taken);
    QProcess process;
    process.setWorkingDirectory(userDir());
    process.start(
        TOOL,
        { "option", "set", "tickRestoreDay=7", "--users", "users/*", "--jsonl", "--wait", "60" });
    QVERIFY(process.waitForStarted());
    const QString strParent = QString::number(process.processId());
    QByteArray out;
    while (!out.contains("users/1")) {
        QVERIFY(process.waitForReadyRead());
        out += process.readAllStandardOutput();
    }
    const QStringList children = runProgram("pgrep", { "-P", strParent }).strOut.split('\n');
    QCOMPARE(children.size(), 1 + 1);
    QCOMPARE(::kill(children.first().toInt(), SIGKILL), 0);
    QVERIFY(process.waitForFinished());
    out += process.readAllStandardOutput();
    QCOMPARE(process.exitCode(), 3);
    const QJsonObject answer = QJsonDocument::fromJson(out.split('\n')[1]).object();
    QCOMPARE(answer["user"].toString(), QString("users/0"));
    QCOMPARE(answer["command"].toString(), QString("option set"));
    QCOMPARE(answer["error"].toObject()["message"].toString(),
             QString("broken off, without an answer"));
    QVERIFY(process.readAllStandardError().contains("==> users/0 <==\nindexuserctl: broken off"));
}

// Signals that are ignored stay so in what is started.
void tst_hostusers::whoeverStartedItNeedNotWait()
{
    addUsers(3);
    const Outcome outcome = runProgram("python3",
                                       { "-c",
                                         "import signal,os,sys\n"
                                         "signal.signal(signal.SIGCHLD, signal.SIG_IGN)\n"
                                         "os.execvp(sys.argv[1], sys.argv[1:])",
                                         "timeout", "60", TOOL, "check", "--users", "users/*" },
                                       {}, userDir());
    QCOMPARE(outcome.nStatus, 0);
    QCOMPARE(outcome.strOut, QString("\n3 users\n  status  users\n  ok      3\n"));
}

QTEST_GUILESS_MAIN(tst_hostusers)
#include "tst_hostusers.moc"
