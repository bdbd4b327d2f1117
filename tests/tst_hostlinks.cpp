#include "librarytest.h"
#include "toolrun.h"

#include <unistd.h>

// The note of a link that the host leaves beside the file, and what else may have its name.
class tst_hostlinks : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void whatTheHistoryDoesNotKnowIsNotReplaced_data();
    void whatTheHistoryDoesNotKnowIsNotReplaced();
    void aNoteThatLeadsNowhereHoldsNobodyUp();
    void aNoteOfAMissingFileIsPutBack();
    void aFileOfTheNotesNameStays_data();
    void aFileOfTheNotesNameStays();
    void aLinkToAMissingFileStaysALink_data();
    void aLinkToAMissingFileStaysALink();
    void aLinkIntoAMissingDirectoryIsRefused_data();
    void aLinkIntoAMissingDirectoryIsRefused();

private:
    Outcome tool(const QStringList& arguments) const;
    QString at(const QString& name) const { return userDir() + '/' + name; }
    QString note() const { return livePath() + ".link"; }
    void moveAway() const;
};

namespace {

QByteArray linkOf(const QString& path)
{
    char target[256] = {};
    return ::readlink(QFile::encodeName(path), target, sizeof target - 1) < 0 ? QByteArray()
                                                                              : QByteArray(target);
}

void link(const QByteArray& target, const QString& path)
{
    if (::symlink(target.constData(), QFile::encodeName(path)) != 0) {
        qFatal("no link at %s", qPrintable(path));
    }
}

const QStringList& anEdit()
{
    static const QStringList s_words { "option", "set", "tickRestoreDay=7" };
    return s_words;
}

} // namespace

void tst_hostlinks::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QVERIFY(QDir(userDir()).mkdir("shared"));
}

Outcome tst_hostlinks::tool(const QStringList& arguments) const
{
    return runTool(QStringList { "--config-dir", userDir() } + arguments);
}

// The live file is in a shared directory, and an edit has been made there.
void tst_hostlinks::moveAway() const
{
    QVERIFY(QFile::rename(livePath(), at("shared/user.xml")));
    link("shared/user.xml", livePath());
    QCOMPARE(tool({ "option", "set", "tickRestoreDay=5" }).nStatus, 0);
}

void tst_hostlinks::whatTheHistoryDoesNotKnowIsNotReplaced_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("recover") << QStringList("recover");
    QTest::newRow("edit") << anEdit();
    QTest::newRow("restore") << QStringList { "history", "restore", "1" };
}

void tst_hostlinks::whatTheHistoryDoesNotKnowIsNotReplaced()
{
    QFETCH(QStringList, words);
    QCOMPARE(tool({ "option", "set", "tickRestoreDay=5" }).nStatus, 0);
    const QByteArray others = readFile(livePath()).replace("tickRestoreDay=\"5\"", "");
    writeFile(at("shared/user.xml"), others);
    link("shared/user.xml", note());
    const Outcome outcome = tool(words);
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    QCOMPARE(readFile(at("shared/user.xml")), others);
    QVERIFY(!QFileInfo(livePath()).isSymLink());
    QCOMPARE(linkOf(note()), QByteArray("shared/user.xml"));
    const QString strTold = "may have been a link to shared/user.xml, where something else is now";
    QVERIFY(tool({ "check" }).strOut.contains(strTold));
    QVERIFY(tool({ "recover" }).strOut.contains("; but it " + strTold));
}

void tst_hostlinks::aNoteThatLeadsNowhereHoldsNobodyUp()
{
    link("away/user.xml", note());
    QCOMPARE(tool(anEdit()).strErr, QString());
    QVERIFY(!QFileInfo(livePath()).isSymLink());
    QVERIFY(readFile(livePath()).contains("tickRestoreDay=\"7\""));
    QVERIFY(!QFile::exists(at("away")));
}

void tst_hostlinks::aNoteOfAMissingFileIsPutBack()
{
    const QByteArray saved = readFile(livePath());
    link("shared/user.xml", note());
    QCOMPARE(tool({ "recover" }).nStatus, 0);
    QCOMPARE(linkOf(livePath()), QByteArray("shared/user.xml"));
    QCOMPARE(readFile(at("shared/user.xml")), saved);
}

void tst_hostlinks::aFileOfTheNotesNameStays_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("edit") << anEdit();
    QTest::newRow("restore") << QStringList { "history", "restore", "1" };
}

void tst_hostlinks::aFileOfTheNotesNameStays()
{
    QFETCH(QStringList, words);
    moveAway();
    const QByteArray before = readFile(livePath());
    writeFile(note(), "mine");
    const Outcome outcome = tool(words);
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.contains("no note of it can be left beside it"),
             qPrintable(outcome.strErr));
    QCOMPARE(readFile(note()), QByteArray("mine"));
    QCOMPARE(linkOf(livePath()), QByteArray("shared/user.xml"));
    QCOMPARE(readFile(livePath()), before);
}

void tst_hostlinks::aLinkToAMissingFileStaysALink_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("recover") << QStringList("recover");
    QTest::newRow("from") << QStringList { "recover", "--from", "mirror" };
    QTest::newRow("undo") << QStringList { "undo", "--force" };
}

void tst_hostlinks::aLinkToAMissingFileStaysALink()
{
    QFETCH(QStringList, words);
    const QByteArray before = readFile(livePath());
    moveAway();
    const QByteArray saved = readFile(livePath());
    QVERIFY(QFile::remove(at("shared/user.xml")));
    QCOMPARE(tool(words).strErr, QString());
    QCOMPARE(linkOf(livePath()), QByteArray("shared/user.xml"));
    QCOMPARE(readFile(at("shared/user.xml")), words.first() == "undo" ? before : saved);
    QVERIFY(linkOf(note()).isEmpty());
}

void tst_hostlinks::aLinkIntoAMissingDirectoryIsRefused_data()
{
    aLinkToAMissingFileStaysALink_data();
}

void tst_hostlinks::aLinkIntoAMissingDirectoryIsRefused()
{
    QFETCH(QStringList, words);
    moveAway();
    QVERIFY(QDir().rename(at("shared"), at("away")));
    const Outcome outcome = tool(words);
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.contains("shared/user.xml cannot be written: its directory is not "
                                     "there\n"),
             qPrintable(outcome.strErr));
    QCOMPARE(linkOf(livePath()), QByteArray("shared/user.xml"));
    QVERIFY(linkOf(note()).isEmpty());
    QVERIFY(!QFile::exists(at("shared")));
}

QTEST_GUILESS_MAIN(tst_hostlinks)
#include "tst_hostlinks.moc"
