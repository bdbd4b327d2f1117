#include "librarytest.h"
#include "toolrun.h"

#include <csignal>

// What is broken off goes on, and reports of many users have their index.
class tst_hostresume : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void whatIsKilledGoesOn_data();
    void whatIsKilledGoesOn();
    void whoIsDoneIsCountedAgain();
    void aLineWithoutItsEndDoesNotCount();
    void aFileOfAnotherCommandIsRefused();
    void otherFilesAreLeftAlone_data();
    void otherFilesAreLeftAlone();
    void aLineThatTellsNothingIsDamage_data();
    void aLineThatTellsNothingIsDamage();
    void valuesMakeAnotherCommandAndAreNotWritten();
    void filesThatAreReadMakeAnotherCommand();
    void anotherDirectoryHasOtherUsers();
    void whoHasFailedIsAskedAgain();
    void onlyOneProcessGoesOn();
    void failuresCountFromThisCallOn();
    void pagesHaveAnIndex();
    void theIndexGoesOnToo();
    void aDryRunWritesNoPage();
    void pagesReplaceNothingOfTheUsers();

private:
    Outcome tool(const QStringList& words) const;
    QStringList namesIn(const QString& lines) const;
    void killAfter(const QStringList& words, const QString& out, int lines) const;
    QByteArray resumeFile() const { return readFile(userDir() + "/done"); }
};

void tst_hostresume::init()
{
    CLibraryTest::init();
    for (int i = 0; i < 40; ++i) {
        const QString strUser = QStringLiteral("%1/users/用 户 %2").arg(userDir()).arg(i);
        QVERIFY(QDir().mkpath(strUser));
        QVERIFY(QFile::copy(SAMPLE_USER "/indexUserConfig.xml", strUser + "/indexUserConfig.xml"));
    }
}

Outcome tst_hostresume::tool(const QStringList& words) const
{
    return runProgram(TOOL, words, {}, userDir());
}

QStringList tst_hostresume::namesIn(const QString& lines) const
{
    QStringList names;
    for (const QString& line : lines.split('\n', Qt::SkipEmptyParts)) {
        names.append(QJsonDocument::fromJson(line.toUtf8()).object()["user"].toString());
    }
    return names;
}

// Killed as soon as \a lines are there.
void tst_hostresume::killAfter(const QStringList& words, const QString& out, int lines) const
{
    QProcess process;
    process.setWorkingDirectory(userDir());
    process.setStandardOutputFile(out);
    process.start(TOOL, words);
    QVERIFY(process.waitForStarted());
    while (process.state() == QProcess::Running && readFile(out).count('\n') < lines) {
        process.waitForFinished(1);
    }
    QCOMPARE(process.state(), QProcess::Running);
    ::kill(static_cast<pid_t>(process.processId()), SIGKILL);
    QVERIFY(process.waitForFinished());
}

void tst_hostresume::whatIsKilledGoesOn_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<int>("lines");
    for (const int nLines : { 1, 7, 23 }) {
        QTest::addRow("check, after %d", nLines) << "check" << nLines;
        QTest::addRow("edit, after %d", nLines) << "option set tickRestoreDay=7" << nLines;
    }
}

// Nobody is left out, of nobody an edit is made twice, and answered again is at most the one whose
// answer was printed and not yet written down.
void tst_hostresume::whatIsKilledGoesOn()
{
    QFETCH(QString, words);
    QFETCH(int, lines);
    const QStringList all
        = words.split(' ') + QStringList { "--users", "users/*", "--jsonl", "--resume", "done" };
    const QString strOut = userDir() + "/out";
    killAfter(all, strOut, lines);
    const Outcome rest = tool(all);
    QVERIFY2(rest.nStatus == 0, qPrintable(rest.strErr));
    QStringList names = namesIn(QString::fromUtf8(readFile(strOut)) + rest.strOut);
    names.sort();
    QVERIFY2(names.size() == 40 || names.size() == 41, qPrintable(names.join(' ')));
    names.removeDuplicates();
    QCOMPARE(names.size(), 40);
    QVERIFY(rest.strErr.contains("40 users\n"));
    for (const QString& name : names) {
        const QString strHistory = userDir() + '/' + name + "/History/log.jsonl";
        QCOMPARE(readFile(strHistory).count('\n'), words == "check" ? 0 : 1);
    }
    QVERIFY(namesIn(tool(all).strOut).isEmpty());
}

