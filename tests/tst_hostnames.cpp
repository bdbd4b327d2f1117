#include "librarytest.h"
#include "toolrun.h"

#include <QJsonArray>
#include <QJsonDocument>

// Names that the host is given or finds: which become files, which are near to which.
class tst_hostnames : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aFilterWhoseNameIsNoFileIsRefused_data();
    void aFilterWhoseNameIsNoFileIsRefused();
    void aSectorWhoseNameIsNoFileIsRefused_data();
    void aSectorWhoseNameIsNoFileIsRefused();
    void aFilterNamesTheFileInsteadOfTheSector();
    void aSectorWithControlCharactersInAStockIsRefused();
    void aFilterThatMatchesNothingIsRefused_data();
    void aFilterThatMatchesNothingIsRefused();
    void aNearNameIsSuggested_data();
    void aNearNameIsSuggested();
    void settingKeysAreCompleted();

private:
    Outcome tool(const QStringList& arguments) const;
    void writeSector(const QString& name, const QString& stock) const;
    QStringList written() const;
};

namespace {

QString named(const char* pszName)
{
    return QString::fromUtf8(pszName);
}

void addBadNames()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    QTest::newRow("hidden") << named(".x") << "'.x' begins with a dot";
    QTest::newRow("directory above") << named("..") << "'..' begins with a dot";
    QTest::newRow("nothing") << QString() << "'' is empty";
    QTest::newRow("newline") << named("a\nb") << "'a\\u000ab' holds a control character";
    QTest::newRow("ESC") << named("a\x1b[2Jb") << "'a\\u001b[2Jb' holds a control character";
    QTest::newRow("C1") << named("a\u009bb") << "'a\\u009bb' holds a control character";
    QTest::newRow("direction") << named("a\u202eb") << "'a\\u202eb' holds a control character";
    QTest::newRow("too long") << QString(244, 'x') << "is longer than 243 bytes";
}

} // namespace

