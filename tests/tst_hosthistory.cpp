#include "librarytest.h"
#include "toolrun.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextCodec>

// The host and the states of before: history, undo, redo, and all that recover knows.
class tst_hosthistory : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void undoBringsBackTheVeryBytes_data();
    void undoBringsBackTheVeryBytes();
    void undoneAgainTheOneBeforeComesBack();
    void whatSomebodyElseSavedIsNotUndone();
    void theStateBeforeTodayCanBeHadBack();
    void noSecretIsInTheLines();
    void editsAreListedShownAndCompared();
    void aNumberThatIsNoneIsTold_data();
    void aNumberThatIsNoneIsTold();
    void anAnswerHasAReceipt();
    void oldEditsAreForgotten();
    void theCheckTellsHowMuchIsKept();
    void everyCandidateIsListed();
    void anyCandidateComesBack();
    void theMirrorIsTakenWhenNoCopyIsWhole();
    void aNewerCopyIsToldAndTaken();
    void whatIsWholeInACutFileIsSalvaged();
    void withoutCopyTheRestIsLostAndTold();
    void whereNothingIsWholeNothingIsSalvaged_data();
    void whereNothingIsWholeNothingIsSalvaged();
    void theHistoryIsTakenWhereNothingElseIsWhole();
    void oneWayBackIsAskedForAtATime();
    void aDamagedFileIsOlderThanAnyCopy();
    void whatTheWriterBreaksIsNoFailure();
    void whatNobodyReadsIsShownAsLost();

private:
    Outcome tool(const QStringList& arguments) const;
    void edit(const QStringList& arguments = { "option", "set", "tickRestoreDay=7" }) const;
    QByteArray live() const { return readFile(livePath()); }
};

Outcome tst_hosthistory::tool(const QStringList& arguments) const
{
    return runTool(QStringList { "--config-dir", userDir() } + arguments);
}

void tst_hosthistory::edit(const QStringList& arguments) const
{
    const Outcome outcome = tool(arguments);
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
}

void tst_hosthistory::initTestCase()
{
    QVERIFY(QFile::exists(TOOL));
}

void tst_hosthistory::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
}

void tst_hosthistory::undoBringsBackTheVeryBytes_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("option") << QStringList { "option", "set", "tickRestoreDay=7" };
    QTest::newRow("stock") << QStringList { "stock", "add", "7", "SH", "601012" };
    QTest::newRow("template") << QStringList { "template", "save", "new" };
}

void tst_hosthistory::undoBringsBackTheVeryBytes()
{
    QFETCH(QStringList, words);
    const QByteArray before = live();
    edit(words);
    const QByteArray after = live();
    QVERIFY(after != before);
    edit({ "undo" });
    QCOMPARE(live(), before);
    edit({ "redo" });
    QCOMPARE(live(), after);
    QCOMPARE(tool({ "redo" }).nStatus, 1);
}

void tst_hosthistory::undoneAgainTheOneBeforeComesBack()
{
    const QByteArray before = live();
    edit();
    edit({ "stock", "add", "7", "SH", "601012" });
    edit({ "undo" });
    edit({ "undo" });
    QCOMPARE(live(), before);
    const Outcome outcome = tool({ "undo" });
    QCOMPARE(outcome.nStatus, 1);
    QCOMPARE(outcome.strErr, QString("indexuserctl: there is nothing to undo\n"));
}