void tst_hostresume::whoIsDoneIsCountedAgain()
{
    writeFile(userDir() + "/users/用 户 3/indexUserConfig.xml",
              readFile(SAMPLE_USER "/indexUserConfig.xml").replace("<ConfigV", "<X/><ConfigV"));
    const QStringList words { "check", "--users", "users/*", "--resume", "done" };
    const Outcome first = tool(words);
    QCOMPARE(first.nStatus, 1);
    const Outcome again = tool(words);
    QCOMPARE(again.nStatus, 1);
    QVERIFY(first.strOut.endsWith(again.strOut));
    QVERIFY2(again.strOut.startsWith("\n40 users\n"), qPrintable(again.strOut));
}

void tst_hostresume::aLineWithoutItsEndDoesNotCount()
{
    const QStringList words { "check", "--users", "users/*", "--resume", "done", "--jsonl" };
    QCOMPARE(tool(words).nStatus, 0);
    const QByteArray whole = resumeFile();
    const QString strLast = namesIn(QString::fromUtf8(whole)).last();
    writeFile(userDir() + "/done", whole.left(whole.size() - 1));
    QCOMPARE(namesIn(tool(words).strOut), QStringList(strLast));
    QCOMPARE(resumeFile(), whole);
    const int nHead = whole.indexOf('\n') + 1;
    writeFile(userDir() + "/done", whole.left(nHead / 2));
    QCOMPARE(namesIn(tool(words).strOut).size(), 40);
    QVERIFY(namesIn(tool(words).strOut).isEmpty());
}

void tst_hostresume::aFileOfAnotherCommandIsRefused()
{
    const QStringList many { "--users", "users/*", "--resume", "done" };
    QCOMPARE(tool(QStringList("check") + many).nStatus, 0);
    const Outcome outcome = tool(QStringList { "option", "set", "tickRestoreDay=7" } + many);
    QCOMPARE(outcome.nStatus, 2);
    QVERIFY2(outcome.strErr.contains("is kept for another command: check"),
             qPrintable(outcome.strErr));
    // How it is told makes no other command of it.
    QCOMPARE(tool(QStringList { "--json", "check" } + many).nStatus, 0);
}

void tst_hostresume::otherFilesAreLeftAlone_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("status");
    QTest::newRow("text") << QByteArray("my notes") << 2;
    QTest::newRow("lines") << QByteArray("my\nnotes\n") << 2;
    QTest::newRow("another form") << QByteArray("{\"command\":\"check\",\"resume\":1}\n") << 2;
}

void tst_hostresume::otherFilesAreLeftAlone()
{
    QFETCH(QByteArray, content);
    QFETCH(int, status);
    writeFile(userDir() + "/done", content);
    const Outcome outcome = tool({ "check", "--users", "users/*", "--resume", "done" });
    QVERIFY2(outcome.nStatus == status, qPrintable(outcome.strErr));
    QCOMPARE(resumeFile(), content);
    const QString strLive = "users/用 户 1/indexUserConfig.xml";
    QCOMPARE(tool({ "check", "--users", "users/*", "--resume", strLive }).nStatus, 2);
    QCOMPARE(tool({ "check", "--users", "users/*", "--resume", "users" }).nStatus, 3);
}

void tst_hostresume::aLineThatTellsNothingIsDamage_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("no user") << QByteArray("{}");
    QTest::newRow("no status") << QByteArray("{\"user\":\"a\",\"status\":9}");
    QTest::newRow("less than nothing")
        << QByteArray("{\"user\":\"a\",\"status\":1,\"findings\":{\"x\":-5}}");
}

