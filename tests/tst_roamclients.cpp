#include "librarytest.h"
class tst_roamclients : public CLibraryTest {
    Q_OBJECT
};
QTEST_GUILESS_MAIN(tst_roamclients)
#include "tst_roamclients.moc"
