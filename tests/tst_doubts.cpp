#include "librarytest.h"

#include <inspect/doubts.h>
#include <inspect/optionvalues.h>
#include <inspect/userfile.h>

#include <algorithm>

// What a value means, and which values speak against it.
class tst_doubts : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void valuesOfOptions_data();
    void valuesOfOptions();
    void defaultsAndTheSampleAreBeyondDoubt();
    void marketsAndCodesAreLettersAndDigits_data();
    void marketsAndCodesAreLettersAndDigits();
    void aStockStandsOnceInAList();
    void windowsHaveASize_data();
    void windowsHaveASize();
    void onlyWhatIsNewIsNews();
    void whatMovesIsNoNews();
};

static const KW::OptionRow& optionOf(const QString& name)
{
    return *inspect::findOption(name);
}

static QStringList rulesOf(const QVector<inspect::Doubt>& doubts)
{
    QStringList rules;
    for (const inspect::Doubt& each : doubts) {
        rules.append((each.strRule + ' ' + each.strPlace).trimmed());
    }
    return rules;
}

static void addStock(inspect::UserRecords& records, int list, const char* pszMarket,
                     const char* pszCode)
{
    const auto pDetail = std::make_shared<rxservice::CInstrumentDetail>();
    pDetail->market = pszMarket;
    pDetail->code = pszCode;
    records.stocks[list].append(pDetail);
}

static KW::CLayoutWindow windowOf(int width, int height)
{
    KW::CLayoutWindow window;
    window.m_rect = QRect(10, 20, width, height);
    return window;
}

static void rows(const char* pszOption, const char* pszRule, const QStringList& values)
{
    for (const QString& value : values) {
        QTest::addRow("%s %s", pszOption, qPrintable(value))
            << QString(pszOption) << value << QString(pszRule);
    }
}

void tst_doubts::valuesOfOptions_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("rule");
    rows("tickRestoreDay", "", { "0", "1", "2147483647" });
    rows("tickRestoreDay", "negative", { "-1", "-2147483648" });
    rows("smartKeyConfig", "", { "-1", "5" });
    rows("monitorClipboard", "", { "0", "1" });
    rows("monitorClipboard", "flag", { "2", "-1" });
    rows("groupSignalRunTime", "", { "00:00", "09:30", "9:30", "23:59", "15:00:00" });
    rows("groupSignalRunTime", "time-of-day", { "", "24:00", "9:60", "9.30", "noon" });
    rows("updateF10DateTime", "",
         { "", "2024-01-31 08:55:00", "2024-01-31", "2024/1/31 8:05", "20240131", "2024-02-29",
           "20240131085500", "2024-01-31T08:55:00.250Z", "2024-01-31T08:55:00+08:00" });
    rows("updateF10DateTime", "date",
         { "yesterday", "2024-02-30", "2023-02-29", "2024-13-01", "2024-00-10", "31.01.2024",
           "2024-01/31", "2024-01-31 24:00", "2024-01-31 08:60", "2024-01-31 08:55 x", "08:55",
           "2024-1-31-", " 2024-01-31" });
    rows("qsSmartKeyConfig", "", { "", "1", "1,2", "536870912,-1", "1, 2" });
    rows("qsSmartKeyConfig", "number-list",
         { "a", "1,", ",1", "1,,2", "1;2", "1.5", "0x10", "1 2", "--1" });
    rows("oaAddress", "",
         { "", "10.0.0.8:3306", "db", "db.example.com", "db:1433", "[::1]:3306", "数据.example",
           "http://db.example.com/oa?x=1", "tcp://10.0.0.8:3306", "db_1/table" });
    rows("oaAddress", "address",
         { "a b", "10.0.0.256", "10.0.0.8:99999", "db:port", ":3306", "http://", "a:b:c", "[::1",
           "http:// db" });
    rows("oaUser", "", { "", "any text: at all" });
}

void tst_doubts::valuesOfOptions()
{
    QFETCH(QString, option);
    QFETCH(QString, value);
    QFETCH(QString, rule);
    const inspect::Doubt doubt = inspect::optionDoubt(optionOf(option), value);
    QCOMPARE(doubt.strRule, rule);
    QCOMPARE(doubt.strText.startsWith(option + ": '" + value + "' is not "), !rule.isEmpty());
}

