#include "twodesks.h"

using roaming::Preparation;
using roaming::PrepareResult;
using roaming::SendResult;

class tst_roamingsettings : public CTwoDesksTest {
    Q_OBJECT

private Q_SLOTS:
    void init() { initDesks(); }
    void settingsFollow();
    void settingsOfAFirstStartAreKeptOnTheServer();
    void aRemovedSettingIsRemovedThere();
    void settingsThatCannotBeReadAreNotRemoved();
    void changedSettingsStay();
    void aStoreThatIsLostHasNotRemovedItsValues();
    void aLostAnswerTakesNothingBack();
    void secretsStay();
};

void tst_roamingsettings::settingsFollow()
{
    m_pLeft->put({ "UiSettingConfig", "theme", QByteArray("dark") });
    m_pLeft->put({ "UiSettingConfig", "empty", QByteArray() });
    bringInStep();
    QCOMPARE(m_pRight->setting("theme").value_or("none"), QByteArray("dark"));
    QVERIFY(m_pRight->setting("empty").has_value());
    m_pRight->put({ "UiSettingConfig", "theme", QByteArray("light") });
    const roaming::Sending sending = sent(*m_pRight);
    QCOMPARE(sending.result, SendResult::Sent);
    QCOMPARE(sending.nSettings, 1);
    QCOMPARE(prepared(*m_pLeft).nSettings, 1);
    QCOMPARE(m_pLeft->setting("theme").value_or("none"), QByteArray("light"));
}

void tst_roamingsettings::settingsOfAFirstStartAreKeptOnTheServer()
{
    m_pLeft->put({ "UiSettingConfig", "theme", QByteArray("dark") });
    m_pRight->put({ "UiSettingConfig", "theme", QByteArray("light") });
    bringInStep();
    QCOMPARE(m_pRight->setting("theme").value_or("none"), QByteArray("dark"));
    roaming::CMemoryStore store(m_pServer);
    const auto all = store.revisions("setting/UiSettingConfig/theme", 0, 0).value;
    QCOMPARE(all.size(), 2);
    QVERIFY(all.first().bAside);
    QCOMPARE(store.text("setting/UiSettingConfig/theme", 2).value, QByteArray("=light"));
}

void tst_roamingsettings::aRemovedSettingIsRemovedThere()
{
    m_pLeft->put({ "UiSettingConfig", "theme", QByteArray("dark") });
    m_pLeft->put({ "", "userconfig.xml", QByteArray("the mirror") });
    bringInStep();
    m_pLeft->put({ "UiSettingConfig", "theme", std::nullopt });
    QCOMPARE(sent(*m_pLeft).nSettings, 1);
    QCOMPARE(sent(*m_pLeft).result, SendResult::InStep);
    QCOMPARE(prepared(*m_pRight).nSettings, 1);
    QVERIFY(!m_pRight->setting("theme").has_value());
    QCOMPARE(sent(*m_pRight).result, SendResult::InStep);
}

void tst_roamingsettings::settingsThatCannotBeReadAreNotRemoved()
{
    m_pLeft->put({ "UiSettingConfig", "theme", QByteArray("dark") });
    bringInStep();
    m_pLeft->m_bReadable = false;
    QCOMPARE(sent(*m_pLeft).nSettings, 0);
    m_pRight->put({ "UiSettingConfig", "theme", QByteArray("light") });
    QCOMPARE(sent(*m_pRight).nSettings, 1);
    QCOMPARE(prepared(*m_pLeft).nSettings, 0);
    QCOMPARE(m_pLeft->setting("theme").value_or("none"), QByteArray("dark"));
    m_pLeft->m_bReadable = true;
    QCOMPARE(prepared(*m_pLeft).nSettings, 1);
    QCOMPARE(m_pLeft->setting("theme").value_or("none"), QByteArray("light"));
}

void tst_roamingsettings::changedSettingsStay()
{
    m_pLeft->put({ "UiSettingConfig", "theme", QByteArray("dark") });
    bringInStep();
    m_pLeft->put({ "UiSettingConfig", "theme", QByteArray("light") });
    sent(*m_pLeft);
    m_pRight->put({ "UiSettingConfig", "theme", QByteArray("blue") });
    QCOMPARE(prepared(*m_pRight).nSettings, 0);
    QCOMPARE(m_pRight->setting("theme").value_or("none"), QByteArray("blue"));
    QCOMPARE(sent(*m_pRight).result, SendResult::Sent);
    QCOMPARE(sent(*m_pRight).result, SendResult::InStep);
    QCOMPARE(prepared(*m_pLeft).nSettings, 1);
    QCOMPARE(m_pLeft->setting("theme").value_or("none"), QByteArray("blue"));
    roaming::CMemoryStore store(m_pServer);
    const auto all = store.revisions("setting/UiSettingConfig/theme", 0, 0).value;
    QCOMPARE(store.text("setting/UiSettingConfig/theme", all.last().nNumber + 1).value,
             QByteArray("=light"));
}

void tst_roamingsettings::aStoreThatIsLostHasNotRemovedItsValues()
{
    m_pLeft->put({ "UiSettingConfig", "theme", QByteArray("dark") });
    m_pLeft->put({ "UiSettingConfig", "font", QByteArray("big") });
    bringInStep();
    m_pLeft->put({ "UiSettingConfig", "theme", std::nullopt });
    m_pLeft->put({ "UiSettingConfig", "font", std::nullopt });
    // The first save of a client stores something again.
    m_pLeft->put({ "UiSettingConfig", "zoom", QByteArray("2") });
    QCOMPARE(sent(*m_pLeft).nSettings, 1);
    QCOMPARE(prepared(*m_pRight).nSettings, 1);
    QCOMPARE(m_pRight->setting("theme").value_or("none"), QByteArray("dark"));
    QCOMPARE(prepared(*m_pLeft).nSettings, 2);
    QCOMPARE(m_pLeft->setting("theme").value_or("none"), QByteArray("dark"));
}

void tst_roamingsettings::aLostAnswerTakesNothingBack()
{
    m_pLeft->put({ "UiSettingConfig", "theme", QByteArray("blue") });
    bringInStep();
    for (const char* pszTheme : { "dark", "light" }) {
        m_pLeft->put({ "UiSettingConfig", "theme", QByteArray(pszTheme) });
        m_pServer->failBehind({ roaming::StoreCause::Late, "for the test" });
        QCOMPARE(sent(*m_pLeft).result, SendResult::Failed);
    }
    m_pLeft->put({ "UiSettingConfig", "theme", QByteArray("dark") });
    QCOMPARE(sent(*m_pLeft).result, SendResult::Sent);
    QCOMPARE(prepared(*m_pLeft).nSettings, 0);
    QCOMPARE(prepared(*m_pRight).nSettings, 1);
    QCOMPARE(m_pRight->setting("theme").value_or("none"), QByteArray("dark"));
}

void tst_roamingsettings::secretsStay()
{
    m_pLeft->put({ "UiSettingConfig", "OAPASSWORD", QByteArray("secret") });
    bringInStep();
    QVERIFY(!m_pRight->setting("OAPASSWORD"));
}

QTEST_GUILESS_MAIN(tst_roamingsettings)
#include "tst_roamingsettings.moc"
