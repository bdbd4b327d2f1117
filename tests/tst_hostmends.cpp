#include "librarytest.h"
#include "toolrun.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/stat.h>
#include <unistd.h>

// What the host takes back of settings, and what it mends of writes that were cut short.
class tst_hostmends : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aSettingIsKeptAndComesBack_data();
    void aSettingIsKeptAndComesBack();
    void editsAndSettingsAreUndoneInTurn();
    void aSettingThatSomebodyElseChangedIsNotUndone();
    void whatAForcedUndoFoundComesBack_data();
    void whatAForcedUndoFoundComesBack();
    void theSettingThatAForcedUndoFoundComesBack();
    void whatSomebodyElseHasReplacedIsNotDoneAgain_data();
    void whatSomebodyElseHasReplacedIsNotDoneAgain();
    void aSettingThatWasRefusedIsNoEdit();
    void anEditOfASettingIsNoStateOfTheFile();
    void aSettingHasAReceipt();
    void anEditThatWasCutShortIsUndone();
    void aLinkThatIsLeftIsToldAndPutBack_data();
    void aLinkThatIsLeftIsToldAndPutBack();
    void aLinkOfOthersIsNotPutBack();
    void whatHoldsNoNewsLeavesNoLinkBeside();
    void whatRootLeftIsToldAndGivenBack();
    void aSecondNameIsNotGivenAway();
    void theMirrorIsTakenBeforeCopiesOfEarlierSaves_data();
    void theMirrorIsTakenBeforeCopiesOfEarlierSaves();

private:
    Outcome tool(const QStringList& arguments) const;
    void done(const QStringList& arguments) const;
    QString at(const QString& name) const { return userDir() + '/' + name; }
    QByteArray live() const { return readFile(livePath()); }
    QByteArray setting() const;
    void linkLeft() const;
};

namespace {

void age(const QString& path, int seconds)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite)
        || !file.setFileTime(QDateTime::currentDateTime().addSecs(-seconds),
                             QFileDevice::FileModificationTime)) {
        qFatal("%s", qPrintable(file.errorString()));
    }
}

uid_t ownerOf(const QString& path)
{
    struct stat info { };
    return ::lstat(QFile::encodeName(path), &info) == 0 ? info.st_uid : ~0U;
}

constexpr uid_t c_nTrader = 65534;

} // namespace

void tst_hostmends::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
}

Outcome tst_hostmends::tool(const QStringList& arguments) const
{
    return runTool(QStringList { "--config-dir", userDir() } + arguments);
}

void tst_hostmends::done(const QStringList& arguments) const
{
    const Outcome outcome = tool(arguments);
    QVERIFY2(outcome.nStatus == 0, qPrintable(arguments.join(' ') + ": " + outcome.strErr));
}

// As the store has it, or "(none)".
QByteArray tst_hostmends::setting() const
{
    const QString strPath = at("Settings/UiSettingConfig=key");
    return QFile::exists(strPath) ? readFile(strPath) : QByteArray("(none)");
}

void tst_hostmends::aSettingIsKeptAndComesBack_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::newRow("none") << QByteArray("(none)");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("text") << QByteArray("one");
    QTest::newRow("no text") << QByteArray("\xff\0\n", 3);
}

void tst_hostmends::aSettingIsKeptAndComesBack()
{
    QFETCH(QByteArray, before);
    if (before != "(none)") {
        QVERIFY(QDir(userDir()).mkdir("Settings"));
        writeFile(at("Settings/UiSettingConfig=key"), before);
    }
    const QByteArray file = live();
    done({ "setting", "set", "key", "two" });
    QCOMPARE(setting(), QByteArray("two"));
    done({ "undo", "--dry-run" });
    QCOMPARE(setting(), QByteArray("two"));
    done({ "undo" });
    QCOMPARE(setting(), before);
    QCOMPARE(tool({ "undo" }).nStatus, 1);
    done({ "redo" });
    QCOMPARE(setting(), QByteArray("two"));
    done({ "undo" });
    QCOMPARE(setting(), before);
    QCOMPARE(live(), file);
}

void tst_hostmends::editsAndSettingsAreUndoneInTurn()
{
    const QByteArray file = live();
    done({ "setting", "set", "key", "one" });
    done({ "option", "set", "tickRestoreDay=7" });
    const QByteArray edited = live();
    done({ "setting", "set", "key", "two" });
    done({ "undo" });
    QCOMPARE(setting() + live(), "one" + edited);
    done({ "undo" });
    QCOMPARE(setting() + live(), "one" + file);
    done({ "undo" });
    QCOMPARE(setting() + live(), "(none)" + file);
    done({ "redo" });
    done({ "redo" });
    done({ "redo" });
    QCOMPARE(setting() + live(), "two" + edited);
}

