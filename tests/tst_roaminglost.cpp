#include "twodesks.h"

#include <roaming/machinestate.h>

namespace {

struct Story {
    const char* pszName;
    const char* pszSteps;
    const char* pszLeft; ///< what the left desk has in the end
    const char* pszHead;
    int nAsides; ///< that nobody has chosen of
};

const Story c_stories[] = {
    { "taken back, and then nobody answers",
      "left writes 7, left loses, left writes first, left misses, left pushes, left pulls", "first",
      "first", 0 },
    { "there and back again",
      "left writes 7, left loses, left writes 8, left loses, left writes 7, left pushes, "
      "left pulls",
      "7", "7", 0 },
    { "another has gone on from it",
      "left writes 7, left loses, right pulls, right writes 9, right pushes, left pulls", "9", "9",
      0 },
    { "there and back again, and another has gone on",
      "left writes 7, left loses, left writes 8, left loses, right pulls, right writes 9, "
      "right pushes, left writes 7, left pushes",
      "7", "9", 1 },
    { "taken and not noted",
      "right writes 4, right pushes, left keeps, left pulls, left forgets, right writes 5, "
      "right pushes, left pulls",
      "5", "5", 0 },
    { "taken and not noted, then sent",
      "right writes 4, right pushes, left keeps, left pulls, left forgets, right writes 5, "
      "right pushes, left pushes, left pulls",
      "5", "5", 0 },
    { "taken back when nobody had heard of it",
      "left writes 7, left misses, right writes 9, right pushes, left writes first, left pushes, "
      "left pulls",
      "9", "9", 0 },
    { "taken back when another had gone on from it",
      "left writes 7, left loses, right pulls, right writes 9, right pushes, left writes first, "
      "left pushes",
      "first", "9", 1 },
    { "both have come to the same", "left writes 7, left pushes, right writes 7, right pushes", "7",
      "7", 0 },
    { "chosen long ago",
      "right writes 9, right pushes, left writes 7, left pushes, left chooses 3, left pulls, "
      "right writes 11, right pushes, left writes 7, left pushes, left pulls",
      "7", "11", 1 },
    { "a later choice is one of all before",
      "right writes 9, right pushes, left writes 7, left pushes, left writes 8, left pushes, "
      "left chooses 4",
      "8", "9", 0 },
};

} // namespace

// What is lost on the way, answers and notes, takes nothing back and sets nobody against himself.
class tst_roaminglost : public CTwoDesksTest {
    Q_OBJECT

private Q_SLOTS:
    void init() { initDesks(); }
    void theLastTextHolds_data();
    void theLastTextHolds();

private:
    void step(const QString& words);
    QString headText() const;
    int openAsides() const;

    QByteArray m_state;
};

// "left writes X", "right pulls" and so on.
void tst_roaminglost::step(const QString& words)
{
    const CTestDesk& desk = words.startsWith("left") ? *m_pLeft : *m_pRight;
    const QString strState = desk.dir() + '/' + roaming::c_szStateFile;
    const QString strWhat = words.section(' ', 1, 1);
    if (strWhat == "writes") {
        desk.write(CTestDesk::user(words.section(' ', 2).toUtf8(), "left's"));
    } else if (strWhat == "pulls") {
        prepared(desk);
    } else if (strWhat == "pushes") {
        sent(desk);
    } else if (strWhat == "loses") {
        m_pServer->failBehind({ roaming::StoreCause::Late, "for the test" });
        sent(desk);
    } else if (strWhat == "misses") {
        m_pServer->fail({ roaming::StoreCause::Away, "for the test" });
        sent(desk);
        m_pServer->fail({});
    } else if (strWhat == "keeps") {
        m_state = readFile(strState);
    } else if (strWhat == "forgets") {
        writeFile(strState, m_state);
    } else if (strWhat == "chooses") {
        roaming::CMemoryStore store(m_pServer);
        const qint64 nAside = words.section(' ', 2).toLongLong();
        QVERIFY(!store.resolve(roaming::c_szUserDocument, nAside, roaming::Choice::Theirs));
    } else {
        QFAIL(qPrintable(words));
    }
}

QString tst_roaminglost::headText() const
{
    roaming::CMemoryStore store(m_pServer);
    const qint64 nHead = store.heads().value.first().revision.nNumber;
    const QByteArray text = store.text(roaming::c_szUserDocument, nHead).value;
    return QString::fromUtf8(text).section("text=\"", 1).section('"', 0, 0);
}

int tst_roaminglost::openAsides() const
{
    roaming::CMemoryStore store(m_pServer);
    const auto all = store.revisions(roaming::c_szUserDocument, 0, 0).value;
    return static_cast<int>(std::count_if(
        all.begin(), all.end(), [](const auto& each) { return each.bAside && !each.bResolved; }));
}

void tst_roaminglost::theLastTextHolds_data()
{
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("head");
    QTest::addColumn<int>("asides");
    for (const Story& story : c_stories) {
        QTest::newRow(story.pszName)
            << story.pszSteps << story.pszLeft << story.pszHead << story.nAsides;
    }
}

void tst_roaminglost::theLastTextHolds()
{
    QFETCH(const QString, steps);
    bringInStep();
    const QStringList all = steps.split(", ");
    for (const QString& each : all) {
        step(each);
    }
    QTEST(m_pLeft->text(), "left");
    QTEST(headText(), "head");
    QTEST(openAsides(), "asides");
}

QTEST_GUILESS_MAIN(tst_roaminglost)
#include "tst_roaminglost.moc"
