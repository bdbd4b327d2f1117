#include "librarytest.h"

#include "filelimits.h"
#include "platform/strategybase.h"
#include "standalone/standalone.h"

#include <QDir>

#include <thread>

namespace {

std::string read(const std::string& key)
{
    std::string strValue = "(unknown)";
    se::readConfig("s", key, strValue, false);
    return strValue;
}

} // namespace

class tst_settingsstore : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void anUnknownKeyIsNotZeroAndLeavesTheValue();
    void valuesOfAnyContentComeBack_data();
    void valuesOfAnyContentComeBack();
    void keysOfAnyContentAreApart();
    void sectionsAreApart();
    void keysOfASectionAreListed();
    void aValueIsReplaced();
    void valuesAreKeptBesideTheConfiguration();
    void theNameOfAFileComesFromItsKey_data();
    void theNameOfAFileComesFromItsKey();
    void aValueThatDoesNotFitKeepsTheOldOne();
    void aDirectoryThatCannotBeMadeIsTold();
    void threadsNeverSeeHalfAValue();
    void theServiceReadsWhatItWrote();
    void whatIsStoredOrRemovedIsTold();
    void whatIsNotStoredIsNotTold();
};

void tst_settingsstore::anUnknownKeyIsNotZeroAndLeavesTheValue()
{
    std::string strValue = "as it was";
    QVERIFY(se::readConfig("s", "unknown", strValue, false) != 0);
    QCOMPARE(strValue, std::string("as it was"));
}

void tst_settingsstore::valuesOfAnyContentComeBack_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("Chinese") << QByteArray("值");
    QTest::newRow("lines and NUL") << QByteArray("a\n[b]\r\n=;\0", 10);
    QTest::newRow("no UTF-8") << QByteArray("\xff\xfe\x80");
    QTest::newRow("megabytes") << QByteArray(8 << 20, 'x');
}

void tst_settingsstore::valuesOfAnyContentComeBack()
{
    QFETCH(QByteArray, value);
    QCOMPARE(se::writeConfig("s", "key", value.toStdString(), false), 0);
    QCOMPARE(read("key"), value.toStdString());
}

void tst_settingsstore::keysOfAnyContentAreApart()
{
    const std::vector<std::string> keys {
        "",
        ".",
        "..",
        "/",
        "a/b",
        "a%2Fb",
        "A",
        "a",
        "键",
        std::string("a\0b", 3),
        "a b",
        "=",
        "~",
        std::string(1000, 'k'),
        std::string(1000, 'k') + "1",
        std::string("\xff", 1),
    };
    for (const std::string& key : keys) {
        QCOMPARE(se::writeConfig("s", key, "value of " + key, false), 0);
    }
    for (const std::string& key : keys) {
        QCOMPARE(read(key), "value of " + key);
    }
}

void tst_settingsstore::sectionsAreApart()
{
    QCOMPARE(se::writeConfig("one", "key", "1", false), 0);
    QCOMPARE(se::writeConfig("two", "key", "2", false), 0);
    QCOMPARE(se::writeConfig("key", "3"), 0);
    std::string strValue;
    QCOMPARE(se::readConfig("one", "key", strValue, false), 0);
    QCOMPARE(strValue, std::string("1"));
    QCOMPARE(se::readConfig("", "key", strValue, false), 0);
    QCOMPARE(strValue, std::string("3"));
}

void tst_settingsstore::keysOfASectionAreListed()
{
    QCOMPARE(standalone::settingKeys("s"), QStringList());
    for (const std::string& key :
         { std::string("a=b/c%~"), std::string("主题"), std::string("."), std::string(500, 'x') }) {
        QCOMPARE(se::writeConfig("s", key, "v", false), 0);
        QCOMPARE(se::writeConfig("other", key + '2', "v", false), 0);
    }
    QStringList keys = standalone::settingKeys("s");
    keys.sort();
    // The last one is kept by its digest.
    QCOMPARE(keys, QStringList({ ".", "a=b/c%~", "主题" }));
}

void tst_settingsstore::aValueIsReplaced()
{
    QCOMPARE(se::writeConfig("s", "key", "a longer first value", false), 0);
    QCOMPARE(se::writeConfig("s", "key", "second", false), 0);
    QCOMPARE(read("key"), std::string("second"));
}

