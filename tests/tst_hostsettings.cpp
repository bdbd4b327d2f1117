#include "librarytest.h"
#include "toolrun.h"

#include <mend/userlock.h>

#include <QCryptographicHash>

#include <thread>

// What the host tells of a change of a setting: its values, and the file that has it.
class tst_hostsettings : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void theReceiptIsOfTheFileOfTheValue();
    void theReceiptOfARemovalHasNoDigest();
    void anUndoTellsTheValues();
    void aDryRunTellsTheValues();
    void whatIsStoredBeforeTheLockIsTakenIsTold();
    void whatIsGoneUnderTheLockIsNotRemoved();
    void aValueComesFromAFile();
    void aSecretIsNoWordOfTheCommand();
    void aValueHasOnePlace_data();
    void aValueHasOnePlace();

private:
    Outcome tool(const QStringList& arguments) const;
    void done(const QStringList& arguments) const;
    QJsonObject answer(const QStringList& arguments) const;
    Outcome toolBehindALock(const QStringList& arguments,
                            const std::function<void()>& meanwhile) const;
    QString valueFile() const { return userDir() + "/Settings/UiSettingConfig=k"; }
};

namespace {

QJsonArray change(const QJsonValue& before, const QJsonValue& after)
{
    return { QJsonObject {
        { "part", "settings" }, { "value", "k" }, { "left", before }, { "right", after } } };
}

QJsonObject parsed(const Outcome& outcome)
{
    return QJsonDocument::fromJson(outcome.strOut.toUtf8()).object();
}

} // namespace

Outcome tst_hostsettings::tool(const QStringList& arguments) const
{
    return runTool(QStringList { "--config-dir", userDir() } + arguments);
}

void tst_hostsettings::done(const QStringList& arguments) const
{
    const Outcome outcome = tool(arguments);
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
}

QJsonObject tst_hostsettings::answer(const QStringList& arguments) const
{
    return parsed(tool(arguments + QStringList("--json")));
}

// Another has the lock, and does something before it ends.
Outcome tst_hostsettings::toolBehindALock(const QStringList& arguments,
                                          const std::function<void()>& meanwhile) const
{
    auto pLock = std::make_unique<mend::CUserLock>(userDir());
    if (pLock->take(0) != mend::LockState::Taken) {
        qFatal("no lock");
    }
    std::thread other([&] {
        QThread::msleep(500); // the tool waits by then
        meanwhile();
        pLock.reset();
    });
    const Outcome outcome = tool(arguments);
    other.join();
    return outcome;
}

void tst_hostsettings::theReceiptIsOfTheFileOfTheValue()
{
    done({ "setting", "set", "k", "one" });
    for (const QStringList& words :
         { QStringList { "setting", "set", "k", "three" }, { "undo" } }) {
        const QJsonObject receipt = answer(words)["receipt"].toObject();
        QCOMPARE(receipt["file"].toString(), valueFile());
        const QByteArray content = readFile(valueFile());
        QCOMPARE(receipt["bytes"].toInt(), content.size());
        QCOMPARE(receipt["sha256"].toString().toLatin1(),
                 QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex());
    }
    QCOMPARE(readFile(valueFile()), QByteArray("one"));
}

void tst_hostsettings::theReceiptOfARemovalHasNoDigest()
{
    done({ "setting", "set", "k", "one" });
    const QJsonObject receipt = answer({ "setting", "unset", "k" })["receipt"].toObject();
    QCOMPARE(receipt["file"].toString(), valueFile());
    QVERIFY(receipt["sha256"].isNull());
    QVERIFY(!QFile::exists(valueFile()));
    done({ "undo" });
    QVERIFY(tool({ "setting", "unset", "k" }).strOut.contains("\n  now: gone, durable\n"));
}

void tst_hostsettings::anUndoTellsTheValues()
{
    done({ "setting", "set", "k", "one" });
    done({ "setting", "set", "k", "盘" });
    QCOMPARE(answer({ "undo" })["changes"].toArray(), change("盘", "one"));
    QCOMPARE(answer({ "undo" })["changes"].toArray(), change("one", QJsonValue()));
    QCOMPARE(answer({ "redo" })["changes"].toArray(), change(QJsonValue(), "one"));
}