void tst_hosthistory::whatSomebodyElseSavedIsNotUndone()
{
    const QByteArray before = live();
    edit();
    const QByteArray saved = live().replace("tickRestoreDay=\"7\"", "tickRestoreDay=\"9\"");
    writeLive(saved);
    const Outcome outcome = tool({ "undo" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strErr.contains("the file has been changed since"),
             qPrintable(outcome.strErr));
    QCOMPARE(live(), saved);
    edit({ "undo", "--force" });
    QCOMPARE(live(), before);
    edit({ "history", "restore", "2" });
    QCOMPARE(live(), saved);
}

// Today's copy is the change itself.
void tst_hosthistory::theStateBeforeTodayCanBeHadBack()
{
    const QByteArray before = live();
    edit();
    const QString strToday = QDate::currentDate().toString(Qt::ISODate);
    QVERIFY(tool({ "snapshot", "restore", strToday }).strOut.contains("is the same already"));
    edit({ "undo" });
    QCOMPARE(live(), before);
    edit({ "snapshot", "restore", strToday });
    QVERIFY(live() != before);
    edit({ "undo" });
    QCOMPARE(live(), before);
}

void tst_hosthistory::noSecretIsInTheLines()
{
    edit({ "option", "set", "oaPassword=very secret", "tickRestoreDay=7" });
    const QByteArray lines = readFile(userDir() + "/History/log.jsonl");
    QVERIFY(lines.contains("option set oaPassword=(hidden) tickRestoreDay=7"));
    QVERIFY(!lines.contains("very secret"));
    QVERIFY(!tool({ "history", "list" }).strOut.contains("very secret"));
    edit({ "setting", "set", "oaPassword", "hunter3" });
    const QByteArray more = readFile(userDir() + "/History/log.jsonl");
    QVERIFY(more.contains("setting set oaPassword=(hidden)\""));
    QVERIFY(!more.contains("hunter3"));
}

void tst_hosthistory::editsAreListedShownAndCompared()
{
    edit();
    edit({ "option", "set", "tickRestoreDay=9" });
    const QJsonObject answer
        = QJsonDocument::fromJson(tool({ "history", "list", "--json" }).strOut.toUtf8()).object();
    const QJsonArray edits = answer["history"].toArray();
    QCOMPARE(edits.size(), 2);
    QCOMPARE(edits[0].toObject()["after"], edits[1].toObject()["before"]);
    QCOMPARE(edits[1].toObject()["command"].toString(), QString("option set tickRestoreDay=9"));
    QVERIFY(tool({ "history", "show", "2", "options" })
                .strOut.contains(QRegularExpression("tickRestoreDay +yes +7 ")));
    const QRegularExpression fromTwo("tickRestoreDay +2 +7\n");
    QVERIFY(tool({ "history", "diff", "1", "2" }).strOut.contains(fromTwo));
    const QRegularExpression toNow("tickRestoreDay +7 +9\n");
    QVERIFY(tool({ "history", "diff", "2" }).strOut.contains(toNow));
}

void tst_hosthistory::aNumberThatIsNoneIsTold_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<int>("status");
    QTest::newRow("not there") << "7" << 1;
    QTest::newRow("none") << "x" << 2;
}

void tst_hosthistory::aNumberThatIsNoneIsTold()
{
    QFETCH(QString, word);
    QFETCH(int, status);
    edit();
    const QByteArray before = live();
    for (const char* pszCommand : { "show", "diff", "restore" }) {
        const Outcome outcome = tool({ "history", pszCommand, word });
        QCOMPARE(outcome.nStatus, status);
        QVERIFY(outcome.strErr.contains("there is no edit '" + word + '\''));
    }
    QCOMPARE(live(), before);
}

void tst_hosthistory::anAnswerHasAReceipt()
{
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7", "--json" });
    const QJsonObject answer = QJsonDocument::fromJson(outcome.strOut.toUtf8()).object();
    QCOMPARE(answer["changes"].toArray().size(), 1);
    const QJsonObject receipt = answer["receipt"].toObject();
    QCOMPARE(receipt["sha256"].toString().toLatin1(),
             QCryptographicHash::hash(live(), QCryptographicHash::Sha256).toHex());
    QCOMPARE(receipt["bytes"].toInt(), live().size());
    QCOMPARE(receipt["durable"].toBool(), true);
    QCOMPARE(receipt["edit"].toInt(), 1);
}

void tst_hosthistory::oldEditsAreForgotten()
{
    edit();
    edit({ "option", "set", "tickRestoreDay=9" });
    QCOMPARE(tool({ "history", "prune", "--keep", "0d", "--dry-run" }).nStatus, 0);
    QCOMPARE(tool({ "history", "show", "1" }).nStatus, 0);
    edit({ "history", "prune" });
    QCOMPARE(tool({ "history", "show", "1" }).nStatus, 0);
    edit({ "history", "prune", "--keep", "0h" });
    QCOMPARE(tool({ "history", "show", "1" }).nStatus, 1);
    for (const char* pszAge : { "x", "d", "-1d", "5", "9999999d" }) {
        QCOMPARE(tool({ "history", "prune", "--keep", pszAge }).nStatus, 2);
    }
}

void tst_hosthistory::theCheckTellsHowMuchIsKept()
{
    QVERIFY(!tool({ "check" }).strOut.contains("history"));
    edit();
    qint64 nBytes = 0;
    const auto files = QDir(userDir() + "/History").entryInfoList(QDir::Files);
    for (const QFileInfo& file : files) {
        nBytes += file.size();
    }
    QVERIFY(tool({ "check" })
                .strOut.contains(QStringLiteral("\nhistory: 1 edits, %1 bytes\n").arg(nBytes)));
}

