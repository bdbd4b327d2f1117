#include "librarytest.h"

#include <QMetaMethod>
#include <QSignalSpy>

#include <cstring>

using KW::CUserConfigManager;
using KW::UserConfigInterface;

namespace {

// The Itanium ABI keeps 1 + the offset in the table of virtual functions.
template <typename Function> std::ptrdiff_t slotOf(Function pFunction)
{
    std::ptrdiff_t nValue = 0;
    static_assert(sizeof(pFunction) == 2 * sizeof(nValue), "not the expected representation");
    std::memcpy(&nValue, &pFunction, sizeof(nValue));
    return (nValue - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

} // namespace

class tst_metaobject : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void signalsStandInTheirOrder();
    void thereIsNothingButSignals();
    void castsByName();
    void invokingByIndexActivatesTheSignal();
    void operationsStandInTheirSlots();
    void translationsAreThereOfTheClass();
};

void tst_metaobject::signalsStandInTheirOrder()
{
    const QMetaObject& meta = CUserConfigManager::staticMetaObject;
    QCOMPARE(meta.className(), "KW::CUserConfigManager");
    QStringList signatures;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        QCOMPARE(meta.method(i).methodType(), QMetaMethod::Signal);
        signatures.append(meta.method(i).methodSignature());
    }
    QCOMPARE(
        signatures,
        QStringList({ "sigOptionSettingChange()", "sigSmartKeyConfig()", "sigConditionsChange()",
                      "sigUpdateView()", "sigConfigSaved(QString)" }));
    QCOMPARE(QMetaMethod::fromSignal(&CUserConfigManager::sigConfigSaved).methodIndex(),
             meta.methodOffset() + 4);
}

void tst_metaobject::thereIsNothingButSignals()
{
    const QMetaObject& meta = CUserConfigManager::staticMetaObject;
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    QCOMPARE(meta.constructorCount(), 0);
}

void tst_metaobject::castsByName()
{
    CUserConfigManager* const pManager = &manager();
    const QMap<const char*, void*> parts {
        { "KW::CUserConfigManager", pManager },
        { "UserConfigInterface", static_cast<UserConfigInterface*>(pManager) },
        { "utils::CSingletonT<CUserConfigManager>",
          static_cast<utils::CSingletonT<CUserConfigManager>*>(pManager) },
        { "QObject", static_cast<QObject*>(pManager) },
        { "KW::UserConfigInterface", nullptr },
        { "CUserConfigManager", nullptr },
    };
    for (auto it = parts.begin(); it != parts.end(); ++it) {
        QVERIFY2(pManager->qt_metacast(it.key()) == it.value(), it.key());
    }
}

void tst_metaobject::invokingByIndexActivatesTheSignal()
{
    const QSignalSpy view(&manager(), &CUserConfigManager::sigUpdateView);
    const QSignalSpy saved(&manager(), &CUserConfigManager::sigConfigSaved);
    const QMetaObject& meta = CUserConfigManager::staticMetaObject;
    QVERIFY(meta.method(meta.methodOffset() + 3).invoke(&manager()));
    QVERIFY(meta.method(meta.methodOffset() + 4)
                .invoke(&manager(), Q_ARG(QString, QStringLiteral("text"))));
    QCOMPARE(view.count(), 1);
    QCOMPARE(saved.count(), 1);
    QCOMPARE(saved.first().first().toString(), QStringLiteral("text"));
}

void tst_metaobject::operationsStandInTheirSlots()
{
    using I = UserConfigInterface;
    const QVector<std::ptrdiff_t> found { slotOf(&I::loadSettings),
                                          slotOf(&I::saveSettings),
                                          slotOf(&I::optionSettingChange),
                                          slotOf(&I::smartKeyConfigChange),
                                          slotOf(&I::writeConfig),
                                          slotOf(&I::readConfig),
                                          slotOf(&I::conditionsChange),
                                          slotOf(&I::readFN10DisplayConfig),
                                          slotOf(&I::exportSectorStock2CVS),
                                          slotOf(&I::getLayoutConfig),
                                          slotOf(&I::updateDataCenterSetting),
                                          slotOf(&I::updateAccerPeriod),
                                          slotOf(&I::saveSmartKeyboardSetting),
                                          slotOf(&I::setPanelGroupLayout),
                                          slotOf(&I::getParamSettingForClient),
                                          slotOf(&I::setParamSettingForClient),
                                          slotOf(&I::getCustomStockMap),
                                          slotOf(&I::setCustomStockMap),
                                          slotOf(&I::setFormulaFunctionTreeExpand),
                                          slotOf(&I::getFormulaFunctionTreeExpand),
                                          slotOf(&I::setCatalogChange),
                                          slotOf(&I::getCatalogChange),
                                          slotOf(&I::setSaveSuccess),
                                          slotOf(&I::getSaveSuccess),
                                          slotOf(&I::setLinkageQuote),
                                          slotOf(&I::getLinkageQuote),
                                          slotOf(&I::setCurrentUser),
                                          slotOf(&I::getCurrentUser) };
    QCOMPARE(found.size(), 28);
    // The destructor takes the two slots before them.
    for (int i = 0; i < found.size(); ++i) {
        QCOMPARE(found[i], static_cast<std::ptrdiff_t>(i + 2));
    }
}

void tst_metaobject::translationsAreThereOfTheClass()
{
    QCOMPARE(CUserConfigManager::tr("text"), QStringLiteral("text"));
}

QTEST_GUILESS_MAIN(tst_metaobject)
#include "tst_metaobject.moc"
