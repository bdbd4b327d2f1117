#include "librarytest.h"
#include "logcapture.h"

#include <indexuser/optionsettings.h>
#include <inspect/userdifferences.h>
#include <inspect/userfile.h>

#include <rapidcheck.h>

#include <cmath>

// What holds for any store and any records, not only for those that somebody thought of.
class tst_properties : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void whatIsSavedIsLoaded();
    void aSecondLoadAddsWhatItAddsAndReplacesTheRest();
    void copiesAreIndependent();
    void anyTextIsReadWholeOrNotAtAll();

private:
    static void reload();
};

namespace {

using KW::CLayoutWindow;
using Layouts = KW::CPanelGroupLayoutConfig;

// Any text that XML can hold, and much that is special in it.
rc::Gen<QString> texts()
{
    const auto letters = rc::gen::element<QString>("a", "Z", "0", "-", " ", "\n", "\t", "\r", "<",
                                                   ">", "&", "\"", "'", "]]>", "<!--", "&#10;",
                                                   "行", "é", "\U0001F600", ",", "|", "=", ":");
    return rc::gen::map(rc::gen::container<std::vector<QString>>(letters),
                        [](const std::vector<QString>& parts) {
                            QString strText;
                            for (const QString& part : parts) {
                                strText += part;
                            }
                            return strText;
                        });
}

CLayoutWindow anyWindow()
{
    CLayoutWindow window;
    window.m_nScreenId = *rc::gen::arbitrary<int>();
    window.m_bIsMain = *rc::gen::arbitrary<bool>();
    window.m_bMaximized = *rc::gen::arbitrary<bool>();
    window.m_strNavTree = *texts();
    window.m_nPanelGroupId = *rc::gen::arbitrary<int>();
    const auto pixels = [] { return *rc::gen::inRange(-40000, 40000); };
    window.m_rect = QRect(pixels(), pixels(), pixels(), pixels());
    return window;
}

KW::CPanelGroupLayoutSetting anySetting(const QString& key)
{
    KW::CPanelGroupLayoutSetting setting;
    setting.m_strKey = key;
    // Without windows a group is not read again, and the quote layout becomes a window.
    for (int i = *rc::gen::inRange(1, 4); i > 0; --i) {
        setting.m_windows.append(anyWindow());
    }
    return setting;
}

void fillLayouts(Layouts& layouts)
{
    for (const CLayoutWindow& window : anySetting({}).m_windows) {
        layouts.addQuotePanelSetting(window);
    }
    layouts.saveTradeGroupSetting(anySetting({}));
    for (int i = *rc::gen::inRange(0, 4); i > 0; --i) {
        layouts.addFormulaPanelSetting(anySetting(*texts()));
        layouts.addValuePanelSetting(anySetting(*texts()));
        layouts.saveLayoutToTemplate(*texts());
        layouts.saveTradeLayoutToTemplate(*texts());
    }
}

void fillOptions(KW::UserConfigInterface& service)
{
    KW::paramSettingForClient options;
    using Options = KW::paramSettingForClient;
    struct Setter {
        Options& options;
        void operator()(std::int32_t Options::*pField) const
        {
            options.*pField = *rc::gen::arbitrary<std::int32_t>();
        }
        void operator()(bool Options::*pField) const
        {
            options.*pField = *rc::gen::arbitrary<bool>();
        }
        void operator()(QString Options::*pField) const { options.*pField = *texts(); }
    };
    for (const KW::OptionRow& row : KW::optionTable()) {
        if (row.saved == KW::OptionSaved::Yes) {
            std::visit(Setter { options }, row.field);
        }
    }
    service.setParamSettingForClient(options);
}

void fillStocks(KW::UserConfigInterface& service)
{
    KW::CustomStockMap stocks;
    for (int i = *rc::gen::inRange(0, 4); i > 0; --i) {
        auto& list = stocks[*rc::gen::nonNegative<int>()];
        for (int j = *rc::gen::inRange(0, 4); j > 0; --j) {
            const auto pDetail = std::make_shared<rxservice::CInstrumentDetail>();
            pDetail->market = (*texts()).toStdString();
            pDetail->code = (*texts()).toStdString();
            pDetail->name = (*texts()).toStdString();
            list.append(pDetail);
        }
    }
    service.setCustomStockMap(stocks);
}

void fill(KW::UserConfigInterface& service)
{
    fillOptions(service);
    fillStocks(service);
    fillLayouts(*service.getLayoutConfig());
    service.setFormulaFunctionTreeExpand(*rc::gen::arbitrary<bool>());
}

inspect::UserRecords records(KW::UserConfigInterface& service)
{
    return inspect::recordsOf(service, QDomDocument());
}

void requireSame(const inspect::UserRecords& left, const inspect::UserRecords& right)
{
    for (const inspect::Difference& each : inspect::differences(left, right)) {
        RC_FAIL(inspect::toText(each).toStdString());
    }
}

} // namespace

void tst_properties::initTestCase()
{
    qputenv("RC_PARAMS", "seed=20240131 max_success=100");
}

void tst_properties::reload()
{
    utils::CSingletonT<KW::CUserConfigManager>::release();
    resetSiblings();
    service().loadSettings();
}

void tst_properties::whatIsSavedIsLoaded()
{
    QVERIFY(rc::check([this] {
        writeLive("<ICUserConfigFile/>");
        reload();
        fill(service());
        const inspect::UserRecords before = inspect::savedForm(records(service()));
        saveAndWait(service());
        reload();
        requireSame(before, records(service()));
    }));
}

void tst_properties::aSecondLoadAddsWhatItAddsAndReplacesTheRest()
{
    QVERIFY(rc::check([this] {
        writeLive("<ICUserConfigFile/>");
        reload();
        fill(service());
        saveAndWait(service());
        reload();
        Layouts& layouts = *service().getLayoutConfig();
        const inspect::UserRecords once = records(service());
        const int nQuote = layouts.getQuoteGroupSetting().m_windows.size();
        const int nTrade = layouts.getTradeGroupSetting().m_windows.size();
        service().loadSettings();
        RC_ASSERT(layouts.getQuoteGroupSetting().m_windows.size() == nQuote);
        RC_ASSERT(layouts.getTradeGroupSetting().m_windows.size() == 2 * nTrade);
        for (const inspect::Difference& each : inspect::differences(once, records(service()))) {
            RC_ASSERT(each.strPath.startsWith("tradePanelGroup"));
        }
    }));
}

void tst_properties::copiesAreIndependent()
{
    QVERIFY(rc::check([] {
        service();
        fill(service());
        const inspect::UserRecords before = records(service());
        KW::paramSettingForClient options = service().getParamSettingForClient();
        KW::CustomStockMap stocks;
        service().getCustomStockMap(stocks);
        auto quote = service().getLayoutConfig()->getQuoteGroupSetting();
        options.oaUser += 'x';
        stocks[-5].append(nullptr);
        stocks[0].clear();
        quote.m_windows.clear();
        requireSame(before, records(service()));
        utils::CSingletonT<KW::CUserConfigManager>::release();
    }));
}

void tst_properties::anyTextIsReadWholeOrNotAtAll()
{
    QVERIFY(rc::check([this] {
        writeLive((*texts()).toUtf8());
        logcapture::start();
        reload();
        const bool bWhole = inspect::readUserFile(livePath()).state == inspect::FileState::Whole;
        RC_ASSERT(bWhole == (logcapture::unexpectedErrors() == 0));
        logcapture::start();
    }));
}

QTEST_GUILESS_MAIN(tst_properties)
#include "tst_properties.moc"
