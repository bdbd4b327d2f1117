#include "filelimits.h"
#include "librarytest.h"
#include "toolrun.h"

#include <QTextCodec>

#include <sys/stat.h>
#include <unistd.h>

// Whose a user's files are after the host has changed them, and what they are besides their
// content.
class tst_hostowners : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void allThatIsWrittenIsTheOwners_data();
    void allThatIsWrittenIsTheOwners();
    void aSaveThatFailsLeavesNothingOfRoots();
    void whoCannotMakeFilesOfTheOwnersIsRefused();
    void linksOfOthersAreNotFollowed_data();
    void linksOfOthersAreNotFollowed();
    void linksOfTheOwnersAreFollowed();
    void rootBringsItsOwnFileBack();
    void aCandidateIsReadAsTheOwner();
    void theLockOfRootIsToldAndGivenBack_data();
    void theLockOfRootIsToldAndGivenBack();
    void aReadOnlyFileWantsForce_data();
    void aReadOnlyFileWantsForce();
    void aFileOfAnothersWantsForce();
    void permissionsAndGroupAreKept_data();
    void permissionsAndGroupAreKept();
    void theTargetOfALinkIsReplaced_data();
    void theTargetOfALinkIsReplaced();
    void aLinkIntoAClosedDirectoryIsRefused();
    void aLinkToADamagedFileIsNotMoved();
    void aFailedSaveLeavesTheLink();

private:
    Outcome tool(const QStringList& arguments) const;
    QString at(const QString& name) const { return userDir() + '/' + name; }
    QStringList othersFiles() const;
};

namespace {

constexpr uid_t c_nOther = 65533;

uid_t owner()
{
    return ::geteuid() == 0 ? 65534 : ::geteuid();
}

gid_t group()
{
    return ::geteuid() == 0 ? 65534 : ::getegid();
}

void give(const QString& path, uid_t uid, gid_t gid)
{
    CNobody::check(::lchown(QFile::encodeName(path), uid, gid), "lchown");
}

mode_t modeOf(const QString& path)
{
    struct stat info { };
    CNobody::check(::stat(QFile::encodeName(path), &info), "stat");
    return info.st_mode & 07777;
}

void setMode(const QString& path, mode_t mode)
{
    CNobody::check(::chmod(QFile::encodeName(path), mode), "chmod");
}

const QStringList& anEdit()
{
    static const QStringList s_words { "option", "set", "tickRestoreDay=7" };
    return s_words;
}

} // namespace

void tst_hostowners::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    give(livePath(), owner(), group());
    give(userDir(), owner(), group());
}

Outcome tst_hostowners::tool(const QStringList& arguments) const
{
    return runProgram(TOOL, QStringList { "--config-dir", userDir() } + arguments);
}

QStringList tst_hostowners::othersFiles() const
{
    QStringList found;
    QDirIterator all(userDir(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QFileInfo file(all.next());
        if (file.ownerId() != owner() || file.groupId() != group()) {
            found.append(file.filePath());
        }
    }
    return found;
}

void tst_hostowners::allThatIsWrittenIsTheOwners_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QStringList>("made");
    QTest::newRow("edit") << anEdit() << QStringList { "Temp", "Settings" };
    QTest::newRow("setting") << QStringList { "setting", "set", "a", "b" }
                             << QStringList { "Settings" };
    QTest::newRow("recover") << QStringList { "recover" } << QStringList();
    QTest::newRow("restore") << QStringList { "snapshot", "restore", "2024-01-31" }
                             << QStringList();
    QTest::newRow("conversion") << QStringList { "recover", "--encoding", "gbk" } << QStringList();
}

void tst_hostowners::allThatIsWrittenIsTheOwners()
{
    QFETCH(QStringList, words);
    QFETCH(QStringList, made);
    const QByteArray content = readFile(livePath());
    if (made.isEmpty()) {
        QVERIFY(QDir(userDir()).mkdir("Temp"));
        writeFile(at("Temp/indexUserConfig.xml_20240131"), content + '\n');
        give(at("Temp"), owner(), group());
        give(at("Temp/indexUserConfig.xml_20240131"), owner(), group());
    }
    if (words == QStringList { "recover" }) {
        writeLive("<damaged");
    } else if (words.contains("gbk")) {
        writeLive(QTextCodec::codecForName("GBK")->fromUnicode(QString::fromUtf8(content)));
    }
    const Outcome outcome = tool(words);
    QVERIFY2(outcome.nStatus == 0 || outcome.nStatus == 6, qPrintable(outcome.strErr));
    QCOMPARE(othersFiles(), QStringList());
    for (const QString& folder : made) {
        QCOMPARE(modeOf(at(folder)), 0700U);
    }
    QVERIFY(!made.isEmpty() || QDir(userDir()).exists("History"));
}

