#include "librarytest.h"
#include "toolrun.h"

// The commands that another program answers, and what the tool says where that is not.
class tst_hostroam : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void theOtherProgramGetsTheWords_data();
    void theOtherProgramGetsTheWords();
    void theOneBesideTheToolComesFirst();
    void withoutItThePackageIsNamed();
    void oneThatCannotBeRunIsNamed();
    void whatMeansNothingIsRefusedHere_data();
    void whatMeansNothingIsRefusedHere();
    void noShellWaitsForAServer();

private:
    QString copiedTool() const;
    void makeProgram(const QString& path, const QByteArray& says) const;
    Outcome tool(const QStringList& arguments) const;
};

void tst_hostroam::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QVERIFY(QDir(userDir()).mkpath("bin"));
    QVERIFY(QFile::copy(TOOL, copiedTool()));
}

// Away from the build, which may have the other program.
QString tst_hostroam::copiedTool() const
{
    return userDir() + "/bin/indexuserctl";
}

void tst_hostroam::makeProgram(const QString& path, const QByteArray& says) const
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    writeFile(path, "#!/bin/sh\necho " + says + "; printf '<%s>' \"$@\"; echo; exit 4\n");
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::ExeOwner));
}

Outcome tst_hostroam::tool(const QStringList& arguments) const
{
    return runProgram(copiedTool(), arguments, {}, userDir());
}

void tst_hostroam::theOtherProgramGetsTheWords_data()
{
    QTest::addColumn<QString>("place");
    QTest::newRow("beside") << "/bin/indexuserctl-roam";
    QTest::newRow("installed") << "/libexec/indexuser/indexuserctl-roam";
}

void tst_hostroam::theOtherProgramGetsTheWords()
{
    QFETCH(QString, place);
    makeProgram(userDir() + place, "here");
    const Outcome outcome
        = tool({ "--config-dir", "a b", "roam", "show", "7", QString::fromUtf8("早盘"), "--wide" });
    QCOMPARE(outcome.strOut,
             QString::fromUtf8("here\n<--config-dir><a b><roam><show><7><早盘><--wide>\n"));
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(outcome.nStatus, 4);
}

void tst_hostroam::theOneBesideTheToolComesFirst()
{
    makeProgram(userDir() + "/bin/indexuserctl-roam", "beside");
    makeProgram(userDir() + "/libexec/indexuser/indexuserctl-roam", "installed");
    QCOMPARE(tool({ "roam", "status" }).strOut, QString("beside\n<roam><status>\n"));
}

void tst_hostroam::withoutItThePackageIsNamed()
{
    const Outcome outcome = tool({ "roam", "status", "--json" });
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.contains("libindexuser-roaming"), qPrintable(outcome.strErr));
    const QJsonObject answer = QJsonDocument::fromJson(outcome.strOut.toUtf8()).object();
    QCOMPARE(answer["error"].toObject()["code"], QJsonValue("input-output"));
    QCOMPARE(answer["command"], QJsonValue("roam status"));
}

void tst_hostroam::oneThatCannotBeRunIsNamed()
{
    writeFile(userDir() + "/bin/indexuserctl-roam", "no program");
    const Outcome outcome = tool({ "roam", "status" });
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.contains("/bin/indexuserctl-roam: "), qPrintable(outcome.strErr));
}

void tst_hostroam::whatMeansNothingIsRefusedHere_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("message");
    QTest::newRow("no choice") << "roam resolve 1"
                               << "--take is required";
    QTest::newRow("another choice") << "roam resolve 1 --take both"
                                    << "--take: 'both' is neither mine nor theirs";
    QTest::newRow("no number") << "roam show"
                               << "N is required";
    QTest::newRow("no command") << "roam statsu"
                                << "there is no command 'roam statsu', did you mean 'roam status'?";
    QTest::newRow("no option") << "roam history --usr x"
                               << "there is no option '--usr'";
}

void tst_hostroam::whatMeansNothingIsRefusedHere()
{
    QFETCH(QString, words);
    QFETCH(QString, message);
    makeProgram(userDir() + "/bin/indexuserctl-roam", "asked");
    const Outcome outcome = tool(words.split(' '));
    QCOMPARE(outcome.nStatus, 2);
    QCOMPARE(outcome.strOut, QString());
    QVERIFY2(outcome.strErr.contains(message), qPrintable(outcome.strErr));
}

void tst_hostroam::noShellWaitsForAServer()
{
    makeProgram(userDir() + "/bin/indexuserctl-roam", "asked");
    const auto completed
        = [&](const QStringList& words) { return tool(QStringList { "complete" } + words).strOut; };
    QCOMPARE(completed({ "roam", "show", "" }), QString());
    QCOMPARE(completed({ "roam", "resolve", "1", "--take", "" }), QString("mine\ntheirs\n"));
    QCOMPARE(completed({ "roam", "s" }), QString("status\nshow\n"));
}

QTEST_GUILESS_MAIN(tst_hostroam)
#include "tst_hostroam.moc"