void tst_hostmends::aSettingThatSomebodyElseChangedIsNotUndone()
{
    done({ "setting", "set", "key", "one" });
    writeFile(at("Settings/UiSettingConfig=key"), "other");
    const Outcome outcome = tool({ "undo" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strErr.contains("the setting 'key' has been changed since"),
             qPrintable(outcome.strErr));
    QCOMPARE(setting(), QByteArray("other"));
    done({ "undo", "--force" });
    QCOMPARE(setting(), QByteArray("(none)"));
}

void tst_hostmends::whatAForcedUndoFoundComesBack_data()
{
    QTest::addColumn<QByteArray>("found");
    QTest::addColumn<QStringList>("way");
    const QStringList restore { "history", "restore", "2" };
    QTest::newRow("whole") << QByteArray("<ICUserConfigFile/>") << restore;
    QTest::newRow("torn") << QByteArray("<torn") << restore + QStringList("--force");
}

void tst_hostmends::whatAForcedUndoFoundComesBack()
{
    QFETCH(QByteArray, found);
    QFETCH(QStringList, way);
    done({ "option", "set", "tickRestoreDay=7" });
    writeLive(found);
    const Outcome outcome = tool({ "undo", "--force" });
    QVERIFY2(outcome.strOut.contains("; '" + way.join(' ') + "' brings it back"),
             qPrintable(outcome.strOut));
    QVERIFY(live() != found);
    done(way);
    QCOMPARE(live(), found);
}

void tst_hostmends::theSettingThatAForcedUndoFoundComesBack()
{
    done({ "setting", "set", "key", "one" });
    writeFile(at("Settings/UiSettingConfig=key"), "client");
    const Outcome outcome = tool({ "undo", "--force" });
    QVERIFY2(outcome.strOut.contains("'history restore 2' brings it back"),
             qPrintable(outcome.strOut));
    QCOMPARE(setting(), QByteArray("(none)"));
    done({ "history", "restore", "2" });
    QCOMPARE(setting(), QByteArray("client"));
    done({ "undo" });
    QCOMPARE(setting(), QByteArray("(none)"));
    done({ "history", "restore", "1" });
    QCOMPARE(setting(), QByteArray("(none)"));
}

void tst_hostmends::whatSomebodyElseHasReplacedIsNotDoneAgain_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("file");
    QTest::newRow("file") << "option set tickRestoreDay=7"
                          << "indexUserConfig.xml";
    QTest::newRow("setting") << "setting set key one"
                             << "Settings/UiSettingConfig=key";
}

// Nobody has kept what came of the edit; the way to what the undo has found is told.
void tst_hostmends::whatSomebodyElseHasReplacedIsNotDoneAgain()
{
    QFETCH(QString, words);
    QFETCH(QString, file);
    done(words.split(' '));
    writeFile(at(file), "<ICUserConfigFile/>");
    done({ "undo", "--force" });
    const QByteArray undone = live() + setting();
    const Outcome outcome = tool({ "redo" });
    QCOMPARE(outcome.nStatus, 1);
    QCOMPARE(
        outcome.strErr,
        QString("indexuserctl: what came of edit 1 is not kept: somebody else had changed it "
                "before it was undone; 'history restore 2' brings back what was there then\n"));
    QCOMPARE(live() + setting(), undone);
    done({ "history", "restore", "2" });
    QCOMPARE(readFile(at(file)), QByteArray("<ICUserConfigFile/>"));
}

void tst_hostmends::aSettingThatWasRefusedIsNoEdit()
{
    done({ "setting", "set", "key", "one" });
    // The state, the log, and then the value take their names. Who looks for leaks traces, too, and
    // there is one tracer only.
    const Outcome outcome = runProgram("strace",
                                       { "-f", "-qq", "-o", "/dev/null", "-e", "trace=rename", "-e",
                                         "inject=rename:error=EIO:when=3", TOOL, "--config-dir",
                                         userDir(), "setting", "set", "key", "two" },
                                       { "ASAN_OPTIONS=detect_leaks=0" });
    QVERIFY2(outcome.strErr.contains("was not stored: Input/output error"),
             qPrintable(outcome.strErr));
    QVERIFY2(outcome.nStatus == 3, qPrintable(outcome.strErr));
    QCOMPARE(setting(), QByteArray("one"));
    const QJsonObject answer
        = QJsonDocument::fromJson(tool({ "history", "list", "--json" }).strOut.toUtf8()).object();
    const QJsonObject last = answer["history"].toArray().last().toObject();
    QCOMPARE(last["edit"].toInt(), 2);
    QCOMPARE(last["after"].toString().size(), 64);
    QCOMPARE(last["after"], last["before"]);
    done({ "undo" });
    QCOMPARE(setting(), QByteArray("(none)"));
}

