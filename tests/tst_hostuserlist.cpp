#include "librarytest.h"
#include "toolrun.h"

#include <cstdio>

#include <sys/stat.h>

// Who is meant by many users, and what all of them can read.
class tst_hostuserlist : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aDirectoryOfManyNamesIsOneUser();
    void aNameLeadsWhereTheSystemSays();
    void aNameThatCannotBeToldIsRefused();
    void aListOfAnotherSystemIsRead();
    void whatCanBeReadOnceIsRefused_data();
    void whatCanBeReadOnceIsRefused();
    void whatWasDoneIsToldWhereNobodyReads();
    void oneObjectNamesWhoFailed();

private:
    QByteArray live(const QString& user) const
    {
        return readFile(userDir() + '/' + user + "/indexUserConfig.xml");
    }
    Outcome tool(const QStringList& words) const { return runProgram(TOOL, words, {}, userDir()); }
};

void tst_hostuserlist::init()
{
    CLibraryTest::init();
    for (const char* pszUser : { "a", "b", "c" }) {
        QVERIFY(QDir(userDir()).mkdir(pszUser));
        writeFile(userDir() + '/' + pszUser + "/indexUserConfig.xml",
                  readFile(SAMPLE_USER "/indexUserConfig.xml"));
    }
}

void tst_hostuserlist::aDirectoryOfManyNamesIsOneUser()
{
    QVERIFY(QFile::link(userDir() + "/a", userDir() + "/link"));
    writeFile(userDir() + "/list", QString("a\n./a\na/\nlink\n%1/a\n").arg(userDir()).toUtf8());
    const Outcome outcome = tool({ "check", "--users-from", "list" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY2(outcome.strOut.contains("1 user\n"), qPrintable(outcome.strOut));
}

void tst_hostuserlist::aNameLeadsWhereTheSystemSays()
{
    QVERIFY(QDir(userDir()).mkpath("a/near") && QDir(userDir()).mkpath("b/sub"));
    QVERIFY(QFile::link(userDir() + "/b/sub", userDir() + "/a/near/l"));
    const QByteArray before = live("a");
    writeFile(userDir() + "/list", "a/near/l/..\n");
    QCOMPARE(tool({ "option", "set", "oaUser=neu", "--users-from", "list" }).nStatus, 0);
    QVERIFY(live("b").contains("oaUser=\"neu\""));
    QCOMPARE(live("a"), before);
}

// Two of them would be one, or none.
void tst_hostuserlist::aNameThatCannotBeToldIsRefused()
{
    const QByteArray name = QFile::encodeName(userDir()) + "/\xff";
    QVERIFY(::mkdir(name.constData(), S_IRWXU) == 0);
    const Outcome outcome = tool({ "check", "--users", "*" });
    QVERIFY(::rmdir(name.constData()) == 0);
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.contains("is not UTF-8"), qPrintable(outcome.strErr));
}

void tst_hostuserlist::aListOfAnotherSystemIsRead()
{
    writeFile(userDir() + "/list",
              "\xef\xbb\xbf"
              "a\r\nb\r\n");
    const Outcome outcome = tool({ "check", "--users-from", "list" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY2(outcome.strOut.contains("2 users\n"), qPrintable(outcome.strOut));
}

void tst_hostuserlist::whatCanBeReadOnceIsRefused_data()
{
    QTest::addColumn<QString>("words");
    QTest::newRow("value") << "option set oaPassword --from-file pipe";
    QTest::newRow("patch") << "apply pipe";
    QTest::newRow("comparison") << "diff pipe";
    QTest::newRow("prompt") << "option set oaPassword";
    QTest::newRow("resume file") << "check --resume -";
}

void tst_hostuserlist::whatCanBeReadOnceIsRefused()
{
    QFETCH(QString, words);
    const QByteArray before = live("a") + live("b") + live("c");
    QVERIFY(::mkfifo(QFile::encodeName(userDir() + "/pipe").constData(), S_IRWXU) == 0);
    const Outcome outcome = tool(words.split(' ') + QStringList { "--users", "[abc]" });
    QVERIFY2(outcome.nStatus == 2, qPrintable(outcome.strErr));
    QCOMPARE(live("a") + live("b") + live("c"), before);
    QVERIFY(!QFile::exists(userDir() + "/-"));
}

// Of each user, also of who was under way.
void tst_hostuserlist::whatWasDoneIsToldWhereNobodyReads()
{
    const Outcome outcome = runProgram(
        "bash", { "-c", "'" TOOL "' option set oaUser=neu --users '[abc]' >/dev/full" }, {},
        userDir());
    QCOMPARE(outcome.nStatus, 3);
    for (const QString user : { "a", "b", "c" }) {
        const bool bChanged = live(user).contains("oaUser=\"neu\"");
        QCOMPARE(outcome.strErr.contains(user + " was changed"), bChanged);
    }
    QVERIFY2(outcome.strErr.contains(" was changed"), qPrintable(outcome.strErr));
}

void tst_hostuserlist::oneObjectNamesWhoFailed()
{
    writeFile(userDir() + "/b/indexUserConfig.xml", "<a>");
    const Outcome outcome = tool({ "check", "--users", "[abc]", "--json" });
    QCOMPARE(outcome.nStatus, 4);
    const QJsonObject answer = QJsonDocument::fromJson(outcome.strOut.toUtf8()).object();
    QCOMPARE(answer["error"].toObject()["message"].toString(), QString("of 1 users it failed"));
    const QJsonArray failed = answer["failed"].toArray();
    QCOMPARE(failed.size(), 1);
    QCOMPARE(failed[0].toObject()["user"].toString(), QString("b"));
    QCOMPARE(failed[0].toObject()["status"].toString(), QString("damaged"));
    QVERIFY(failed[0].toObject()["error"].toString().contains("b/indexUserConfig.xml:1:4"));
}

QTEST_GUILESS_MAIN(tst_hostuserlist)
#include "tst_hostuserlist.moc"