void tst_hostowners::aSaveThatFailsLeavesNothingOfRoots()
{
    {
        const CFileSizeLimit limit(100); // inherited by the tool
        QCOMPARE(tool(anEdit()).nStatus, 3);
    }
    QVERIFY(QFile::exists(at("Temp")));
    QCOMPARE(othersFiles(), QStringList());
}

void tst_hostowners::whoCannotMakeFilesOfTheOwnersIsRefused()
{
    if (::geteuid() != 0) {
        QSKIP("only root can give a directory away");
    }
    const QByteArray before = readFile(livePath());
    setMode(userDir(), 0777);
    give(userDir(), c_nOther, group());
    Outcome outcome {};
    {
        const CNobody nobody({ livePath() });
        outcome = tool(anEdit());
    }
    QCOMPARE(outcome.nStatus, 3);
    QCOMPARE(outcome.strErr,
             QString("indexuserctl: %1 belongs to 65533, who could not read what nobody writes "
                     "there\n")
                 .arg(userDir()));
    QCOMPARE(readFile(livePath()), before);
    QCOMPARE(QDir(userDir()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
    QCOMPARE(tool({ "show" }).nStatus, 0);
}

void tst_hostowners::linksOfOthersAreNotFollowed_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("words");
    for (const char* pszName : { "Temp", "Settings", "History", "indexUserConfig.xml" }) {
        QTest::newRow(pszName) << pszName << anEdit();
    }
    QTest::newRow("setting") << "Settings" << QStringList { "setting", "set", "a", "b" };
    QTest::newRow("recover") << "Temp" << QStringList { "recover" };
    QTest::newRow("restore") << "Temp" << QStringList { "snapshot", "restore", "2024-01-31" };
}

void tst_hostowners::linksOfOthersAreNotFollowed()
{
    QFETCH(QString, name);
    QFETCH(QStringList, words);
    if (::geteuid() != 0) {
        QSKIP("only root can make a link somebody else's");
    }
    const QTemporaryDir elsewhere;
    QVERIFY(elsewhere.isValid());
    setMode(elsewhere.path(), 0777);
    const QByteArray before = readFile(livePath());
    const bool bLive = name.endsWith("xml");
    const QString strTarget = bLive ? elsewhere.filePath("live") : elsewhere.path();
    QVERIFY(!bLive || QFile::rename(livePath(), strTarget));
    QVERIFY(QFile::link(strTarget, at(name)));
    give(at(name), c_nOther, c_nOther);
    const Outcome outcome = tool(words);
    QCOMPARE(outcome.nStatus, 3);
    QCOMPARE(outcome.strErr,
             QString("indexuserctl: %1 is a link of 65533's, and is not followed\n").arg(at(name)));
    QCOMPARE(QDir(elsewhere.path()).entryList(QDir::Files | QDir::Hidden),
             bLive ? QStringList("live") : QStringList());
    QCOMPARE(readFile(bLive ? strTarget : livePath()), before);
}

void tst_hostowners::linksOfTheOwnersAreFollowed()
{
    const QTemporaryDir elsewhere;
    QVERIFY(elsewhere.isValid());
    give(elsewhere.path(), owner(), group());
    QVERIFY(QFile::link(elsewhere.path(), at("Temp")));
    give(at("Temp"), owner(), group());
    QCOMPARE(tool(anEdit()).nStatus, 0);
    const QFileInfoList copies = QDir(elsewhere.path()).entryInfoList(QDir::Files);
    QCOMPARE(copies.size(), 1);
    QCOMPARE(copies.first().ownerId(), owner());
}

void tst_hostowners::rootBringsItsOwnFileBack()
{
    if (::geteuid() != 0) {
        QSKIP("only root reads what the owner cannot");
    }
    const QTemporaryDir elsewhere; // for root only
    const QByteArray backup = "<ICUserConfigFile of=\"root\"/>";
    writeFile(elsewhere.filePath("backup.xml"), backup);
    const Outcome outcome = tool({ "recover", "--from", elsewhere.filePath("backup.xml") });
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(readFile(livePath()), backup);
    QCOMPARE(othersFiles(), QStringList());
}

void tst_hostowners::aCandidateIsReadAsTheOwner()
{
    if (::geteuid() != 0) {
        QSKIP("only root reads what the owner cannot");
    }
    const QTemporaryDir elsewhere; // for root only
    writeFile(elsewhere.filePath("secret.xml"), "<ICUserConfigFile of=\"root\"/>");
    QVERIFY(QDir(userDir()).mkdir("Temp"));
    QVERIFY(QFile::link(elsewhere.filePath("secret.xml"), at("Temp/indexUserConfig.xml_20240131")));
    const QByteArray before = readFile(livePath());
    QCOMPARE(tool({ "recover", "--from", "2024-01-31" }).nStatus, 3);
    QCOMPARE(readFile(livePath()), before);
}

void tst_hostowners::theLockOfRootIsToldAndGivenBack_data()
{
    QTest::addColumn<QByteArray>("lock");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("of the dead") << "999999999\nindexuserctl\n"
            + QSysInfo::machineHostName().toUtf8() + '\n';
}

void tst_hostowners::theLockOfRootIsToldAndGivenBack()
{
    QFETCH(QByteArray, lock);
    if (::geteuid() != 0) {
        QSKIP("only root can give a directory away");
    }
    const QString strLock = at("indexUserConfig.lock");
    writeFile(strLock, lock);
    setMode(strLock, 0600);
    QFile file(strLock);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(-60),
                             QFileDevice::FileModificationTime));
    QVERIFY(tool({ "check" }).strOut.contains(strLock + " belongs to root, not to the owner"));
    const Outcome busy = tool(anEdit() + QStringList { "--wait", "0" });
    QCOMPARE(busy.nStatus, 5);
    const QString strHint = " belongs to root: an edit by root with --force gives it back\n";
    QVERIFY2(busy.strErr.endsWith("; " + strLock + strHint), qPrintable(busy.strErr));
    QCOMPARE(tool(anEdit() + QStringList { "--wait", "0", "--force" }).strErr, QString());
    QCOMPARE(othersFiles(), QStringList());
    QVERIFY(readFile(livePath()).contains("tickRestoreDay=\"7\""));
    QVERIFY(!QFile::exists(strLock));
}