void tst_hostnames::init()
{
    CLibraryTest::init();
    writeLive(readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QVERIFY(QFile::copy(SAMPLE_USER "/sectors.json", userDir() + "/sectors.json"));
    QVERIFY(QDir().mkpath(userDir() + "/out"));
}

Outcome tst_hostnames::tool(const QStringList& arguments) const
{
    return runTool(QStringList { "--config-dir", userDir() } + arguments);
}

void tst_hostnames::writeSector(const QString& name, const QString& stock) const
{
    const QJsonObject constituent { { "market", "SH" },
                                    { "code", stock },
                                    { "name", "n" },
                                    { "absoluteWeight", 0.5 },
                                    { "previousClose", 1.0 } };
    const QJsonObject sector { { "code", "801780" },
                               { "name", name },
                               { "constituents", QJsonArray { constituent } } };
    writeFile(userDir() + "/sectors.json",
              QJsonDocument(QJsonObject { { "sectors", QJsonArray { sector } } }).toJson());
}

QStringList tst_hostnames::written() const
{
    return QDir(userDir() + "/out")
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

void tst_hostnames::aFilterWhoseNameIsNoFileIsRefused_data()
{
    addBadNames();
    QTest::newRow("slash") << named("../x") << "the name '../x' holds '|' or '/'";
    QTest::newRow("backslash") << named("a\\b") << "the name 'a\\b' holds '/' or '\\'";
}

void tst_hostnames::aFilterWhoseNameIsNoFileIsRefused()
{
    QFETCH(QString, name);
    QFETCH(QString, reason);
    const Outcome outcome = tool({ "export-sector", "801780", userDir() + "/out", "--filter",
                                   QStringLiteral("801780=%1,1|绝对权重|0|0|0").arg(name) });
    QVERIFY2(outcome.strErr.startsWith("indexuserctl: filter: group 1: the name '")
                 && outcome.strErr.contains(reason),
             qPrintable(outcome.strErr));
    QCOMPARE(outcome.nStatus, 2);
    QCOMPARE(outcome.strOut, QString());
    QCOMPARE(written(), QStringList());
}

void tst_hostnames::aSectorWhoseNameIsNoFileIsRefused_data()
{
    addBadNames();
    QTest::newRow("slash") << named("../x") << "'../x' begins with a dot";
    QTest::newRow("slash within") << named("a/b") << "'a/b' holds '/' or '\\'";
    QTest::newRow("NUL") << QString("a") + QChar(0) + "b"
                         << "'a\\u0000b' holds a control character";
}

void tst_hostnames::aSectorWhoseNameIsNoFileIsRefused()
{
    QFETCH(QString, name);
    QFETCH(QString, reason);
    writeSector(name, "600000");
    const Outcome outcome = tool({ "export-sector", "801780", userDir() + "/out" });
    QVERIFY2(outcome.strErr.startsWith("indexuserctl: sector 801780: the name '")
                 && outcome.strErr.contains(reason),
             qPrintable(outcome.strErr));
    QCOMPARE(outcome.nStatus, 4);
    QCOMPARE(outcome.strOut, QString());
    QCOMPARE(written(), QStringList());
}

void tst_hostnames::aFilterNamesTheFileInsteadOfTheSector()
{
    writeSector("a/b", "600000");
    const Outcome outcome
        = tool({ "export-sector", "801780", userDir() + "/out", "--filter", "801780=My" });
    QCOMPARE(outcome.strErr, QString());
    QCOMPARE(written(), QStringList("My" + QDate::currentDate().toString("yyyyMMdd") + ".csv"));
}

void tst_hostnames::aSectorWithControlCharactersInAStockIsRefused()
{
    writeSector("a", QStringLiteral("60\u202e00"));
    const Outcome outcome = tool({ "export-sector", "801780", userDir() + "/out" });
    QCOMPARE(outcome.strErr,
             QString("indexuserctl: sector 801780: the stock 'SH60\\u202e00' holds "
                     "a control character\n"));
    QCOMPARE(outcome.nStatus, 4);
    QCOMPARE(written(), QStringList());
}

void tst_hostnames::aFilterThatMatchesNothingIsRefused_data()
{
    QTest::addColumn<QString>("items");
    QTest::addColumn<QString>("reason");
    QTest::newRow("indicator") << named("1|绝对权重|0|0|0.1,1|市盈率|0|0|1")
                               << named("item 2: there is no indicator '市盈率', only 绝对权重 and "
                                        "前收盘");
    QTest::newRow("operator") << named("1|绝对权重|5|0|0.1")
                              << "item 1: there is no operator 5, only 0 (>), 1 (<), 2 (>=), "
                                 "3 (<=) and 4 (=)";
    QTest::newRow("negative") << named("1|绝对权重|-1|0|0.1") << "there is no operator -1";
}

void tst_hostnames::aFilterThatMatchesNothingIsRefused()
{
    QFETCH(QString, items);
    QFETCH(QString, reason);
    const Outcome outcome
        = tool({ "export-sector", "801780", userDir() + "/out", "--filter", "801780=My," + items });
    QVERIFY2(outcome.strErr.contains("filter: group 1: ") && outcome.strErr.contains(reason),
             qPrintable(outcome.strErr));
    QCOMPARE(outcome.nStatus, 2);
    QCOMPARE(written(), QStringList());
}

void tst_hostnames::aNearNameIsSuggested_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("suggestion");
    QTest::newRow("command") << QStringList { "chekc" } << ", did you mean 'check'?";
    QTest::newRow("option") << QStringList { "option", "get", "oaUesr" }
                            << ", did you mean 'oaUser'?";
    QTest::newRow("template") << QStringList { "template", "apply", "盘早" }
                              << ", did you mean '早盘'?";
    QTest::newRow("one letter") << QStringList { "template", "apply", "早" } << "";
    QTest::newRow("sector") << QStringList { "export-sector", "801870", "." }
                            << ", did you mean '801780'?";
    QTest::newRow("no sector") << QStringList { "export-sector", "9", "." } << "";
    QTest::newRow("setting") << QStringList { "setting", "get", "themme 1" }
                             << ", did you mean 'theme 1'?";
    QTest::newRow("date") << QStringList { "snapshot", "show", "2024-01-13" }
                          << ", did you mean '2024-01-31'?";
    QTest::newRow("date in one") << QStringList { "snapshot", "diff", "20240113" }
                                 << ", did you mean '2024-01-31'?";
    QTest::newRow("no date") << QStringList { "snapshot", "restore", "2024-01-32" }
                             << ", did you mean '2024-01-31'?";
    QTest::newRow("far date") << QStringList { "snapshot", "show", "1999-12-05" } << "";
}

void tst_hostnames::aNearNameIsSuggested()
{
    QFETCH(QStringList, words);
    QFETCH(QString, suggestion);
    QCOMPARE(tool({ "setting", "set", "theme 1", "dark" }).nStatus, 0);
    QVERIFY(QDir().mkpath(userDir() + "/Temp"));
    QVERIFY(QFile::copy(livePath(), userDir() + "/Temp/indexUserConfig.xml_20240131"));
    const Outcome outcome = tool(words);
    QVERIFY(outcome.nStatus == 1 || outcome.nStatus == 2);
    QVERIFY2(outcome.strErr.contains("did you mean") == !suggestion.isEmpty()
                 && outcome.strErr.contains(suggestion),
             qPrintable(outcome.strErr));
}

void tst_hostnames::settingKeysAreCompleted()
{
    QCOMPARE(tool({ "setting", "set", "主题 a=b", "dark" }).nStatus, 0);
    QCOMPARE(tool({ "setting", "set", QString(200, 'x'), "a key known by its digest" }).nStatus, 0);
    const Outcome outcome
        = runTool({ "complete", "--config-dir", userDir(), "setting", "get", "" });
    QCOMPARE(outcome.strOut, QStringLiteral("主题 a=b\n"));
}

QTEST_GUILESS_MAIN(tst_hostnames)
#include "tst_hostnames.moc"
