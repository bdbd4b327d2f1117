#include "librarytest.h"
#include "toolrun.h"

#include <QTextCodec>

#include <memory>

#include <sys/stat.h>

// The bundle for support, as another program unpacks it: all that the user has, but for secrets.
class tst_hostsupport : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void noFormOfASecretIsInIt();
    void allElseIsAsInTheDirectory();
    void theAnswersAreThoseOfTheCommands();
    void aTornFileIsMaskedOrLeftOut_data();
    void aTornFileIsMaskedOrLeftOut();
    void whatIsInDoubtIsLeftOutAndTold_data();
    void whatIsInDoubtIsLeftOutAndTold();
    void aBadFileStopsNoOther();
    void nothingOfTheUserIsChanged();
    void onlyItsOwnerReadsIt();
    void aDryRunWritesNothing();
    void itGoesToStandardOutput();
    void noBundleIsMade_data();
    void noBundleIsMade();

private:
    Outcome tool(const QStringList& arguments, const QByteArray& input = {}) const;
    void fill() const;
    QString at(const QString& name) const { return userDir() + "/me/" + name; }
    QString unpacked(const QString& name) const
    {
        return userDir() + "/out/indexuser-support/" + name;
    }
    QStringList found(const QString& archive, const QString& directory) const;
    QMap<QString, QJsonObject> bundle(int status) const;
    QMap<QString, QString> facts() const;
};

namespace {

// A name of the sample's, too, as a value that only the history still knows.
const QString c_strSecret = QStringLiteral("p<w>\"三's&1");
const QString c_strOld = QStringLiteral("sample-only");
const QString c_strLive = QStringLiteral("indexUserConfig.xml");

QByteArray inCodec(const char* pszCodec, const QString& text)
{
    const std::unique_ptr<QTextEncoder> pEncoder(
        QTextCodec::codecForName(pszCodec)->makeEncoder(QTextCodec::IgnoreHeader));
    return pEncoder->fromUnicode(text);
}

QString withValue(const QString& value)
{
    return QString(R"(<?xml version="1.0"?><ICUserConfigFile><Option><Settings oaUser="张" )"
                   R"(oaPassword="%1" tickRestoreDay="2"/></Option></ICUserConfigFile>)")
        .arg(value);
}

QString byReferences(const QString& text)
{
    QString strAll;
    for (const QChar c : text) {
        strAll += QString("&#x%1;").arg(QString::number(c.unicode(), 16));
    }
    return strAll;
}

} // namespace

void tst_hostsupport::init()
{
    CLibraryTest::init();
    QVERIFY(QDir(userDir()).mkpath("me/Temp"));
    writeFile(at(c_strLive), readFile(SAMPLE_USER "/indexUserConfig.xml"));
    QVERIFY(QFile::copy(SAMPLE_USER "/sectors.json", at("sectors.json")));
}

Outcome tst_hostsupport::tool(const QStringList& arguments, const QByteArray& input) const
{
    return runProgram(TOOL, QStringList { "--config-dir", "me" } + arguments, {}, userDir(), input);
}

// Every place in which a secret has ever been.
void tst_hostsupport::fill() const
{
    QCOMPARE(tool({ "option", "set", "oaPassword" }, c_strSecret.toUtf8() + '\n').nStatus, 0);
    QCOMPARE(tool({ "setting", "set", "note", "it is " + c_strSecret }).nStatus, 0);
    const QString strEscaped = c_strSecret.toHtmlEscaped();
    const QString strDocument = withValue(strEscaped);
    const QByteArray jsonl = readFile(at("History/log.jsonl"));
    writeFile(at("History/log.jsonl"),
              QByteArray(jsonl).replace("oaPassword\"", "oaPassword=" + c_strOld.toUtf8() + '"'));
    writeFile(at("Temp/indexUserConfig.xml_20240101"), inCodec("gbk", strDocument));
    writeFile(at("Temp/indexUserConfig.xml_20240102"),
              "\xff\xfe" + inCodec("utf-16le", strDocument));
    writeFile(at("Temp/indexUserConfig.xml_20240103"), inCodec("utf-16be", strDocument));
    writeFile(at("Temp/indexUserConfig.xml_20240104"),
              withValue(byReferences(c_strSecret)).toUtf8());
    const QByteArray live = readFile(at(c_strLive));
    writeFile(at("indexUserConfig.xml.damaged-1"), live.left(live.indexOf("</Option>")));
    writeFile(at("client.log"),
              "one\noaPassword = " + c_strSecret.toUtf8() + " is set\nthe word is "
                  + c_strSecret.toUtf8() + ".\nlast\n");
    writeFile(at("client.log.1"), inCodec("gbk", QString("三 %1 四\n").arg(c_strSecret)));
}

