#include "librarytest.h"

#include <roaming/prepare.h>

using roaming::Decision;
using roaming::Sides;

Q_DECLARE_METATYPE(roaming::Sides)
Q_DECLARE_METATYPE(roaming::Decision)

class tst_roamingdecision : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void sidesDecide_data();
    void sidesDecide();
};

void tst_roamingdecision::sidesDecide_data()
{
    QTest::addColumn<Sides>("sides");
    QTest::addColumn<Decision>("decision");
    // Base, first, unsent, missing, same, head, others.
    QTest::newRow("nothing anywhere")
        << Sides { 0, true, true, false, false, 0, false } << Decision::Nothing;
    QTest::newRow("in step") << Sides { 3, false, false, false, false, 3, false }
                             << Decision::Nothing;
    QTest::newRow("unsent") << Sides { 3, false, true, false, false, 3, false }
                            << Decision::Nothing;
    QTest::newRow("first start") << Sides { 0, true, true, false, false, 3, true }
                                 << Decision::Take;
    QTest::newRow("first start of the same")
        << Sides { 0, true, true, false, true, 3, true } << Decision::Note;
    QTest::newRow("newer there") << Sides { 2, false, false, false, false, 3, true }
                                 << Decision::Take;
    QTest::newRow("changed on both sides")
        << Sides { 2, false, true, false, false, 3, true } << Decision::Conflict;
    QTest::newRow("changed to the same")
        << Sides { 2, false, true, false, true, 3, true } << Decision::Note;
    QTest::newRow("sent and not noted")
        << Sides { 2, false, true, false, true, 3, false } << Decision::Note;
    QTest::newRow("sent, not noted, changed")
        << Sides { 2, false, true, false, false, 3, false } << Decision::Note;
    QTest::newRow("sent, never heard of, undone")
        << Sides { 2, false, false, false, false, 3, false, true } << Decision::Note;
    QTest::newRow("from a backup")
        << Sides { 2, false, false, false, false, 3, false } << Decision::Take;
    QTest::newRow("numbers given again")
        << Sides { 2, false, true, false, false, 3, true, false, true } << Decision::Behind;
    QTest::newRow("the other side was chosen")
        << Sides { 2, false, true, false, false, 3, true, false, false, true } << Decision::Take;
    QTest::newRow("missing") << Sides { 3, false, false, true, false, 3, false } << Decision::Take;
    QTest::newRow("rewound") << Sides { 3, false, false, false, false, 2, true }
                             << Decision::Behind;
    QTest::newRow("another server")
        << Sides { 3, false, true, false, false, 0, false } << Decision::Behind;
}

void tst_roamingdecision::sidesDecide()
{
    QFETCH(Sides, sides);
    QTEST(roaming::decide(sides), "decision");
}

QTEST_GUILESS_MAIN(tst_roamingdecision)
#include "tst_roamingdecision.moc"
