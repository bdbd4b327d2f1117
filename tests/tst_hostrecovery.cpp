#include "librarytest.h"
#include "toolrun.h"

#include <unistd.h>

// What the host recovers when History/, too, or one of its states, is not what it was.
class tst_hostrecovery : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aDamagedLogStopsNoRecovery_data();
    void aDamagedLogStopsNoRecovery();
    void withoutAHistoryThereIsRecovery_data();
    void withoutAHistoryThereIsRecovery();
    void aLogThatCannotBeReadIsNamed();
    void theCheckTellsOfADamagedLog();
    void theGoodLinesOfADamagedLogGoOn();
    void whatARestoreLeftComesBack_data();
    void whatARestoreLeftComesBack();
    void whatIsNotTheLastStateIsALoss();
    void aSaveSinceGoesBeforeTheLastEdit();
    void copiesOfDaysToComeGoBehind();
    void aStateThatIsNotWhatWasKeptIsNone();
    void rootsOwnFileIsReadAsRoot();
    void aLinkInTheDirectoryIsReadAsItsOwner();

private:
    Outcome tool(const QStringList& arguments) const;
    void done(const QStringList& arguments) const;
    QString at(const QString& name) const { return userDir() + '/' + name; }
    QByteArray live() const { return readFile(livePath()); }
    QStringList beside(const QString& pattern) const;
    QString firstState() const;
};

namespace {

constexpr uid_t c_nTrader = 65534;

} // namespace

void tst_hostrecovery::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
}

Outcome tst_hostrecovery::tool(const QStringList& arguments) const
{
    return runTool(QStringList { "--config-dir", userDir() } + arguments);
}

void tst_hostrecovery::done(const QStringList& arguments) const
{
    const Outcome outcome = tool(arguments);
    QVERIFY2(outcome.nStatus == 0, qPrintable(arguments.join(' ') + ": " + outcome.strErr));
}

QStringList tst_hostrecovery::beside(const QString& pattern) const
{
    return QDir(userDir()).entryList({ pattern }, QDir::Files);
}

// The file of the state before edit 1.
QString tst_hostrecovery::firstState() const
{
    const QByteArray line = readFile(at("History/log.jsonl")).split('\n').first();
    return at("History/") + QJsonDocument::fromJson(line)["before"].toString() + ".xml";
}

void tst_hostrecovery::aDamagedLogStopsNoRecovery_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<bool>("missing");
    QTest::addColumn<int>("status");
    QTest::newRow("recover") << QStringList { "recover" } << false << 0;
    QTest::newRow("missing") << QStringList { "recover" } << true << 0;
    QTest::newRow("newest") << QStringList { "recover", "--newest" } << false << 0;
    QTest::newRow("mirror") << QStringList { "recover", "--from", "mirror" } << false << 0;
    QTest::newRow("salvage") << QStringList { "recover", "--salvage" } << false << 6;
    QTest::newRow("force") << QStringList { "recover", "--force" } << false << 0;
}

// The copy of the day and the mirror are whole, and hold what the file held.
void tst_hostrecovery::aDamagedLogStopsNoRecovery()
{
    QFETCH(QStringList, words);
    QFETCH(bool, missing);
    QFETCH(int, status);
    done({ "option", "set", "tickRestoreDay=7" });
    const QByteArray whole = live();
    const QByteArray log = readFile(at("History/log.jsonl")) + 'x';
    writeFile(at("History/log.jsonl"), log);
    writeLive(whole.left(5000));
    QVERIFY(!missing || QFile::remove(livePath()));
    const Outcome outcome = tool(words);
    QVERIFY2(outcome.nStatus == status, qPrintable(outcome.strErr));
    QVERIFY(status != 0 || live() == whole);
    const QStringList kept = QDir(at("History")).entryList({ "log.jsonl.damaged-*" });
    QCOMPARE(kept.size(), 1);
    QCOMPARE(readFile(at("History/") + kept.first()), log);
    QVERIFY2(outcome.strErr.contains("kept as " + at("History/") + kept.first()),
             qPrintable(outcome.strErr));
    const Outcome list = tool({ "history", "list", "--json" });
    QCOMPARE(list.strErr, QString());
    const QJsonArray edits
        = QJsonDocument::fromJson(list.strOut.toUtf8()).object()["history"].toArray();
    QCOMPARE(edits.last().toObject()["edit"].toInt(), 3); // the line that is none had one, too
}

void tst_hostrecovery::withoutAHistoryThereIsRecovery_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QByteArray>("found");
    QTest::addColumn<QString>("aside");
    const QByteArray damaged = "<torn";
    const QByteArray whole = "<ICUserConfigFile/>";
    const QStringList mirror { "recover", "--from", "mirror" };
    QTest::newRow("recover") << QStringList { "recover" } << damaged << "damaged";
    QTest::newRow("missing") << QStringList { "recover" } << QByteArray() << "";
    QTest::newRow("mirror") << mirror << damaged << "replaced";
    QTest::newRow("over a whole one") << mirror << whole << "replaced";
    QTest::newRow("over none") << mirror << QByteArray() << "";
}