QStringList tst_hostsupport::found(const QString& archive, const QString& directory) const
{
    const Outcome outcome = runProgram(
        "python3", { QFINDTESTDATA("unpack.py"), archive, directory, c_strSecret, c_strOld }, {},
        userDir());
    if (outcome.nStatus != 0) {
        qFatal("%s", qPrintable(outcome.strErr));
    }
    return outcome.strOut.split('\n', Qt::SkipEmptyParts);
}

// What the table tells of each file, after the archive was unpacked to out/.
QMap<QString, QJsonObject> tst_hostsupport::bundle(int status) const
{
    const Outcome outcome = tool({ "support-bundle", "--out", "b.tar.gz", "--json" });
    if (outcome.nStatus != status) {
        qFatal("status %d: %s%s", outcome.nStatus, qPrintable(outcome.strErr),
               qPrintable(outcome.strOut));
    }
    const QStringList leaks = found("b.tar.gz", "out");
    if (!leaks.isEmpty() || outcome.strOut.contains(c_strOld)) {
        qFatal("a secret in %s", qPrintable(leaks.join(' ')));
    }
    QMap<QString, QJsonObject> rows;
    const auto answer = QJsonDocument::fromJson(outcome.strOut.toUtf8()).object();
    const auto table = answer["bundle"].toArray();
    for (const QJsonValue& row : table) {
        const QString strName = row["file"].toString();
        rows.insert(strName, row.toObject());
        if (QFile::exists(unpacked(strName)) != row["why"].toString().isEmpty()) {
            qFatal("%s is not told as it is", qPrintable(strName));
        }
    }
    return rows;
}

void tst_hostsupport::noFormOfASecretIsInIt()
{
    fill();
    const QStringList there = found({}, "me");
    QVERIFY2(there.size() >= 12, qPrintable(there.join(' ')));
    const auto rows = bundle(0);
    for (const QString& name : there) {
        QVERIFY2(rows["user/" + name]["state"] == "masked", qPrintable(name));
    }
}

void tst_hostsupport::allElseIsAsInTheDirectory()
{
    fill();
    const auto rows = bundle(0);
    const QByteArray mask = "(hidden)";
    for (const QString& name : rows.keys()) {
        const QByteArray bytes = readFile(unpacked(name));
        QCOMPARE(rows[name]["bytes"].toInt(), bytes.size());
        if (name.startsWith("user/") && rows[name]["state"] == "as it is") {
            QCOMPARE(bytes, readFile(at(name.mid(5))));
        }
    }
    QByteArray live = readFile(at(c_strLive));
    const QByteArray written = "oaPassword=\"p&lt;w>&quot;三's&amp;1\"";
    QVERIFY2(live.contains(written), live.mid(live.indexOf("oaPassword"), 60));
    live.replace(written, "oaPassword=\"(hidden)\"");
    QCOMPARE(readFile(unpacked("user/" + c_strLive)), live);
    const QString strHidden = withValue("(hidden)");
    const QString strCopy = "user/Temp/indexUserConfig.xml_2024010";
    QCOMPARE(readFile(unpacked(strCopy + '1')), inCodec("gbk", strHidden));
    QCOMPARE(readFile(unpacked(strCopy + '2')), "\xff\xfe" + inCodec("utf-16le", strHidden));
    QCOMPARE(readFile(unpacked(strCopy + '3')), inCodec("utf-16be", strHidden));
    QCOMPARE(readFile(unpacked(strCopy + '4')), strHidden.toUtf8());
    QCOMPARE(readFile(unpacked("user/client.log")),
             QByteArray("one\noaPassword(hidden)\nthe word is (hidden).\nlast\n"));
    QCOMPARE(readFile(unpacked("user/client.log.1")), inCodec("gbk", "三 (hidden) 四\n"));
    QCOMPARE(readFile(unpacked("user/Settings/UiSettingConfig=note")), "it is " + mask);
    QCOMPARE(QFileInfo(unpacked("user/sectors.json")).lastModified().toSecsSinceEpoch(),
             QFileInfo(at("sectors.json")).lastModified().toSecsSinceEpoch());
}

void tst_hostsupport::theAnswersAreThoseOfTheCommands()
{
    fill();
    const auto rows = bundle(0);
    const Outcome check = tool({ "check", "--json" });
    QCOMPARE(readFile(unpacked("check.json")), check.strOut.toUtf8());
    const Outcome copies = tool({ "snapshot", "list", "--json" });
    QCOMPARE(readFile(unpacked("snapshots.json")), copies.strOut.toUtf8());
    QVERIFY(readFile(unpacked("report.html")).startsWith("<!DOCTYPE html>"));
    const auto contents
        = QJsonDocument::fromJson(readFile(unpacked("contents.json")))["bundle"].toArray();
    QCOMPARE(contents.size(), rows.size());
    for (const QJsonValue& row : contents) {
        QCOMPARE(row.toObject(), rows[row["file"].toString()]);
    }
}