void tst_hostresume::aLineThatTellsNothingIsDamage()
{
    QFETCH(QByteArray, line);
    const QStringList words { "check", "--users", "users/*", "--resume", "done" };
    QCOMPARE(tool(words).nStatus, 0);
    const QByteArray content = resumeFile() + line + '\n';
    writeFile(userDir() + "/done", content);
    QCOMPARE(tool(words).nStatus, 4);
    QCOMPARE(resumeFile(), content);
}

// A password, mistyped, would be no secret; another value is another command.
void tst_hostresume::valuesMakeAnotherCommandAndAreNotWritten()
{
    const QStringList many { "--users", "users/*", "--resume", "done" };
    const auto set = [&](const QString& word) {
        return tool(QStringList { "option", "set", word } + many);
    };
    QCOMPARE(set("oaUser=first").nStatus, 0);
    const Outcome other = set("oaUser=second");
    QCOMPARE(other.nStatus, 2);
    QVERIFY2(other.strErr.contains("other words, values or files"), qPrintable(other.strErr));
    QVERIFY(!resumeFile().contains("first"));
    QVERIFY(QFile::remove(userDir() + "/done"));
    QCOMPARE(set("oaPasword=Klartext").nStatus, 2);
    QVERIFY(!resumeFile().contains("Klartext"));
}

void tst_hostresume::filesThatAreReadMakeAnotherCommand()
{
    const QStringList words { "option",  "set",     "oaUser",   "--from-file", "value",
                              "--users", "users/*", "--resume", "done" };
    writeFile(userDir() + "/value", "first\n");
    QCOMPARE(tool(words).nStatus, 0);
    QCOMPARE(tool(words).nStatus, 0);
    writeFile(userDir() + "/value", "second\n");
    QCOMPARE(tool(words).nStatus, 2);
}

void tst_hostresume::anotherDirectoryHasOtherUsers()
{
    const QStringList words { "check", "--users", "users/*", "--resume", userDir() + "/done" };
    QCOMPARE(tool(words).nStatus, 0);
    QVERIFY(QDir(userDir()).mkpath("other/users/a"));
    const Outcome outcome = runProgram(TOOL, words, {}, userDir() + "/other");
    QCOMPARE(outcome.nStatus, 2);
    QVERIFY2(outcome.strErr.contains("for users as named in"), qPrintable(outcome.strErr));
}

void tst_hostresume::whoHasFailedIsAskedAgain()
{
    const QString strLive = userDir() + "/users/用 户 3/indexUserConfig.xml";
    const QByteArray whole = readFile(strLive);
    writeFile(strLive, "<a>");
    const QStringList words { "check", "--users", "users/*", "--resume", "done", "--jsonl" };
    QCOMPARE(tool(words).nStatus, 4);
    writeFile(strLive, whole);
    const Outcome again = tool(words);
    QCOMPARE(again.nStatus, 0);
    QCOMPARE(namesIn(again.strOut), QStringList("users/用 户 3"));
    QVERIFY(namesIn(tool(words).strOut).isEmpty());
}

void tst_hostresume::onlyOneProcessGoesOn()
{
    writeFile(userDir() + "/done", "");
    QProcess holder;
    holder.start("python3",
                 { "-uc",
                   "import fcntl,sys\nf=open(sys.argv[1],'r+')\n"
                   "fcntl.lockf(f,fcntl.LOCK_EX)\nprint('held')\ninput()",
                   userDir() + "/done" });
    QVERIFY(holder.waitForReadyRead());
    const QStringList words { "check", "--users", "users/*", "--resume", "done" };
    QCOMPARE(tool(words).nStatus, 5);
    holder.write("\n");
    QVERIFY(holder.waitForFinished());
    QCOMPARE(tool(words).nStatus, 0);
}