void tst_hostrecovery::withoutAHistoryThereIsRecovery()
{
    QFETCH(QStringList, words);
    QFETCH(QByteArray, found);
    QFETCH(QString, aside);
    done({ "option", "set", "tickRestoreDay=7" });
    const QByteArray whole = live();
    QVERIFY(QDir(at("History")).removeRecursively());
    writeFile(at("History"), "no directory");
    writeLive(found);
    QVERIFY(!found.isEmpty() || QFile::remove(livePath()));
    const Outcome outcome = tool(words + QStringList("--json"));
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    QVERIFY2(outcome.strErr.contains("the history takes nothing"), qPrintable(outcome.strErr));
    QCOMPARE(live(), whole);
    const QJsonObject receipt
        = QJsonDocument::fromJson(outcome.strOut.toUtf8()).object()["receipt"].toObject();
    QVERIFY(receipt["edit"].isNull());
    QCOMPARE(receipt["bytes"].toInt(), whole.size());
    const QStringList kept = beside("indexUserConfig.xml.*-*");
    QCOMPARE(kept.size(), aside.isEmpty() ? 0 : 1);
    if (!aside.isEmpty()) {
        QVERIFY2(kept.first().contains('.' + aside + '-'), qPrintable(kept.first()));
        QCOMPARE(readFile(at(kept.first())), found);
        QVERIFY((outcome.strOut + outcome.strErr).contains(at(kept.first())));
    }
}

// Nothing else is written without the state before.
void tst_hostrecovery::aLogThatCannotBeReadIsNamed()
{
    const QByteArray before = live();
    QVERIFY(QDir(userDir()).mkpath("History/log.jsonl"));
    for (const QStringList& words : { QStringList { "history", "list" }, QStringList { "undo" },
                                      QStringList { "history", "prune", "--keep", "0d" } }) {
        const Outcome outcome = tool(words);
        QCOMPARE(outcome.nStatus, 3);
        QVERIFY2(outcome.strErr.contains(at("History/log.jsonl") + " cannot be read"),
                 qPrintable(outcome.strErr));
    }
    const Outcome outcome = tool({ "option", "set", "tickRestoreDay=7" });
    QCOMPARE(outcome.nStatus, 3);
    QVERIFY2(outcome.strErr.contains("the state before cannot be kept in " + at("History")),
             qPrintable(outcome.strErr));
    QCOMPARE(live(), before);
    const Outcome check = tool({ "check" });
    QCOMPARE(check.nStatus, 1);
    QVERIFY(check.strOut.contains(at("History/log.jsonl") + " cannot be read"));
}

void tst_hostrecovery::theCheckTellsOfADamagedLog()
{
    done({ "option", "set", "tickRestoreDay=7" });
    QVERIFY(!tool({ "check" }).strOut.contains("damaged-history"));
    writeFile(at("History/log.jsonl"), readFile(at("History/log.jsonl")) + "\xff\xfe\n{\n");
    const Outcome outcome = tool({ "check" });
    QCOMPARE(outcome.nStatus, 1);
    QVERIFY2(outcome.strOut.contains(at("History/log.jsonl")
                                     + ": 2 lines are no edits; the next edit sets them aside"),
             qPrintable(outcome.strOut));
    QVERIFY2(outcome.strOut.contains("history: 1 edits"), qPrintable(outcome.strOut));
}

void tst_hostrecovery::theGoodLinesOfADamagedLogGoOn()
{
    const QByteArray before = live();
    done({ "option", "set", "tickRestoreDay=7" });
    const QByteArray log = readFile(at("History/log.jsonl")) + "{\"number\":2,\"ti";
    writeFile(at("History/log.jsonl"), log);
    const Outcome list = tool({ "history", "list" });
    QCOMPARE(list.nStatus, 0);
    QVERIFY2(list.strErr.contains(at("History/log.jsonl") + ": 1 lines are no edits"),
             qPrintable(list.strErr));
    done({ "undo" });
    QCOMPARE(live(), before);
    done({ "redo" });
    QCOMPARE(QDir(at("History")).entryList({ "log.jsonl.damaged-*" }).size(), 1);
    done({ "history", "prune", "--keep", "0d" });
    QCOMPARE(QDir(at("History")).entryList({ "log.jsonl.damaged-*" }).size(), 0);
}

void tst_hostrecovery::whatARestoreLeftComesBack_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("undo") << QStringList { "undo" };
    QTest::newRow("restore") << QStringList { "history", "restore", "1" };
    QTest::newRow("dated copy") << QStringList { "snapshot", "restore", "2024-01-31" };
}