void tst_hostsettings::aDryRunTellsTheValues()
{
    done({ "setting", "set", "k", "one" });
    done({ "setting", "set", "k", "two" });
    const Outcome outcome = tool({ "undo", "--dry-run" });
    QVERIFY2(outcome.strOut.contains(QRegularExpression("settings +k +two +one\n")),
             qPrintable(outcome.strOut));
    QVERIFY(outcome.strOut.endsWith("would bring back the setting 'k'\n"));
    QCOMPARE(answer({ "undo", "--dry-run" })["changes"].toArray(), change("two", "one"));
    QCOMPARE(readFile(valueFile()), QByteArray("two"));
}

void tst_hostsettings::whatIsStoredBeforeTheLockIsTakenIsTold()
{
    done({ "setting", "set", "k", "one" });
    const Outcome outcome = toolBehindALock({ "setting", "set", "k", "mine", "--json" },
                                            [&] { writeFile(valueFile(), "theirs"); });
    QCOMPARE(parsed(outcome)["changes"].toArray(), change("theirs", "mine"));
    QCOMPARE(readFile(valueFile()), QByteArray("mine"));
}

void tst_hostsettings::whatIsGoneUnderTheLockIsNotRemoved()
{
    done({ "setting", "set", "k", "one" });
    const Outcome outcome
        = toolBehindALock({ "setting", "unset", "k" }, [&] { QFile::remove(valueFile()); });
    QCOMPARE(outcome.nStatus, 1);
    QCOMPARE(outcome.strErr, QString("indexuserctl: there is no setting 'k'\n"));
    QCOMPARE(answer({ "history", "list" })["history"].toArray().size(), 1);
}

// As options do: the first line, without a mark in front and the end of lines of other systems.
void tst_hostsettings::aValueComesFromAFile()
{
    writeFile(userDir() + "/f", "\xef\xbb\xbfone = 1\r\ntwo\n");
    done({ "setting", "set", "k", "--from-file", userDir() + "/f", "--dry-run" });
    QVERIFY(!QFile::exists(valueFile()));
    done({ "setting", "set", "k", "--from-file", userDir() + "/f" });
    QCOMPARE(readFile(valueFile()), QByteArray("one = 1"));
    QVERIFY(!tool({ "history", "list" }).strOut.contains("one = 1"));
    QCOMPARE(runProgram(TOOL,
                        { "--config-dir", userDir(), "setting", "set", "k", "--from-file", "-" },
                        {}, {}, "three\n")
                 .nStatus,
             0);
    QCOMPARE(readFile(valueFile()), QByteArray("three"));
}

void tst_hostsettings::aSecretIsNoWordOfTheCommand()
{
    const Outcome outcome = runProgram(
        TOOL, { "--config-dir", userDir(), "setting", "set", "oaPassword" }, {}, {}, "hidden\n");
    QVERIFY2(outcome.nStatus == 0, qPrintable(outcome.strErr));
    QCOMPARE(readFile(userDir() + "/Settings/UiSettingConfig=oaPassword"), QByteArray("hidden"));
    QCOMPARE(answer({ "history", "list" })["history"].toArray()[0].toObject()["command"],
             QJsonValue("setting set oaPassword=(hidden)"));
}

void tst_hostsettings::aValueHasOnePlace_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("status");
    QTest::newRow("none") << QStringList { "k" } << 2;
    QTest::newRow("two") << QStringList { "k", "v", "--from-file", "-" } << 2;
    QTest::newRow("no file") << QStringList { "k", "--from-file", "/none" } << 3;
    QTest::newRow("no UTF-8") << QStringList { "k", "--from-file", "bytes" } << 4;
}

void tst_hostsettings::aValueHasOnePlace()
{
    QFETCH(QStringList, words);
    QFETCH(int, status);
    writeFile(userDir() + "/bytes", "\xff\n");
    const Outcome outcome = runProgram(
        TOOL, QStringList { "--config-dir", ".", "setting", "set" } + words, {}, userDir());
    QVERIFY2(outcome.nStatus == status, qPrintable(outcome.strErr));
    QVERIFY(!QFile::exists(valueFile()));
}

QTEST_GUILESS_MAIN(tst_hostsettings)
#include "tst_hostsettings.moc"
