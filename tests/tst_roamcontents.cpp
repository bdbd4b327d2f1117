#include "librarytest.h"
class tst_roamcontents : public CLibraryTest {
    Q_OBJECT
};
QTEST_GUILESS_MAIN(tst_roamcontents)
#include "tst_roamcontents.moc"