// The copy of the day and the mirror hold what each of these takes away.
void tst_hostrecovery::whatARestoreLeftComesBack()
{
    QFETCH(QStringList, words);
    done({ "option", "set", "tickRestoreDay=7" });
    done({ "option", "set", "tickRestoreDay=9" });
    writeFile(at("Temp/indexUserConfig.xml_20240131"), "<ICUserConfigFile/>");
    done(words);
    const QByteArray restored = live();
    QVERIFY(!restored.contains("tickRestoreDay=\"9\""));
    QVERIFY(QFile::remove(livePath()));
    const Outcome outcome = tool({ "recover", "--json" });
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strOut + outcome.strErr));
    QCOMPARE(live(), restored);
    QVERIFY(!QJsonDocument::fromJson(outcome.strOut.toUtf8())["recovery"]["loss"].toBool(true));
}

void tst_hostrecovery::whatIsNotTheLastStateIsALoss()
{
    done({ "option", "set", "tickRestoreDay=7" });
    const QByteArray saved = live();
    done({ "undo" });
    QVERIFY(QFile::remove(firstState()) && QFile::remove(livePath()));
    const Outcome outcome = tool({ "recover" });
    QCOMPARE(outcome.nStatus, 6);
    QVERIFY2(outcome.strOut.contains("lost: "), qPrintable(outcome.strOut));
    QCOMPARE(live(), saved);
}

void tst_hostrecovery::aSaveSinceGoesBeforeTheLastEdit()
{
    done({ "option", "set", "tickRestoreDay=7" });
    done({ "undo" });
    const QByteArray saved = "<ICUserConfigFile of=\"client\"/>";
    writeFile(datedPath(), saved);
    QVERIFY(QFile::remove(livePath()));
    done({ "recover" });
    QCOMPARE(live(), saved);
}

void tst_hostrecovery::copiesOfDaysToComeGoBehind()
{
    done({ "option", "set", "tickRestoreDay=7" });
    const QByteArray saved = live();
    writeFile(at("Temp/indexUserConfig.xml_29990101"), "<ICUserConfigFile/>");
    QVERIFY(QFile::remove(livePath()));
    const QString strList = tool({ "recover", "--list" }).strOut;
    QVERIFY2(strList.indexOf("mirror ") < strList.indexOf("2999-01-01"), qPrintable(strList));
    done({ "recover" });
    QCOMPARE(live(), saved);
    writeFile(at("Temp/indexUserConfig.xml_29990101"), "<ICUserConfigFile of=\"x\"/>");
    QVERIFY(!tool({ "check" }).strOut.contains("newer-copy"));
}

// One byte more, and it is still a whole user's file.
void tst_hostrecovery::aStateThatIsNotWhatWasKeptIsNone()
{
    done({ "option", "set", "tickRestoreDay=7" });
    writeFile(firstState(), readFile(firstState()) + '\n');
    QVERIFY(QDir(at("Temp")).removeRecursively() && QDir(at("Settings")).removeRecursively());
    writeLive("<torn");
    const QString strList = tool({ "recover", "--list" }).strOut;
    QVERIFY2(strList.contains(QRegularExpression("history 1 +history +\\S+ +damaged")),
             qPrintable(strList));
    QCOMPARE(tool({ "recover" }).nStatus, 4);
    const Outcome outcome = tool({ "recover", "--from", "history 1" });
    QCOMPARE(outcome.nStatus, 4);
    QVERIFY2(outcome.strErr.contains(firstState() + ": is not what was kept under this name"),
             qPrintable(outcome.strErr));
    QCOMPARE(live(), QByteArray("<torn"));
}

void tst_hostrecovery::rootsOwnFileIsReadAsRoot()
{
    if (::geteuid() != 0) {
        QSKIP("only root becomes somebody else");
    }
    const QTemporaryDir roots; // nobody else may look into it
    writeFile(roots.filePath("backup.xml"), "<ICUserConfigFile of=\"root\"/>");
    QCOMPARE(::chown(QFile::encodeName(userDir()), c_nTrader, c_nTrader), 0);
    done({ "recover", "--force", "--from", roots.filePath("backup.xml") });
    QCOMPARE(live(), QByteArray("<ICUserConfigFile of=\"root\"/>"));
    QCOMPARE(QFileInfo(livePath()).ownerId(), c_nTrader);
}

void tst_hostrecovery::aLinkInTheDirectoryIsReadAsItsOwner()
{
    if (::geteuid() != 0) {
        QSKIP("only root becomes somebody else");
    }
    const QTemporaryDir roots;
    writeFile(roots.filePath("backup.xml"), "<ICUserConfigFile of=\"root\"/>");
    QVERIFY(QFile::link(roots.filePath("backup.xml"), at("mine.xml")));
    QCOMPARE(::chown(QFile::encodeName(userDir()), c_nTrader, c_nTrader), 0);
    const QByteArray before = live();
    QCOMPARE(tool({ "recover", "--force", "--from", at("mine.xml") }).nStatus, 1);
    QCOMPARE(live(), before);
}

QTEST_GUILESS_MAIN(tst_hostrecovery)
#include "tst_hostrecovery.moc"