void tst_hostowners::aReadOnlyFileWantsForce_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("edit") << anEdit();
    QTest::newRow("template") << QStringList { "template", "save", "x" };
    QTest::newRow("restore") << QStringList { "snapshot", "restore", "2024-01-31" };
}

void tst_hostowners::aReadOnlyFileWantsForce()
{
    QFETCH(QStringList, words);
    QVERIFY(QDir(userDir()).mkdir("Temp"));
    give(at("Temp"), owner(), group());
    const QByteArray before = readFile(livePath());
    writeFile(at("Temp/indexUserConfig.xml_20240131"), "<ICUserConfigFile/>");
    give(at("Temp/indexUserConfig.xml_20240131"), owner(), group());
    setMode(livePath(), 0444);
    const Outcome outcome = tool(words);
    QCOMPARE(outcome.nStatus, 3);
    QCOMPARE(outcome.strErr,
             QString("indexuserctl: %1 is read-only; --force changes it all the same\n")
                 .arg(livePath()));
    QCOMPARE(readFile(livePath()), before);
    const Outcome forced = tool(words + QStringList("--force"));
    QVERIFY2(forced.nStatus == 0, qPrintable(forced.strErr));
    QVERIFY(readFile(livePath()) != before);
    QCOMPARE(modeOf(livePath()), 0444U);
}

void tst_hostowners::aFileOfAnothersWantsForce()
{
    if (::geteuid() != 0) {
        QSKIP("only root can give a file away");
    }
    give(livePath(), c_nOther, group());
    setMode(livePath(), 0644);
    const Outcome outcome = tool(anEdit());
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.contains("belongs to somebody else than this directory"),
             qPrintable(outcome.strErr));
    QCOMPARE(tool(anEdit() + QStringList("--force")).nStatus, 0);
    QCOMPARE(othersFiles(), QStringList());
}

void tst_hostowners::permissionsAndGroupAreKept_data()
{
    QTest::addColumn<QString>("mode");
    for (const char* pszMode : { "600", "640", "664", "604" }) {
        QTest::newRow(pszMode) << pszMode;
    }
}

void tst_hostowners::permissionsAndGroupAreKept()
{
    QFETCH(QString, mode);
    const mode_t nMode = mode.toUInt(nullptr, 8);
    setMode(livePath(), nMode);
    QVERIFY(QDir(userDir()).mkdir("Temp"));
    give(at("Temp"), owner(), group());
    for (const QStringList& words : { anEdit(), QStringList { "snapshot", "restore", "2024-01-31" },
                                      QStringList("recover") }) {
        writeFile(at("Temp/indexUserConfig.xml_20240131"), "<ICUserConfigFile/>");
        give(at("Temp/indexUserConfig.xml_20240131"), owner(), group());
        if (words.first() == "recover") {
            writeLive("<damaged");
        }
        const QByteArray before = readFile(livePath());
        QCOMPARE(tool(words).strErr, QString());
        QVERIFY(readFile(livePath()) != before);
        QCOMPARE(modeOf(livePath()), nMode);
        QCOMPARE(QFileInfo(livePath()).groupId(), group());
    }
}