void tst_hostsupport::aTornFileIsMaskedOrLeftOut_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("state");
    const QByteArray whole = withValue("sample-only").toUtf8();
    const int nName = whole.indexOf("oaPassword");
    const int nValue = whole.indexOf("sample-only");
    QTest::newRow("cut behind") << whole.left(nValue + 30) << "masked";
    QTest::newRow("cut in the value") << whole.left(nValue + 7) << "masked";
    QTest::newRow("cut in the name") << whole.left(nName + 7) << "left out";
    QTest::newRow("cut in front") << whole.mid(nValue + 2) << "left out";
    QTest::newRow("hole in the name")
        << QByteArray(whole).replace(nName, 5, QByteArray(5, '\0')) << "left out";
    QTest::newRow("hole over the name")
        << QByteArray(whole).replace(nName, 10, QByteArray(10, '\0')) << "left out";
    QTest::newRow("NUL in the name") << QByteArray(whole).insert(nName + 3, '\0') << "left out";
    QTest::newRow("hole behind the value's beginning")
        << QByteArray(whole).replace(nValue + 4, 9, QByteArray(9, '\0')) << "left out";
    QTest::newRow("bad UTF-8") << whole + '\xff' << "masked";
    QTest::newRow("empty") << QByteArray() << "as it is";
    QTest::newRow("nothing but NUL") << QByteArray(100, '\0') << "as it is";
    QTest::newRow("cut UTF-16") << inCodec("utf-16le", whole).chopped(1) << "left out";
}

void tst_hostsupport::aTornFileIsMaskedOrLeftOut()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, state);
    writeFile(at(c_strLive), bytes);
    const auto rows = bundle(1);
    QCOMPARE(rows["user/" + c_strLive]["state"].toString(), state);
    QCOMPARE(rows["report.html"]["state"].toString(), QString("left out"));
    QCOMPARE(rows["check.json"]["state"].toString(), QString("as it is"));
}

void tst_hostsupport::whatIsInDoubtIsLeftOutAndTold_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("why");
    const QString strCopy = "Temp/indexUserConfig.xml_20240101";
    QTest::newRow("entity") << strCopy
                            << "<!DOCTYPE a [<!ENTITY p \"sample-one\">]>"
            + withValue("&p;").toUtf8()
                            << "it declares entities, which may hold a secret";
    QTest::newRow("comment") << strCopy << "<!-- oaPassword is x1 -->" + withValue("y").toUtf8()
                             << "it names a secret where no value is looked for";
    QTest::newRow("patch") << "patch.json"
                           << QByteArray(R"({"name":"oaPassword","before":"","after":"x1"})")
                           << "it names a secret where no value is looked for";
    QTest::newRow("escaped name") << "patch.json"
                                  << QByteArray(R"({"name":"\u006faPassword","after":"x1"})")
                                  << "it names a secret where no value is looked for";
    QTest::newRow("document in a text")
        << "Settings/UiSettingConfig=k" << QByteArray("&lt;S oaPassword=&quot;x1&quot;/&gt;")
        << "it names a secret where no value is looked for";
    QTest::newRow("value by references")
        << "Settings/UiSettingConfig=k" << byReferences("sample-only").toUtf8()
        << "a secret stands in it in another form";
    QTest::newRow("two quotes") << strCopy
                                << withValue("x").toUtf8().replace("oaUser=\"张\"",
                                                                   "oaUser='oaPassword=\"a'")
                                << "a secret stands where none is looked for";
    QTest::newRow("packed") << "Temp/a.gz" << QByteArray("\x1f\x8b\x08\x00\xff\xfe\x80", 7)
                            << "it is no text";
}

void tst_hostsupport::whatIsInDoubtIsLeftOutAndTold()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, why);
    QVERIFY(QDir(at(".")).mkpath("Settings"));
    writeFile(at(name), bytes);
    const auto rows = bundle(1);
    QCOMPARE(rows["user/" + name]["state"].toString(), QString("left out"));
    QCOMPARE(rows["user/" + name]["why"].toString(), why);
    QCOMPARE(rows["user/" + c_strLive]["state"].toString(), QString("masked"));
}