void tst_hosthistory::everyCandidateIsListed()
{
    edit();
    writeFile(userDir() + "/indexUserConfig.xml.damaged-20240131-090000", "<a");
    writeFile(userDir() + "/Temp/indexUserConfig.xml_20240131", "<ICUserConfigFile/>");
    const QString strOut = tool({ "recover", "--list" }).strOut;
    const QString strToday = QDate::currentDate().toString(Qt::ISODate);
    const QStringList patterns { strToday + " +dated copy +\\S+ +whole +4 +9 +11 +4 +10\n",
                                 "2024-01-31 +dated copy +\\S+ +whole +0 +0 +0 +0 +0\n",
                                 "mirror +mirror +\\S+ +whole +4 +9 +11 +4 +10\n",
                                 "history 1 +history +\\S+ +whole +4 +9 +11 +4 +10\n",
                                 "damaged-20240131-090000 +set aside +\\S+ +damaged" };
    for (const QString& pattern : patterns) {
        QVERIFY2(strOut.contains(QRegularExpression(pattern)), qPrintable(pattern + strOut));
    }
}

void tst_hosthistory::anyCandidateComesBack()
{
    const QByteArray before = live();
    edit();
    const QByteArray after = live();
    writeLive("<torn");
    edit({ "recover", "--from", "history 1" });
    QCOMPARE(live(), before);
    edit({ "recover", "--from", "mirror" });
    QCOMPARE(live(), after);
    edit({ "undo" });
    QCOMPARE(tool({ "undo" }).nStatus, 4);
    edit({ "undo", "--force" });
    QCOMPARE(live(), QByteArray("<torn"));
    QCOMPARE(tool({ "recover", "--from", "history 9" }).nStatus, 1);
    writeFile(userDir() + "/other.xml", "<html/>");
    QCOMPARE(tool({ "recover", "--from", userDir() + "/other.xml" }).nStatus, 4);
    QCOMPARE(live(), QByteArray("<torn"));
}

void tst_hosthistory::theMirrorIsTakenWhenNoCopyIsWhole()
{
    edit();
    const QByteArray after = live();
    QVERIFY(QDir(userDir() + "/Temp").removeRecursively());
    writeLive("");
    edit({ "recover" });
    QCOMPARE(live(), after);
}

void tst_hosthistory::aNewerCopyIsToldAndTaken()
{
    const QByteArray before = live();
    edit();
    const QByteArray after = live();
    QVERIFY(!tool({ "check" }).strOut.contains("newer-copy"));
    writeLive(before);
    QFile file(livePath());
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(-60),
                             QFileDevice::FileModificationTime));
    file.close();
    const Outcome outcome = tool({ "check" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strOut.contains("recover --newest takes it [newer-copy]"),
             qPrintable(outcome.strOut));
    QVERIFY(tool({ "recover" }).strOut.contains("is newer and differs: recover --newest takes it"));
    QCOMPARE(live(), before);
    edit({ "recover", "--newest" });
    QCOMPARE(live(), after);
    QVERIFY(tool({ "recover", "--newest" }).strOut.contains("no dated copy is newer"));
}

// The copy holds 7, the file 8 and is cut behind the windows.
void tst_hosthistory::whatIsWholeInACutFileIsSalvaged()
{
    edit();
    const QByteArray copy = live();
    const QByteArray whole = QByteArray(copy).replace("left=\"0\"", "left=\"11\"");
    QVERIFY(whole != copy);
    const QByteArray torn = whole.left(whole.indexOf("<LayoutTemplates"));
    writeLive(torn);
    const Outcome dry = tool({ "recover", "--salvage", "--dry-run" });
    QCOMPARE(dry.nStatus, 6);
    QCOMPARE(live(), torn);
    QVERIFY2(dry.strOut.contains(QRegularExpression("IndexLayout +window +file +4 +4\n")),
             qPrintable(dry.strOut));
    QVERIFY(dry.strOut.contains(QRegularExpression("CustomStock +stock list +older copy +4 +4 ")));
    QCOMPARE(tool({ "recover", "--salvage" }).nStatus, 6);
    // The windows are those of the file, all else is that of the copy.
    const int nEnd = whole.indexOf("<LayoutTemplates");
    writeFile(userDir() + "/expected.xml",
              whole.left(nEnd) + copy.mid(copy.indexOf("<LayoutTemplates")));
    const Outcome diff = tool({ "diff", userDir() + "/expected.xml", livePath() });
    QVERIFY2(diff.nStatus == 0, qPrintable(diff.strOut));
    edit({ "undo", "--force" });
    QCOMPARE(live(), torn);
}