void tst_hostmends::anEditOfASettingIsNoStateOfTheFile()
{
    done({ "setting", "set", "key", "one" });
    done({ "setting", "set", "key", "two" });
    for (const char* pszCommand : { "show", "diff" }) {
        const Outcome outcome = tool({ "history", pszCommand, "2" });
        QCOMPARE(outcome.nStatus, 1);
        QVERIFY(outcome.strErr.contains("edit 2 changed the setting 'key', not the file"));
    }
    QVERIFY(!tool({ "recover", "--list" }).strOut.contains("history"));
    QVERIFY(tool({ "history", "list" }).strOut.contains("setting set key two"));
}

void tst_hostmends::aSettingHasAReceipt()
{
    const Outcome outcome = tool({ "setting", "set", "key", "one", "--json" });
    const QJsonObject receipt
        = QJsonDocument::fromJson(outcome.strOut.toUtf8()).object()["receipt"].toObject();
    // By sha256sum.
    QCOMPARE(receipt["sha256"].toString(),
             QString("7692c3ad3540bb803c020b3aee66cd8887123234ea0c6e7143c0add73ff431ed"));
    QCOMPARE(receipt["bytes"].toInt(), 3);
    QCOMPARE(receipt["durable"].toBool(), true);
    QCOMPARE(receipt["edit"].toInt(), 1);
}

// The last line of the history is what a kill leaves that comes right behind the save.
void tst_hostmends::anEditThatWasCutShortIsUndone()
{
    const QByteArray before = live();
    done({ "option", "set", "tickRestoreDay=7" });
    const QByteArray first = live();
    // strace ends as the tool does.
    runProgram(
        "sh",
        { "-c",
          "strace -f -qq -o /dev/null -e trace=linkat -e inject=linkat:signal=KILL:when=1 -P "
          "\"$1\" \"$2\" --config-dir \"$3\" option set tickRestoreDay=9; :",
          "sh", livePath(), TOOL, userDir() });
    QVERIFY(!QFile::exists(livePath()));
    done({ "recover" });
    const QByteArray second = live();
    QVERIFY(second.contains("tickRestoreDay=\"9\""));
    done({ "undo" });
    QCOMPARE(live(), first);
    done({ "undo" });
    QCOMPARE(live(), before);
}

// As a kill leaves it between the content and the link: where that leads is the state before.
void tst_hostmends::linkLeft() const
{
    const QByteArray before = live();
    done({ "option", "set", "tickRestoreDay=5" });
    QVERIFY(QDir(userDir()).mkdir("shared"));
    writeFile(at("shared/user.xml"), before);
    QCOMPARE(::symlink("shared/user.xml", QFile::encodeName(livePath() + ".link")), 0);
}

void tst_hostmends::aLinkThatIsLeftIsToldAndPutBack_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("recover") << QStringList("recover");
    QTest::newRow("edit") << QStringList { "option", "set", "tickRestoreDay=7" };
}