void tst_settingsstore::valuesAreKeptBesideTheConfiguration()
{
    QCOMPARE(se::writeConfig("s", "key", "kept", false), 0);
    resetSiblings();
    QCOMPARE(read("key"), std::string("kept"));
    QCOMPARE(readFile(userDir() + "/Settings/s=key"), QByteArray("kept"));
    useUserDir(userDir() + "/other");
    QCOMPARE(read("key"), std::string("(unknown)"));
}

// Values that earlier versions have stored are found by these names.
void tst_settingsstore::theNameOfAFileComesFromItsKey_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << QByteArray("key") << "s=key";
    QTest::newRow("encoded") << QByteArray("a/b%") << "s=a%2Fb%25";
    QTest::newRow("120") << QByteArray(120, 'k') << "s=" + QString(120, 'k');
    QTest::newRow("121") << QByteArray(121, 'k')
                         << "s=kkkkkkkkkkkkkkkkkkkk%~"
                            "41cab6bc48d894321e1a1cb07d8ca25f74acf04562963a1c066a755a67921cfe";
}

void tst_settingsstore::theNameOfAFileComesFromItsKey()
{
    QFETCH(QByteArray, key);
    QFETCH(QString, name);
    QCOMPARE(se::writeConfig("s", key.toStdString(), "value", false), 0);
    QCOMPARE(QDir(userDir() + "/Settings").entryList(QDir::Files | QDir::Hidden),
             QStringList(name));
}

void tst_settingsstore::aValueThatDoesNotFitKeepsTheOldOne()
{
    QCOMPARE(se::writeConfig("s", "key", "old", false), 0);
    {
        const CFileSizeLimit limit(1000);
        QVERIFY(se::writeConfig("s", "key", std::string(5000, 'x'), false) != 0);
    }
    QCOMPARE(read("key"), std::string("old"));
}

void tst_settingsstore::aDirectoryThatCannotBeMadeIsTold()
{
    writeFile(userDir() + "/Settings", "a file");
    QVERIFY(se::writeConfig("s", "key", "value", false) != 0);
}

void tst_settingsstore::threadsNeverSeeHalfAValue()
{
    const std::string strFirst(100000, 'a');
    const std::string strSecond(70000, 'b');
    QCOMPARE(se::writeConfig("s", "key", strFirst, false), 0);
    std::atomic<int> nTorn { 0 };
    std::vector<std::thread> threads;
    for (const std::string& value : { strFirst, strSecond }) {
        threads.emplace_back([value] {
            for (int i = 0; i < 20; ++i) {
                se::writeConfig("s", "key", value, false);
            }
        });
        threads.emplace_back([&] {
            for (int i = 0; i < 100; ++i) {
                const std::string strRead = read("key");
                nTorn += strRead == strFirst || strRead == strSecond ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(nTorn.load(), 0);
}

void tst_settingsstore::theServiceReadsWhatItWrote()
{
    QVERIFY(service().writeConfig(QStringLiteral("键"), QStringLiteral("值\n")));
    QString strValue;
    QVERIFY(service().readConfig(QStringLiteral("键"), strValue));
    QCOMPARE(strValue, QStringLiteral("值\n"));
    QVERIFY(!service().readConfig("unknown", strValue));
    QCOMPARE(strValue, QStringLiteral("值\n"));
}

void tst_settingsstore::whatIsStoredOrRemovedIsTold()
{
    QStringList told;
    standalone::onStored([&](const QString& section, const QString& key) {
        std::string strValue;
        const bool bThere
            = se::readConfig(section.toStdString(), key.toStdString(), strValue, false) == 0;
        told.append(section + '/' + key + '=' + (bThere ? strValue.c_str() : "(gone)"));
    });
    QCOMPARE(se::writeConfig("userconfig.xml", "<mirror/>"), 0);
    QCOMPARE(se::writeConfig("s", "k", "1", false), 0);
    QVERIFY(standalone::removeSetting("s", "k"));
    standalone::onStored({});
    QCOMPARE(se::writeConfig("s", "k", "2", false), 0);
    QCOMPARE(told, QStringList({ "/userconfig.xml=<mirror/>", "s/k=1", "s/k=(gone)" }));
}

void tst_settingsstore::whatIsNotStoredIsNotTold()
{
    int nTold = 0;
    writeFile(userDir() + "/Settings", "no directory");
    standalone::onStored([&](const QString&, const QString&) { ++nTold; });
    QVERIFY(se::writeConfig("s", "k", "1", false) != 0);
    standalone::onStored({});
    QCOMPARE(nTold, 0);
}

QTEST_GUILESS_MAIN(tst_settingsstore)
#include "tst_settingsstore.moc"