void tst_hostresume::failuresCountFromThisCallOn()
{
    for (int i = 0; i < 40; ++i) {
        writeFile(QStringLiteral("%1/users/用 户 %2/indexUserConfig.xml").arg(userDir()).arg(i),
                  "<a>");
    }
    const QStringList words { "check",    "--users", "users/*",      "--jsonl",
                              "--resume", "done",    "--stop-after", "1" };
    QStringList names;
    for (int i = 0; i < 3; ++i) {
        const Outcome outcome = tool(words);
        QCOMPARE(outcome.nStatus, 4);
        QVERIFY(namesIn(outcome.strOut).size() >= 1);
        names += namesIn(outcome.strOut);
    }
    QVERIFY(names.size() >= 3 && names.size() < 40);
    QCOMPARE(names.removeDuplicates(), 0);
}

void tst_hostresume::pagesHaveAnIndex()
{
    writeFile(userDir() + "/users/用 户 3/indexUserConfig.xml",
              readFile(SAMPLE_USER "/indexUserConfig.xml").replace("<ConfigV", "<X/><ConfigV"));
    writeFile(userDir() + "/users/用 户 4/indexUserConfig.xml", "<a>");
    const Outcome outcome = tool({ "report", "--users", "users/*", "--out", "pages" });
    QCOMPARE(outcome.nStatus, 4);
    const QDir pages(userDir() + "/pages");
    QCOMPARE(pages.entryList(QDir::Files).size(), 39 + 1);
    QDomDocument index;
    QVERIFY(index.setContent(readFile(pages.filePath("index.html")).mid(15)));
    QStringList linked;
    const QDomNodeList links = index.elementsByTagName("a");
    for (int i = 0; i < links.size(); ++i) {
        const QString strPage = links.at(i).toElement().attribute("href");
        if (!strPage.startsWith('#')) {
            const QString strFile = QUrl::fromPercentEncoding(strPage.toLatin1());
            const QByteArray html = readFile(pages.filePath(strFile));
            QVERIFY2(html.contains(links.at(i).toElement().text().toUtf8()), qPrintable(strFile));
            linked.append(strFile);
        }
    }
    QCOMPARE(linked.size(), 39);
    QCOMPARE(linked.removeDuplicates(), 0);
    QStringList rows;
    const QDomNodeList all = index.elementsByTagName("tr");
    for (int i = 0; i < all.size(); ++i) {
        rows.append(all.at(i).toElement().text());
    }
    QVERIFY2(rows.contains("section11"), qPrintable(rows.join('\n')));
    QVERIFY(rows.contains("users/用 户 31section"));
    QVERIFY2(rows.at(3).startsWith("users/用 户 4indexUserConfig.xml:1:"), qPrintable(rows.at(3)));
}

void tst_hostresume::theIndexGoesOnToo()
{
    const QStringList words { "report", "--users", "users/*",  "--out",
                              "pages",  "--jsonl", "--resume", "done" };
    const QString strOut = userDir() + "/out";
    killAfter(words, strOut, 5);
    const Outcome rest = tool(words);
    QStringList names = namesIn(QString::fromUtf8(readFile(strOut)) + rest.strOut);
    names.removeDuplicates(); // who was answered and not yet written down
    QCOMPARE(names.size(), 40);
    const QByteArray index = readFile(userDir() + "/pages/index.html");
    QCOMPARE(index.count("<a href=\"users-"), 40);
    QVERIFY(index.contains(">40 users<"));
}

void tst_hostresume::aDryRunWritesNoPage()
{
    const Outcome outcome = tool({ "report", "--users", "users/*", "--out", "pages", "--dry-run" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(outcome.strOut.contains("would write pages/index.html"));
    QVERIFY(!QFile::exists(userDir() + "/pages"));
}

void tst_hostresume::pagesReplaceNothingOfTheUsers()
{
    const QString strUser = "users/用 户 1";
    QVERIFY(QDir(userDir() + '/' + strUser).mkdir("History"));
    const Outcome outcome = tool({ "report", "--users", "users/*", "--out", strUser + "/History" });
    QVERIFY2(outcome.nStatus == 2, qPrintable(outcome.strOut + outcome.strErr));
    QVERIFY(QDir(userDir() + '/' + strUser + "/History").isEmpty());
}

QTEST_GUILESS_MAIN(tst_hostresume)
#include "tst_hostresume.moc"
