#include "librarytest.h"
class tst_roampostgres : public CLibraryTest {
    Q_OBJECT
};
QTEST_GUILESS_MAIN(tst_roampostgres)
#include "tst_roampostgres.moc"