void tst_hostsupport::aBadFileStopsNoOther()
{
    QCOMPARE(::mkfifo(QFile::encodeName(at("Temp/pipe")), 0600), 0);
    QVERIFY(QFile::link("/etc/hostname", at("Temp/link")));
    QVERIFY(QFile::link("nowhere", at("Temp/lost")));
    QFile large(at("Temp/large"));
    QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(256LL * 1024 * 1024 + 1));
    writeFile(at("private.txt"), "x1");
    const auto rows = bundle(1);
    for (const char* pszName : { "pipe", "link", "lost", "large" }) {
        const QJsonObject row = rows[QString("user/Temp/") + pszName];
        QCOMPARE(row["state"].toString(), QString("left out"));
        QVERIFY(row["why"].toString().contains(pszName));
    }
    QVERIFY(!rows.contains("user/private.txt"));
    QCOMPARE(rows["user/" + c_strLive]["state"].toString(), QString("masked"));
    QCOMPARE(rows["user/sectors.json"]["state"].toString(), QString("as it is"));
}

// Each file and folder with its bytes, mode and time.
QMap<QString, QString> tst_hostsupport::facts() const
{
    QMap<QString, QString> all;
    QDirIterator files(at("."), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QFileInfo info(files.next());
        const QByteArray bytes = info.isFile() ? readFile(info.filePath()) : QByteArray();
        all.insert(info.filePath(),
                   QString("%1 %2 %3")
                       .arg(QString::number(info.permissions()),
                            info.lastModified().toString(Qt::ISODateWithMs),
                            QString::fromLatin1(bytes.toHex())));
    }
    return all;
}

void tst_hostsupport::nothingOfTheUserIsChanged()
{
    fill();
    const auto before = facts();
    bundle(0);
    QCOMPARE(facts(), before);
}

void tst_hostsupport::onlyItsOwnerReadsIt()
{
    const QString strArchive = userDir() + "/b.tar.gz";
    const auto owner = QFile::ReadOwner | QFile::WriteOwner;
    writeFile(strArchive, "old");
    QVERIFY(QFile::setPermissions(strArchive, owner | QFile::ReadGroup | QFile::ReadOther));
    bundle(0);
    const auto everybody = QFile::ReadUser | QFile::WriteUser;
    QCOMPARE(QFile::permissions(strArchive) & ~everybody, QFile::Permissions(owner));
}

void tst_hostsupport::aDryRunWritesNothing()
{
    const Outcome outcome = tool({ "support-bundle", "--out", "b.tar.gz", "--dry-run" });
    QCOMPARE(outcome.nStatus, 0);
    QVERIFY(
        outcome.strOut.contains(QRegularExpression("^would write b.tar.gz \\(\\d+ bytes\\)\n")));
    QVERIFY(
        outcome.strOut.contains(QRegularExpression("user/indexUserConfig.xml +masked +\\d+ +1")));
    QVERIFY(!QFile::exists(userDir() + "/b.tar.gz"));
}

void tst_hostsupport::itGoesToStandardOutput()
{
    const QString strLine = "'" TOOL "' --config-dir me support-bundle --out - >b.tar.gz";
    QCOMPARE(runProgram("bash", { "-c", strLine }, { "TAR_OPTIONS=--verbose" }, userDir()).nStatus,
             0);
    QCOMPARE(found("b.tar.gz", "out"), QStringList());
    QVERIFY(QFile::exists(unpacked("user/sectors.json")));
}

void tst_hostsupport::noBundleIsMade_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("out");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    QTest::newRow("live file") << "me"
                               << "me/indexUserConfig.xml" << 2 << "the user's own";
    QTest::newRow("Temp") << "me"
                          << "me/Temp/b.tar.gz" << 2 << "the user's own";
    QTest::newRow("no name") << "me"
                             << "" << 2 << "FILE: the name of a file is wanted";
    QTest::newRow("no user") << "none"
                             << "b.tar.gz" << 3 << "there is nothing of a user's";
    QTest::newRow("no folder") << "me"
                               << "none/b.tar.gz" << 3 << "none/b.tar.gz: ";
}

void tst_hostsupport::noBundleIsMade()
{
    QFETCH(QString, directory);
    QFETCH(QString, out);
    QFETCH(int, status);
    QFETCH(QString, message);
    const auto before = facts();
    const Outcome outcome = runProgram(
        TOOL, { "--config-dir", directory, "support-bundle", "--out", out }, {}, userDir());
    QCOMPARE(outcome.nStatus, status);
    QVERIFY2(outcome.strErr.contains(message), qPrintable(outcome.strErr));
    QCOMPARE(outcome.strOut, QString());
    QCOMPARE(facts(), before);
}

QTEST_GUILESS_MAIN(tst_hostsupport)
#include "tst_hostsupport.moc"