void tst_hostmends::aLinkThatIsLeftIsToldAndPutBack()
{
    QFETCH(QStringList, words);
    linkLeft();
    const QByteArray saved = live();
    const Outcome outcome = tool({ "check" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strOut.contains("was a link to shared/user.xml before a write"),
             qPrintable(outcome.strOut));
    done(words + QStringList("--dry-run"));
    QVERIFY(!QFileInfo(livePath()).isSymLink());
    done(words);
    QCOMPARE(QFile::symLinkTarget(livePath()), at("shared/user.xml"));
    QCOMPARE(readFile(at("shared/user.xml")) == saved, words.first() == "recover");
    QVERIFY(!QFileInfo(livePath() + ".link").isSymLink());
    QVERIFY(!tool({ "check" }).strOut.contains("lost-link"));
    if (words.first() != "recover") {
        done({ "undo" });
        QCOMPARE(readFile(at("shared/user.xml")), saved);
        QVERIFY(QFileInfo(livePath()).isSymLink());
    }
}

void tst_hostmends::aLinkOfOthersIsNotPutBack()
{
    if (::geteuid() != 0) {
        QSKIP("only root can make a link of somebody else's");
    }
    linkLeft();
    QCOMPARE(::lchown(QFile::encodeName(livePath() + ".link"), c_nTrader, c_nTrader), 0);
    const QByteArray before = readFile(at("shared/user.xml"));
    QVERIFY(!tool({ "check" }).strOut.contains("lost-link"));
    done({ "option", "set", "tickRestoreDay=7" });
    QVERIFY(!QFileInfo(livePath()).isSymLink());
    QCOMPARE(readFile(at("shared/user.xml")), before);
}

void tst_hostmends::whatHoldsNoNewsLeavesNoLinkBeside()
{
    QVERIFY(QFile::rename(livePath(), at("user.xml")));
    QVERIFY(QFile::link("user.xml", livePath()));
    done({ "option", "set", "tickRestoreDay=1" });
    done({ "option", "set", "tickRestoreDay=1" });
    QVERIFY(QFileInfo(livePath()).isSymLink());
    QVERIFY(!QFileInfo(livePath() + ".link").isSymLink());
}

void tst_hostmends::whatRootLeftIsToldAndGivenBack()
{
    if (::geteuid() != 0) {
        QSKIP("only root can give a directory away");
    }
    done({ "option", "set", "tickRestoreDay=7" });
    QCOMPARE(::chown(QFile::encodeName(userDir()), c_nTrader, c_nTrader), 0);
    const Outcome outcome = tool({ "check" });
    QCOMPARE(outcome.nStatus, 1);
    for (const QString& path : { livePath(), at("Temp"), datedPath(), at("History/log.jsonl"),
                                 at("Settings/=userconfig.xml") }) {
        QVERIFY2(outcome.strOut.contains(path + " belongs to root, not to the owner"),
                 qPrintable(path + '\n' + outcome.strOut));
    }
    QVERIFY(tool({ "option", "set", "tickRestoreDay=9" }).nStatus != 0);
    done({ "option", "set", "tickRestoreDay=9", "--force" });
    QVERIFY(!tool({ "check" }).strOut.contains("other-owner"));
    QVERIFY(live().contains("tickRestoreDay=\"9\""));
    QDirIterator all(userDir(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        QCOMPARE(ownerOf(all.next()), c_nTrader);
    }
}

// Root's file somewhere else may have a name here; links are not followed either.
void tst_hostmends::aSecondNameIsNotGivenAway()
{
    if (::geteuid() != 0) {
        QSKIP("only root's files are given back");
    }
    QTemporaryDir elsewhere;
    const QString strSecret = elsewhere.filePath("secret");
    writeFile(strSecret, "root's");
    QVERIFY(QDir(userDir()).mkdir("Temp"));
    QCOMPARE(::link(QFile::encodeName(strSecret), QFile::encodeName(at("Temp/name"))), 0);
    QVERIFY(QFile::link(strSecret, at("Temp/link")));
    QVERIFY(QFile::link(elsewhere.path(), at("History")));
    QCOMPARE(::chown(QFile::encodeName(userDir()), c_nTrader, c_nTrader), 0);
    tool({ "option", "set", "tickRestoreDay=9", "--force" });
    QCOMPARE(ownerOf(strSecret), 0U);
    QCOMPARE(ownerOf(elsewhere.path()), 0U);
    QCOMPARE(ownerOf(at("Temp")), c_nTrader);
}

void tst_hostmends::theMirrorIsTakenBeforeCopiesOfEarlierSaves_data()
{
    QTest::addColumn<int>("copyAge");
    QTest::addColumn<bool>("newestTorn");
    QTest::addColumn<QString>("taken");
    QTest::newRow("the copy of the same save") << 0 << false << "copy";
    QTest::newRow("an earlier save") << 100 << false << "mirror";
    QTest::newRow("that of the same save is torn") << 100 << true << "mirror";
    QTest::newRow("a later save") << -100 << false << "copy";
}

void tst_hostmends::theMirrorIsTakenBeforeCopiesOfEarlierSaves()
{
    QFETCH(int, copyAge);
    QFETCH(bool, newestTorn);
    QFETCH(QString, taken);
    QVERIFY(QDir(userDir()).mkdir("Temp") && QDir(userDir()).mkdir("Settings"));
    writeFile(at("Settings/=userconfig.xml"), "<ICUserConfigFile of=\"mirror\"/>");
    writeFile(at("Temp/indexUserConfig.xml_20240131"), "<ICUserConfigFile of=\"copy\"/>");
    age(at("Settings/=userconfig.xml"), 1000);
    age(at("Temp/indexUserConfig.xml_20240131"), 1000 + copyAge);
    if (newestTorn) {
        writeFile(at("Temp/indexUserConfig.xml_20240201"), "<torn");
        age(at("Temp/indexUserConfig.xml_20240201"), 1000);
    }
    writeLive("");
    age(livePath(), 2000);
    const QString strList = tool({ "recover", "--list" }).strOut;
    QCOMPARE(strList.indexOf("mirror ") < strList.indexOf("2024-01-31"), taken == "mirror");
    QCOMPARE(tool({ "recover" }).nStatus, 0);
    QCOMPARE(live(), "<ICUserConfigFile of=\"" + taken.toLatin1() + "\"/>");
}

QTEST_GUILESS_MAIN(tst_hostmends)
#include "tst_hostmends.moc"