void tst_doubts::defaultsAndTheSampleAreBeyondDoubt()
{
    QCOMPARE(rulesOf(inspect::doubtsOf({})), QStringList());
    QCOMPARE(rulesOf(inspect::doubtsOf(KW::savedForm({}))), QStringList());
    const auto sample = inspect::readUserFile(SAMPLE_USER "/indexUserConfig.xml");
    QVERIFY(sample.state == inspect::FileState::Whole);
    QCOMPARE(rulesOf(inspect::doubtsOf(inspect::recordsOf(sample.document))), QStringList());
    const KW::paramSettingForClient defaults;
    for (const KW::OptionRow& row : KW::optionTable()) {
        QVERIFY(inspect::optionDoubt(row, inspect::optionText(defaults, row)).isNull());
    }
}

void tst_doubts::marketsAndCodesAreLettersAndDigits_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("doubtful");
    for (const char* pszText : { "SH", "600000", "au2408", "X1" }) {
        QTest::newRow(pszText) << QString(pszText) << false;
    }
    for (const char* pszText : { "", "S H", "SH.", "600-000", "ＳＨ", "沪", "a\tb" }) {
        QTest::newRow(pszText) << QString::fromUtf8(pszText) << true;
    }
}

void tst_doubts::marketsAndCodesAreLettersAndDigits()
{
    QFETCH(QString, text);
    QFETCH(bool, doubtful);
    QCOMPARE(inspect::marketDoubt(text).strRule, doubtful ? QString("market") : QString());
    QCOMPARE(inspect::codeDoubt(text).strRule, doubtful ? QString("code") : QString());
}

void tst_doubts::aStockStandsOnceInAList()
{
    inspect::UserRecords records;
    addStock(records, 1, "SH", "1");
    addStock(records, 1, "SZ", "1");
    addStock(records, 2, "SH", "1");
    QCOMPARE(rulesOf(inspect::doubtsOf(records)), QStringList());
    addStock(records, 1, "SH", "1");
    addStock(records, 2, "S H", "");
    QCOMPARE(rulesOf(inspect::doubtsOf(records)),
             QStringList({ "double-stock list 1", "market list 2", "code list 2" }));
}

void tst_doubts::windowsHaveASize_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<bool>("maximized");
    QTest::addColumn<bool>("doubtful");
    QTest::newRow("usual") << 640 << 480 << false << false;
    QTest::newRow("as large as a desktop can be") << 60000 << 60000 << false << false;
    QTest::newRow("wider") << 60001 << 480 << false << true;
    QTest::newRow("higher, though maximized") << 640 << 60001 << true << true;
    QTest::newRow("no width") << 0 << 480 << false << true;
    QTest::newRow("negative height") << 640 << -1 << false << true;
    QTest::newRow("none, but maximized") << 0 << 0 << true << false;
}

void tst_doubts::windowsHaveASize()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(bool, maximized);
    QFETCH(bool, doubtful);
    KW::CLayoutWindow window = windowOf(width, height);
    window.m_bMaximized = maximized;
    QCOMPARE(inspect::windowDoubt(window).strRule, doubtful ? QString("window-size") : QString());
}

void tst_doubts::onlyWhatIsNewIsNews()
{
    inspect::UserRecords before;
    before.options.tickRestoreDay = -1;
    addStock(before, 1, "S H", "1");
    inspect::UserRecords after = before;
    QCOMPARE(rulesOf(inspect::newDoubts(before, after)), QStringList());
    after.options.tickRestoreDay = -2;
    addStock(after, 2, "S H", "2");
    QCOMPARE(rulesOf(inspect::newDoubts(before, after)),
             QStringList({ "negative", "market list 2" }));
    QCOMPARE(rulesOf(inspect::newDoubts(after, {})), QStringList());
}

void tst_doubts::whatMovesIsNoNews()
{
    inspect::UserRecords before;
    addStock(before, 1, "S H", "1");
    before.layouts.m_quoteTemplates = { { "old", { windowOf(0, 5) } } };
    inspect::UserRecords after;
    addStock(after, 7, "S H", "1");
    after.layouts.m_quoteTemplates = { { "new", { windowOf(0, 5) } } };
    QCOMPARE(rulesOf(inspect::newDoubts(before, after)), QStringList());
    after.layouts.m_quoteGroupSetting.m_windows = { windowOf(0, 5) };
    QCOMPARE(inspect::newDoubts(before, after).size(), 1);
    after.layouts.m_quoteTemplates = before.layouts.m_quoteTemplates;
    QCOMPARE(rulesOf(inspect::newDoubts(before, after)), QStringList("window-size IndexLayout"));
}

QTEST_GUILESS_MAIN(tst_doubts)
#include "tst_doubts.moc"
