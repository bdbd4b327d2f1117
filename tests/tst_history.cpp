#include "librarytest.h"

#include <mend/history.h>

using mend::CHistory;
using mend::HistoryAction;
using mend::HistoryEntry;

// The states before each edit, and which of them an undo is about.
class tst_history : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void anEditIsWrittenDownWithItsStates();
    void aStateIsKeptOnce();
    void withoutAFileThereIsNoStateToKeep();
    void aStateThatIsNotWhatItsNameSaysIsNone();
    void theOldestGoWhenThereAreTooMany();
    void theOldestGoWhenTheyTakeTooMuch();
    void pruningForgetsEditsAndTheirStates();
    void noNumberIsGivenTwice();
    void linesThatAreNoEditsAreSetAside_data();
    void linesThatAreNoEditsAreSetAside();
    void statesOfLinesSetAsideStay();
    void aDirectoryThatTakesNothingIsNoHistory();
    void whatIsUndoneAndDoneAgain_data();
    void whatIsUndoneAndDoneAgain();
    void whetherAnInterruptedEditIsDoneTheFileTells();
    void whatWasUndoneOfAForgottenEditIsDoneAgain();

private:
    HistoryEntry edited(const QByteArray& before, const QByteArray& after) const;
    QStringList states() const;
};

namespace {

HistoryEntry asked(HistoryAction action = HistoryAction::Edit, int of = 0)
{
    return {
        0, QDateTime::currentDateTimeUtc(), "me", "here", "option set a=1", {}, {}, action, of
    };
}

// The file holds \a state, or is not there.
mend::DigestNow now(const QByteArray& state)
{
    return [state](const QString&) { return state.isEmpty() ? state : mend::digestOf(state); };
}

} // namespace

HistoryEntry tst_history::edited(const QByteArray& before, const QByteArray& after) const
{
    CHistory history(userDir());
    HistoryEntry entry = asked();
    if (!history.begin(entry, before) || !history.end(entry.nNumber, mend::digestOf(after))) {
        qFatal("the history takes nothing");
    }
    return entry;
}

QStringList tst_history::states() const
{
    return QDir(userDir() + "/History").entryList({ "*.xml" }, QDir::Files);
}

void tst_history::anEditIsWrittenDownWithItsStates()
{
    const QDateTime begin = QDateTime::currentDateTimeUtc();
    edited("one", "two");
    const QVector<HistoryEntry> all = CHistory(userDir()).entries();
    QCOMPARE(all.size(), 1);
    const HistoryEntry& entry = all.first();
    QCOMPARE(entry.nNumber, 1);
    QVERIFY(begin.msecsTo(entry.time) >= 0 && entry.time <= QDateTime::currentDateTimeUtc());
    QCOMPARE(entry.strAccount + '@' + entry.strHost, QString("me@here"));
    QCOMPARE(entry.strCommand, QString("option set a=1"));
    // By sha256sum.
    QCOMPARE(entry.before,
             QByteArray("7692c3ad3540bb803c020b3aee66cd8887123234ea0c6e7143c0add73ff431ed"));
    QCOMPARE(entry.after,
             QByteArray("3fc4ccfe745870e2c0d99f71f30ff0656c8dedd41cc1d7d3d376b0dbe685e2f3"));
    QCOMPARE(CHistory(userDir()).state(entry.before).value(), QByteArray("one"));
    QCOMPARE(QFile::permissions(userDir() + "/History") & QFileDevice::Permissions(0x77),
             QFileDevice::Permissions());
}

void tst_history::aStateIsKeptOnce()
{
    edited("one", "two");
    edited("two", "one");
    edited("one", "three");
    QCOMPARE(CHistory(userDir()).entries().size(), 3);
    QCOMPARE(states().size(), 2);
}

void tst_history::withoutAFileThereIsNoStateToKeep()
{
    CHistory history(userDir());
    HistoryEntry entry = asked();
    QVERIFY(history.begin(entry, std::nullopt));
    QCOMPARE(history.entries().first().before, QByteArray());
    QCOMPARE(history.entries().first().after, QByteArray());
    QCOMPARE(states(), QStringList());
}

void tst_history::aStateThatIsNotWhatItsNameSaysIsNone()
{
    const QByteArray digest = edited("one", "two").before;
    writeFile(userDir() + "/History/" + digest + ".xml", "One");
    QVERIFY(!CHistory(userDir()).state(digest));
    QVERIFY(!CHistory(userDir()).state(mend::digestOf("unknown")));
}

void tst_history::theOldestGoWhenThereAreTooMany()
{
    for (int i = 1; i <= 3; ++i) {
        edited(QByteArray::number(i), "after");
    }
    const QByteArray lines = readFile(userDir() + "/History/log.jsonl");
    QByteArray many = lines;
    for (int i = 4; i <= 200; ++i) {
        many += QByteArray(lines.split('\n').first())
                    .replace("\"number\":1,", "\"number\":" + QByteArray::number(i) + ',')
                    .replace(mend::digestOf("1"), mend::digestOf("3"))
            + '\n';
    }
    writeFile(userDir() + "/History/log.jsonl", many);
    QCOMPARE(CHistory(userDir()).entries().size(), 200);
    QCOMPARE(edited("201", "after").nNumber, 201);
    const QVector<HistoryEntry> all = CHistory(userDir()).entries();
    QCOMPARE(all.size(), 200);
    QCOMPARE(all.first().nNumber, 2);
    QVERIFY(!CHistory(userDir()).state(mend::digestOf("1")));
    QVERIFY(CHistory(userDir()).state(mend::digestOf("2")));
    QCOMPARE(states().size(), 3);
}

