#include "librarytest.h"
#include "logcapture.h"

#include <indexuser/optionsettings.h>
#include <indexuser/servicerecords.h>
#include <inspect/userdifferences.h>
#include <inspect/userfile.h>

#include <rapidcheck.h>

#include <cmath>
#include <memory>

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

std::shared_ptr<const MV::ILayoutElement> anyPanels()
{
    QDomDocument doc;
    QDomElement panels = doc.createElement("dock");
    panels.setAttribute("name", *texts());
    panels.appendChild(doc.createElement("panel")).toElement().setAttribute("name", *texts());
    return std::shared_ptr<const MV::ILayoutElement>(MV::ILayoutElement::fromXml(panels));
}

CLayoutWindow anyWindow()
{
    CLayoutWindow window;
    window.m_pItemLayout = *rc::gen::arbitrary<bool>() ? anyPanels() : nullptr;
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

// Answers the keys of the panel groups.
QStringList fillLayouts(Layouts& layouts)
{
    QStringList keys;
    for (const CLayoutWindow& window : anySetting({}).m_windows) {
        layouts.addQuotePanelSetting(window);
    }
    layouts.saveTradeGroupSetting(anySetting({}));
    for (int i = *rc::gen::inRange(0, 4); i > 0; --i) {
        keys += { *texts(), *texts() };
        layouts.addFormulaPanelSetting(anySetting(keys.constLast()));
        layouts.addValuePanelSetting(anySetting(keys[*rc::gen::inRange(0, keys.size())]));
        layouts.saveLayoutToTemplate(*texts());
        layouts.saveTradeLayoutToTemplate(*texts());
    }
    return keys;
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

QStringList fill(KW::UserConfigInterface& service)
{
    fillOptions(service);
    fillStocks(service);
    service.setFormulaFunctionTreeExpand(*rc::gen::arbitrary<bool>());
    return fillLayouts(*service.getLayoutConfig());
}

// What the service holds, by its accessors alone: no reader or writer of the file has a part in it.
using Lines = QStringList;

QVector<int> numbersOf(const KW::paramSettingForClient& p)
{
    return { p.reportRefreshTime,
             p.indexSortUpdate,
             p.riseCompareTime,
             p.delayRefreshTime,
             p.oMinDataRestorePeroid,
             p.fMinDataRestorePeroid,
             p.tickRestoreDay,
             p.flashKeepDataPeriod,
             p.graphDisplay,
             p.m_multiDaylines,
             p.m_multiHourlines,
             p.m_multiMinutelines,
             p.m_multiTicklines,
             p.monitorClipboard,
             p.showAllQuoteData,
             p.formulaDebug,
             p.InitPopTaskCondition,
             int(p.updateposition),
             p.groupSignalCondition,
             p.smartKeyConfig,
             p.dividDataTime,
             p.extParam1,
             p.wholeQuoter,
             p.extParam2,
             p.extParam3,
             p.extParam4,
             p.extParam5,
             p.extParam6,
             int(p.showGradient),
             int(p.extFlag1),
             int(p.showParamRank),
             int(p.m_bFilterFutureOptCheck) };
}

void show(Lines& lines, const KW::paramSettingForClient& p)
{
    Lines fields { p.groupSignalRunTime, p.updateF10DateTime, p.qsSmartKeyConfig,
                   p.oaAddress,          p.oaTableName,       p.oaUser,
                   p.oaPassword };
    for (const int nValue : numbersOf(p)) {
        fields.append(QString::number(nValue));
    }
    lines.append("options " + fields.join('|'));
}

void show(Lines& lines, const KW::CustomStockMap& stocks)
{
    for (auto it = stocks.begin(); it != stocks.end(); ++it) {
        lines.append(QString("list %1").arg(it.key()));
        for (const auto& pDetail : it.value()) {
            lines.append(QString::fromStdString("stock " + pDetail->market + '|' + pDetail->code
                                                + '|' + pDetail->name));
        }
    }
}

QString panelsOf(const CLayoutWindow& window)
{
    QDomDocument doc;
    QDomElement parent = doc.createElement("panels");
    doc.appendChild(parent);
    if (window.m_pItemLayout) {
        window.m_pItemLayout->toXml(parent, doc);
    }
    return doc.toString(-1);
}

enum class WithNavTree { Yes, No }; // templates of a file have none

void show(Lines& lines, const QString& name, const KW::CPanelGroupLayoutSetting& setting,
          WithNavTree navTree)
{
    lines.append("layout " + name + '|' + setting.m_strKey);
    for (const CLayoutWindow& each : setting.m_windows) {
        const QRect r = each.m_rect;
        const auto flags = { int(each.m_bIsMain),
                             int(each.m_bMaximized),
                             each.m_nScreenId,
                             each.m_nPanelGroupId,
                             r.left(),
                             r.top(),
                             r.right(),
                             r.bottom() };
        Lines fields { panelsOf(each) };
        for (const int nValue : flags) {
            fields.append(QString::number(nValue));
        }
        lines.append(fields.join('|')
                     + (navTree == WithNavTree::Yes ? '|' + each.m_strNavTree : QString()));
    }
}

// Templates show their windows only when they become the current ones: those of a copy.
void showTemplates(Lines& lines, Layouts layouts)
{
    for (const QString& name : layouts.getQuoteLayoutTemplate()) {
        layouts.loadLayoutFromTemplate(name);
        show(lines, "template " + name, layouts.getQuoteGroupSetting(), WithNavTree::No);
    }
    for (const QString& name : layouts.getTradeLayoutTemplate()) {
        layouts.loadTradeLayoutFromTemplate(name);
        show(lines, "trade template " + name, layouts.getTradeGroupSetting(), WithNavTree::No);
    }
}

Lines held(KW::UserConfigInterface& service, const QStringList& keys)
{
    Lines lines { QString("expand %1").arg(service.getFormulaFunctionTreeExpand()) };
    show(lines, service.getParamSettingForClient());
    KW::CustomStockMap stocks;
    service.getCustomStockMap(stocks);
    show(lines, stocks);
    Layouts& layouts = *service.getLayoutConfig();
    show(lines, "quote", layouts.getQuoteGroupSetting(), WithNavTree::Yes);
    show(lines, "trade", layouts.getTradeGroupSetting(), WithNavTree::Yes);
    for (const QString& key : keys) {
        KW::CPanelGroupLayoutSetting formula;
        KW::CPanelGroupLayoutSetting value;
        lines.append(QString("found %1 %2")
                         .arg(layouts.getFormulaPanelGroupSetting(key, formula))
                         .arg(layouts.getValuePanelSetting(key, value)));
        show(lines, "formula " + key, formula, WithNavTree::Yes);
        show(lines, "value " + key, value, WithNavTree::Yes);
    }
    showTemplates(lines, layouts);
    return lines;
}

inspect::UserRecords records(KW::UserConfigInterface& service)
{
    return KW::recordsOf(service, {});
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
        const QStringList keys = fill(service());
        const Lines before = held(service(), keys);
        saveAndWait(service());
        reload();
        const Lines after = held(service(), keys);
        for (int i = 0; i < qMax(before.size(), after.size()); ++i) {
            RC_ASSERT(after.value(i).toStdString() == before.value(i).toStdString());
        }
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
            RC_ASSERT(each.strWhat.startsWith("tradePanelGroup"));
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
        const bool bWhole = inspect::readDocument(livePath()).state == inspect::FileState::Whole;
        RC_ASSERT(bWhole == (logcapture::unexpectedErrors() == 0));
        logcapture::start();
    }));
}

QTEST_GUILESS_MAIN(tst_properties)
#include "tst_properties.moc"
