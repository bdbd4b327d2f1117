#include "librarytest.h"
class tst_roamthinning : public CLibraryTest {
    Q_OBJECT
};
QTEST_GUILESS_MAIN(tst_roamthinning)
#include "tst_roamthinning.moc"