void tst_history::theOldestGoWhenTheyTakeTooMuch()
{
    for (int i = 0; i < 10; ++i) {
        edited(QByteArray::number(i), QByteArray::number(i + 1));
    }
    QFile first(userDir() + "/History/" + mend::digestOf("0") + ".xml");
    QVERIFY(first.resize(64 << 20)); // without content it takes no room
    edited("10", "11");
    const QVector<HistoryEntry> all = CHistory(userDir()).entries();
    QCOMPARE(all.size(), 10); // however large, the last ten stay
    QCOMPARE(all.first().nNumber, 2);
    QVERIFY(!first.exists());
    QCOMPARE(states().size(), 10);
}

void tst_history::pruningForgetsEditsAndTheirStates()
{
    edited("one", "two");
    edited("two", "three");
    const QDateTime between = QDateTime::currentDateTimeUtc().addMSecs(1);
    QTest::qWait(5);
    edited("three", "four");
    CHistory history(userDir());
    QCOMPARE(history.prune(between).value(), 2);
    QCOMPARE(history.entries().size(), 1);
    QCOMPARE(states(), QStringList(mend::digestOf("three") + ".xml"));
    QCOMPARE(history.prune(between).value(), 0);
}

void tst_history::noNumberIsGivenTwice()
{
    edited("one", "two");
    edited("two", "three");
    QCOMPARE(CHistory(userDir()).prune(QDateTime::currentDateTimeUtc().addDays(1)).value(), 1);
    QCOMPARE(edited("three", "four").nNumber, 3);
}

void tst_history::linesThatAreNoEditsAreSetAside_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::newRow("torn") << QByteArray("\"}\n") << QByteArray("\"");
    QTest::newRow("no object") << QByteArray("{") << QByteArray("[");
    QTest::newRow("no number") << QByteArray("\"number\":2") << QByteArray("\"number\":\"2\"");
    QTest::newRow("number 0") << QByteArray("\"number\":2") << QByteArray("\"number\":0");
    QTest::newRow("number that none can follow")
        << QByteArray("\"number\":2") << QByteArray("\"number\":2147483647");
    QTest::newRow("no time") << QByteArray("\"time\"") << QByteArray("\"t\"");
    QTest::newRow("digest that is a path")
        << QByteArray("\"before\":\"") << QByteArray("\"before\":\"../");
}

void tst_history::linesThatAreNoEditsAreSetAside()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    edited("one", "two");
    const QByteArray good = readFile(userDir() + "/History/log.jsonl");
    edited("two", "three");
    const QByteArray bad
        = readFile(userDir() + "/History/log.jsonl").mid(good.size()).replace(from, to);
    writeFile(userDir() + "/History/log.jsonl", good + bad);
    CHistory history(userDir());
    QCOMPARE(history.log().state, mend::LogState::Damaged);
    QCOMPARE(history.log().nBadLines, 1);
    QCOMPARE(history.entries().size(), 1);
    HistoryEntry entry = asked();
    QVERIFY(history.begin(entry, QByteArray("three")));
    QCOMPARE(entry.nNumber, 3);
    QCOMPARE(readFile(history.setAside()), good + bad);
    QCOMPARE(history.log().state, mend::LogState::Whole);
    QVERIFY(readFile(history.logPath()).startsWith(good));
    QCOMPARE(history.entries().size(), 2);
}

// Until what was set aside is forgotten, too.
void tst_history::statesOfLinesSetAsideStay()
{
    edited("one", "two");
    edited("two", "three");
    const QString strLog = userDir() + "/History/log.jsonl";
    writeFile(strLog, readFile(strLog).replace("{\"account", "\"account"));
    QCOMPARE(CHistory(userDir()).entries().size(), 0);
    edited("three", "four");
    edited("four", "five");
    edited("five", "six");
    const auto inAnHour = QDateTime::currentDateTimeUtc().addSecs(3600);
    QFile aside(QDir(userDir() + "/History").entryInfoList({ "*.damaged-*" }).value(0).filePath());
    QVERIFY(aside.open(QIODevice::ReadWrite)
            && aside.setFileTime(inAnHour.addSecs(3600), QFileDevice::FileModificationTime));
    aside.close();
    QCOMPARE(CHistory(userDir()).prune(inAnHour).value(), 2);
    QVERIFY(CHistory(userDir()).state(mend::digestOf("one")));
    QVERIFY(!CHistory(userDir()).state(mend::digestOf("four")));
    QCOMPARE(CHistory(userDir()).prune(inAnHour.addSecs(7200)).value(), 0);
    QVERIFY(!aside.exists());
    QVERIFY(!CHistory(userDir()).state(mend::digestOf("one")));
}