void tst_hostowners::theTargetOfALinkIsReplaced_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("edit") << anEdit();
    QTest::newRow("restore") << QStringList { "snapshot", "restore", "2024-01-31" };
}

void tst_hostowners::theTargetOfALinkIsReplaced()
{
    QFETCH(QStringList, words);
    QVERIFY(QDir(userDir()).mkpath("shared"));
    QVERIFY(QDir(userDir()).mkpath("Temp"));
    writeFile(at("Temp/indexUserConfig.xml_20240131"), "<ICUserConfigFile/>");
    const QByteArray before = readFile(livePath());
    QVERIFY(QFile::rename(livePath(), at("shared/user.xml")));
    setMode(at("shared/user.xml"), 0640);
    QCOMPARE(::symlink("shared/user.xml", QFile::encodeName(livePath())), 0);
    for (const char* pszName : { "Temp", "Temp/indexUserConfig.xml_20240131", "shared",
                                 "shared/user.xml", "indexUserConfig.xml" }) {
        give(at(pszName), owner(), group());
    }
    const Outcome outcome = tool(words);
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(outcome.nStatus, 0);
    char target[64] = {};
    QVERIFY(::readlink(QFile::encodeName(livePath()), target, sizeof target - 1) > 0);
    QCOMPARE(QByteArray(target), QByteArray("shared/user.xml"));
    QVERIFY(readFile(at("shared/user.xml")) != before);
    QCOMPARE(readFile(at("shared/user.xml")),
             readFile(words == anEdit() ? datedPath() : at("Temp/indexUserConfig.xml_20240131")));
    QCOMPARE(modeOf(at("shared/user.xml")), 0640U);
    QCOMPARE(othersFiles(), QStringList());
}

void tst_hostowners::aLinkIntoAClosedDirectoryIsRefused()
{
    QVERIFY(QDir(userDir()).mkpath("shared"));
    const QByteArray before = readFile(livePath());
    QVERIFY(QFile::rename(livePath(), at("shared/user.xml")));
    QVERIFY(QFile::link("shared/user.xml", livePath()));
    Outcome outcome {};
    {
        const CReadOnlyDirectory closed(at("shared"), { at("shared/user.xml") });
        outcome = tool(anEdit() + QStringList("--force"));
    }
    QCOMPARE(outcome.nStatus, 3);
    QCOMPARE(outcome.strErr,
             QString("indexuserctl: %1 cannot be replaced: its directory is closed\n")
                 .arg(at("shared/user.xml")));
    QCOMPARE(readFile(at("shared/user.xml")), before);
    QVERIFY(QFileInfo(livePath()).isSymLink());
}

void tst_hostowners::aLinkToADamagedFileIsNotMoved()
{
    QVERIFY(QDir(userDir()).mkpath("Temp"));
    writeFile(at("Temp/indexUserConfig.xml_20240131"), "<ICUserConfigFile/>");
    QVERIFY(QFile::rename(livePath(), at("user.xml")));
    QVERIFY(QFile::link("user.xml", livePath()));
    give(livePath(), owner(), group());
    QCOMPARE(tool({ "recover" }).nStatus, 0); // whole
    writeFile(at("user.xml"), "<damaged");
    const Outcome outcome = tool({ "recover" });
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.contains("is a link to the damaged file " + at("user.xml")),
             qPrintable(outcome.strErr));
    QVERIFY(QFileInfo(livePath()).isSymLink());
    QCOMPARE(readFile(at("user.xml")), QByteArray("<damaged"));
}

void tst_hostowners::aFailedSaveLeavesTheLink()
{
    const QByteArray before = readFile(livePath());
    QVERIFY(QFile::rename(livePath(), at("user.xml")));
    QVERIFY(QFile::link("user.xml", livePath()));
    give(livePath(), owner(), group());
    {
        const CFileSizeLimit limit(100);
        QCOMPARE(tool(anEdit()).nStatus, 3);
    }
    QVERIFY(QFileInfo(livePath()).isSymLink());
    QCOMPARE(readFile(livePath()), before);
}

QTEST_GUILESS_MAIN(tst_hostowners)
#include "tst_hostowners.moc"
