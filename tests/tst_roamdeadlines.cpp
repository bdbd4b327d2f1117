#include "librarytest.h"
class tst_roamdeadlines : public CLibraryTest {
    Q_OBJECT
};
QTEST_GUILESS_MAIN(tst_roamdeadlines)
#include "tst_roamdeadlines.moc"