void tst_history::aDirectoryThatTakesNothingIsNoHistory()
{
    writeFile(userDir() + "/History", "no directory");
    CHistory history(userDir());
    HistoryEntry entry = asked();
    QVERIFY(!history.begin(entry, QByteArray("one")));
    QCOMPARE(history.entries().size(), 0);
}

// e: an edit, u and r: undo and redo of what is due then.
void tst_history::whatIsUndoneAndDoneAgain_data()
{
    QTest::addColumn<QString>("steps");
    QTest::addColumn<int>("undo"); // 0 for none
    QTest::addColumn<int>("redo");
    QTest::newRow("nothing yet") << "" << 0 << 0;
    QTest::newRow("one edit") << "e" << 1 << 0;
    QTest::newRow("undone") << "eu" << 0 << 1;
    QTest::newRow("the one before") << "eeu" << 1 << 2;
    QTest::newRow("both") << "eeuu" << 0 << 1;
    QTest::newRow("and again") << "eeuur" << 1 << 2;
    QTest::newRow("all again") << "eeuurr" << 2 << 0;
    QTest::newRow("a new edit ends redo") << "eeue" << 4 << 0;
    QTest::newRow("and what is before it can be undone") << "eeueu" << 1 << 4;
}

void tst_history::whatIsUndoneAndDoneAgain()
{
    QFETCH(QString, steps);
    QFETCH(int, undo);
    QFETCH(int, redo);
    CHistory history(userDir());
    QByteArray state = "0";
    for (int i = 0; i < steps.size(); ++i) {
        const bool bEdit = steps[i] == 'e';
        const bool bUndo = steps[i] == 'u';
        const std::optional<HistoryEntry> of
            = bUndo ? toUndo(history.entries(), now(state)) : toRedo(history.entries(), now(state));
        HistoryEntry entry = bEdit
            ? asked()
            : asked(bUndo ? HistoryAction::Undo : HistoryAction::Redo, of->nNumber);
        const QByteArray before = state;
        state = bEdit ? QByteArray::number(i + 1)
                      : history.state(bUndo ? of->before : of->after).value();
        QVERIFY(history.begin(entry, before));
        QVERIFY(history.end(entry.nNumber, mend::digestOf(state)));
    }
    const mend::DigestNow live = now(state);
    QCOMPARE(toUndo(history.entries(), live).value_or(HistoryEntry()).nNumber, undo);
    QCOMPARE(toRedo(history.entries(), live).value_or(HistoryEntry()).nNumber, redo);
}

// What it was about to leave is written down before.
void tst_history::whetherAnInterruptedEditIsDoneTheFileTells()
{
    edited("one", "two");
    edited("two", "three");
    const QVector<HistoryEntry> all = CHistory(userDir()).entries();
    QCOMPARE(toUndo(all, now("three"))->nNumber, 2);
    QCOMPARE(toUndo(all, now("two"))->nNumber, 1);
    QCOMPARE(toUndo(all, now({}))->nNumber, 2); // removed, and not yet there again
    edited("two", "four");
    const QVector<HistoryEntry> more = CHistory(userDir()).entries();
    QCOMPARE(toUndo(more, now("two"))->nNumber, 1);
}

void tst_history::whatWasUndoneOfAForgottenEditIsDoneAgain()
{
    CHistory history(userDir());
    const auto step = [&](HistoryAction action, int of, const char* pszFrom, const char* pszTo) {
        HistoryEntry entry = asked(action, of);
        QVERIFY(history.begin(entry, QByteArray(pszFrom)));
        QVERIFY(history.end(entry.nNumber, mend::digestOf(pszTo)));
        QTest::qWait(5);
    };
    const auto forgetAllSoFar = [&] { QVERIFY(history.prune(QDateTime::currentDateTimeUtc())); };
    edited("0", "1");
    QTest::qWait(5);
    forgetAllSoFar(); // the last one stays
    step(HistoryAction::Edit, 0, "1", "2");
    const QDateTime second = history.entries().last().time;
    step(HistoryAction::Undo, 2, "2", "1");
    step(HistoryAction::Undo, 1, "1", "0");
    QCOMPARE(history.prune(second).value(), 1);
    const HistoryEntry redo = toRedo(history.entries(), now("0")).value();
    QCOMPARE(redo.nNumber, 1);
    QCOMPARE(redo.before, mend::digestOf("0"));
    QCOMPARE(history.state(redo.after).value(), QByteArray("1"));
    step(HistoryAction::Redo, 1, "0", "1");
    QCOMPARE(toRedo(history.entries(), now("1")).value().nNumber, 2);
    forgetAllSoFar();
    const HistoryEntry undo = toUndo(history.entries(), now("1")).value();
    QCOMPARE(undo.nNumber, 1);
    QCOMPARE(history.state(undo.before).value(), QByteArray("0"));
}

QTEST_GUILESS_MAIN(tst_history)
#include "tst_history.moc"
