#include "librarytest.h"
#include "platform/formula.h"
#include "secondmodule/secondmodule.h"

class tst_secondmodule : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void everyModuleGetsTheSameService();
    void aReleaseInOneModuleHoldsInAll();
    void everyModuleGetsTheSameSiblings();
};

void tst_secondmodule::everyModuleGetsTheSameService()
{
    QCOMPARE(serviceOfSecondModule(), &service());
    QCOMPARE(instanceOfSecondModule(), &manager());
}

void tst_secondmodule::aReleaseInOneModuleHoldsInAll()
{
    service().setCurrentUser("somebody");
    releaseInSecondModule();
    QCOMPARE(service().getCurrentUser(), QString());
}

void tst_secondmodule::everyModuleGetsTheSameSiblings()
{
    QCOMPARE(siblingOfSecondModule(), utils::CSingletonT<KW::CSectorManager>::instance());
}

QTEST_GUILESS_MAIN(tst_secondmodule)
#include "tst_secondmodule.moc"