void tst_hosthistory::withoutCopyTheRestIsLostAndTold()
{
    const QByteArray whole = live();
    writeLive(whole.left(whole.indexOf("<Stock ", whole.indexOf("<Custom type=\"1\""))));
    const Outcome outcome = tool({ "recover", "--salvage", "--json" });
    QCOMPARE(outcome.nStatus, 6);
    const QJsonArray rows
        = QJsonDocument::fromJson(outcome.strOut.toUtf8()).object()["salvaged"].toArray();
    QStringList stocks;
    for (const QJsonValue& row : rows) {
        if (row.toObject()["section"].toString() == QLatin1String("CustomStock")) {
            stocks.append(row.toObject()["from"].toString() + ' '
                          + QString::number(row.toObject()["count"].toInt()) + ' '
                          + row.toObject()["names"].toString());
        }
    }
    QCOMPARE(stocks, (QStringList { "file 1 ", "lost 1 1" }));
    QCOMPARE(tool({ "show" }).nStatus, 0);
}

void tst_hosthistory::whereNothingIsWholeNothingIsSalvaged_data()
{
    QTest::addColumn<QByteArray>("content");
    const QString strText = QString::fromUtf8(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("garbage") << QByteArray(5000, '\xff');
    QTest::newRow("another document") << QByteArray("<html><body/></html>");
    for (const char* pszName : { "UTF-16LE", "UTF-16BE", "GBK", "GB18030" }) {
        QTest::newRow(pszName) << QTextCodec::codecForName(pszName)->fromUnicode(strText);
    }
}

void tst_hosthistory::whereNothingIsWholeNothingIsSalvaged()
{
    QFETCH(QByteArray, content);
    writeLive(content);
    const Outcome outcome = tool({ "recover", "--salvage" });
    QCOMPARE(outcome.nStatus, 4);
    QCOMPARE(live(), content);
}

void tst_hosthistory::theHistoryIsTakenWhereNothingElseIsWhole()
{
    edit();
    const QByteArray before = live();
    edit({ "option", "set", "tickRestoreDay=9" });
    QVERIFY(QDir(userDir() + "/Temp").removeRecursively());
    QVERIFY(QDir(userDir() + "/Settings").removeRecursively());
    writeLive("<torn");
    QCOMPARE(tool({ "recover" }).nStatus, 6);
    QCOMPARE(live(), before);
}

void tst_hosthistory::oneWayBackIsAskedForAtATime()
{
    QCOMPARE(tool({ "recover", "--newest", "--salvage" }).nStatus, 2);
    QCOMPARE(tool({ "recover", "--list", "--from", "mirror" }).nStatus, 2);
}

void tst_hosthistory::aDamagedFileIsOlderThanAnyCopy()
{
    edit();
    const QByteArray after = live();
    writeLive(after.left(5000));
    edit({ "recover", "--newest" });
    QCOMPARE(live(), after);
}

// Behind an instruction the writer breaks the line, which is read as a part of the text.
void tst_hosthistory::whatTheWriterBreaksIsNoFailure()
{
    QByteArray odd = live();
    const int nAt = odd.indexOf("<drawGraph");
    odd.replace(nAt, odd.indexOf("</drawGraph>") - nAt, "<drawGraph><a><?pi x?>text</a>");
    writeLive(odd);
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7" });
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    QVERIFY2(outcome.strOut.contains("drawGraph"), qPrintable(outcome.strOut));
    edit({ "undo" });
    QCOMPARE(live(), odd);
}

void tst_hosthistory::whatNobodyReadsIsShownAsLost()
{
    QByteArray odd = live();
    odd.replace("<CustomIndex/>", "<CustomIndex a=\"1\"><x/></CustomIndex>");
    QVERIFY(odd != live());
    writeLive(odd);
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7", "--dry-run" });
    QVERIFY2(outcome.strOut.contains(QRegularExpression("sections +CustomIndex\\S* ")),
             qPrintable(outcome.strOut));
}

QTEST_GUILESS_MAIN(tst_hosthistory)
#include "tst_hosthistory.moc"
