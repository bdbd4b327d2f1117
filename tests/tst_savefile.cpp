#include "librarytest.h"
#include "logcapture.h"
#include "recording.h"

#include <QDate>
#include <QDir>
#include <QTextCodec>

#include <log4cxx/level.h>

#include <functional>
#include <new>
#include <stdexcept>

Q_DECLARE_METATYPE(std::function<void()>)

namespace {

const char c_szSaveSync[] = "void __cdecl KW::CUserConfigManager::saveSync(class QDomDocument &)";

struct ExpectedLine {
    QString strMessage;
    int nLine;
};

void compareLog(const QVector<ExpectedLine>& expected)
{
    const QVector<LoggedLine> lines = logcapture::lines();
    for (int i = 0; i < qMin(lines.size(), expected.size()); ++i) {
        QCOMPARE(lines[i].strMessage, expected[i].strMessage);
        QCOMPARE(lines[i].nLine, expected[i].nLine);
        QCOMPARE(lines[i].nLevel, 20000);
        QCOMPARE(lines[i].strFunction, QString(c_szSaveSync));
        QCOMPARE(lines[i].strFile, QString("src/indexmodel/indexuser/cuserconfigmanager"));
    }
    QCOMPARE(lines.size(), expected.size());
}

} // namespace

class tst_savefile : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void livePathIsInTheConfigurationDirectory();
    void datedPathMakesTempAndStaysTheSameForTheDay();
    void aSaveBeforeAnyLoadWritesNothing();
    void aSaveCallsItsSiblingsInOrder();
    void aSaveLogsItsSteps();
    void aSaveLeavesDatedAndLiveFileAlike();
    void aSaveOverwritesTheCopyOfTheDayAndKeepsOlderOnes();
    void aMissingLiveFileIsNoObstacle();
    void aLiveFileThatStaysIsNotOverwritten();
    void aFailedRetryAfterTheCopyIsLogged();
    void aFailedFirstWriteIsTriedOnceMore_data();
    void aFailedFirstWriteIsTriedOnceMore();
    void aTempThatCannotBeMadeLeavesTheLiveFile();
    void aMirrorThatFailsDoesNotStopTheSave();
    void whatASiblingThrowsEndsTheSaveOnly_data();
    void whatASiblingThrowsEndsTheSaveOnly();
    void aLoggerThatThrowsChangesNoStep_data();
    void aLoggerThatThrowsChangesNoStep();
    void whatIsCutIsLogged();
    void theDocumentIsGoneBeforeTheFirstFileIsWritten();
    void chinesePathsAreGbkForNarrowFunctionsOnly();
    void bracesInThePathMeanNothing();
    void levelAboveInfoLogsNothing();
    void withoutALoggerNothingIsLogged();
    void readConfigReturnsWhatTheStoreHolds();
    void readConfigOfAnUnknownKeyLeavesTheValueAlone();
    void readConfigKeepsNulCharacters();
    void writeConfigTellsWhetherTheStoreTookIt();

private:
    void saveText(const QString& text);

    std::unique_ptr<COpenManager> m_pManager;
};

// A manager that has loaded, so that it saves.
void tst_savefile::init()
{
    CLibraryTest::init();
    m_pManager = std::make_unique<COpenManager>();
    writeLive("<ICUserConfigFile/>");
    m_pManager->loadSettings();
    recording::answers().settingsStored = true;
    QFile::remove(livePath());
    logcapture::clear();
    recording::reset();
    recording::answers().configDir = userDir();
}

void tst_savefile::saveText(const QString& text)
{
    QDomDocument doc = parsed(text);
    m_pManager->saveSync(doc);
    QVERIFY(m_pManager->getSaveSuccess());
}

void tst_savefile::livePathIsInTheConfigurationDirectory()
{
    QCOMPARE(m_pManager->userConfigFilePath(false), livePath());
    QVERIFY(!QDir(userDir() + "/Temp").exists());
}

void tst_savefile::datedPathMakesTempAndStaysTheSameForTheDay()
{
    const QString strPath = m_pManager->userConfigFilePath(true);
    QVERIFY(QDir(userDir() + "/Temp").exists());
    QVERIFY(strPath.startsWith(userDir() + "/Temp/indexUserConfig.xml_"));
    QVERIFY(QRegularExpression("indexUserConfig\\.xml_[0-9]{8}$").match(strPath).hasMatch());
    QCOMPARE(m_pManager->userConfigFilePath(true), strPath);
}

void tst_savefile::aSaveBeforeAnyLoadWritesNothing()
{
    COpenManager fresh;
    QDomDocument doc = parsed("<a/>");
    fresh.saveSync(doc);
    compareLog({ { "[CUserConfigManager] is not loaded!", 285 } });
    QVERIFY(fresh.getSaveSuccess());
    QCOMPARE(recording::calls(), QStringList());
    QCOMPARE(QDir(userDir()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
}

void tst_savefile::aSaveCallsItsSiblingsInOrder()
{
    saveText("<a b=\"1\"><c/></a>");
    QCOMPARE(recording::calls(),
             QStringList({ "writeConfig(userconfig.xml,<a b=\"1\">\n    <c/>\n</a>\n)",
                           QString("safeUtf82Gbk(%1)").arg(datedPath()),
                           QString("safeUtf82Gbk(%1)").arg(livePath()),
                           QString("stdWriteFile(%1,wb)").arg(datedPath()) }));
}

void tst_savefile::aSaveLogsItsSteps()
{
    writeLive("old");
    saveText("<a/>");
    compareLog(
        { { "[CUserConfigManager] save xml; create temp file success, file:" + datedPath(), 258 },
          { "[CUserConfigManager] save xml; remove old file success, file:" + livePath(), 261 },
          { "[CUserConfigManager]save xml; move file end, save success, end file:" + livePath(),
            273 } });
}

void tst_savefile::aSaveLeavesDatedAndLiveFileAlike()
{
    saveText(QStringLiteral("<a b=\"浦发\"/>"));
    QCOMPARE(readFile(livePath()), QByteArray("<a b=\"浦发\"/>\n"));
    QCOMPARE(readFile(datedPath()), QByteArray("<a b=\"浦发\"/>\n"));
}

void tst_savefile::aSaveOverwritesTheCopyOfTheDayAndKeepsOlderOnes()
{
    const QString strOlder = userDir() + "/Temp/indexUserConfig.xml_20200101";
    saveText("<first/>");
    writeFile(strOlder, "older");
    saveText("<second/>");
    QCOMPARE(readFile(datedPath()), QByteArray("<second/>\n"));
    QCOMPARE(readFile(strOlder), QByteArray("older"));
}

void tst_savefile::aMissingLiveFileIsNoObstacle()
{
    saveText("<a/>");
    compareLog(
        { { "[CUserConfigManager] save xml; create temp file success, file:" + datedPath(), 258 },
          { "[CUserConfigManager] save xml; remove old file fail, file:" + livePath(), 261 },
          { "[CUserConfigManager]save xml; move file end, save success, end file:" + livePath(),
            273 } });
}

// A directory in the place of the live file can be neither removed nor overwritten.
void tst_savefile::aLiveFileThatStaysIsNotOverwritten()
{
    QVERIFY(QDir().mkpath(livePath()));
    saveText("<a/>");
    compareLog(
        { { "[CUserConfigManager] save xml; create temp file success, file:" + datedPath(), 258 },
          { "[CUserConfigManager] save xml; remove old file fail, file:" + livePath(), 261 },
          { "[CUserConfigManager] save xml; copy file fail, file:" + livePath(), 266 },
          { "[CUserConfigManager] force write file success, file:" + livePath(), 269 } });
    QCOMPARE(recording::callsOf("stdWriteFile"),
             QStringList({ QString("stdWriteFile(%1,wb)").arg(datedPath()),
                           QString("stdWriteFile(%1,wb)").arg(datedPath()) }));
    QCOMPARE(readFile(datedPath()), QByteArray("<a/>\n"));
}

void tst_savefile::aFailedRetryAfterTheCopyIsLogged()
{
    QVERIFY(QDir().mkpath(livePath()));
    recording::answers().writes = { true, false };
    saveText("<a/>");
    QCOMPARE(logcapture::messages().last(),
             "[CUserConfigManager] force write file fail, file:" + livePath());
}

void tst_savefile::aFailedFirstWriteIsTriedOnceMore_data()
{
    QTest::addColumn<bool>("second");
    QTest::addColumn<QString>("outcome");
    QTest::newRow("the second works") << true << "success";
    QTest::newRow("the second fails too") << false << "fail";
}

void tst_savefile::aFailedFirstWriteIsTriedOnceMore()
{
    QFETCH(bool, second);
    QFETCH(QString, outcome);
    writeLive("old");
    recording::answers().writes = { false, second };
    saveText("<a/>");
    compareLog({ { QString("[CUserConfigManager] save xml;create temp file fail, force write file "
                           "%1, file:%2")
                       .arg(outcome, livePath()),
                   280 } });
    QCOMPARE(recording::callsOf("stdWriteFile"),
             QStringList({ QString("stdWriteFile(%1,wb)").arg(datedPath()),
                           QString("stdWriteFile(%1,wb)").arg(datedPath()) }));
    QCOMPARE(readFile(livePath()), QByteArray("old"));
}

void tst_savefile::aTempThatCannotBeMadeLeavesTheLiveFile()
{
    writeLive("old");
    writeFile(userDir() + "/Temp", "a file where the directory should be");
    saveText("<a/>");
    QCOMPARE(logcapture::messages(),
             QStringList("[CUserConfigManager] save xml;create temp file fail, force write file "
                         "fail, file:"
                         + livePath()));
    QCOMPARE(readFile(livePath()), QByteArray("old"));
}

void tst_savefile::aMirrorThatFailsDoesNotStopTheSave()
{
    recording::answers().settingsStored = false;
    saveText("<a/>");
    QCOMPARE(readFile(livePath()), QByteArray("<a/>\n"));
}

void tst_savefile::whatASiblingThrowsEndsTheSaveOnly_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<std::function<void()>>("thrown");
    QTest::addColumn<QString>("cause");
    const std::map<QString, std::function<void()>> causes {
        { "broken {0}", [] { throw std::runtime_error("broken {0}"); } },
        { "std::bad_alloc", [] { throw std::bad_alloc(); } },
        { "unknown", [] { throw 7; } },
    };
    for (const char* pszOperation : { "writeConfig", "stdWriteFile" }) {
        for (const auto& [strCause, thrown] : causes) {
            QTest::addRow("%s, %s", pszOperation, qPrintable(strCause))
                << QString(pszOperation) << thrown << strCause;
        }
    }
}

// On the thread of a save, where nobody else would catch it.
void tst_savefile::whatASiblingThrowsEndsTheSaveOnly()
{
    QFETCH(QString, operation);
    QFETCH(std::function<void()>, thrown);
    QFETCH(QString, cause);
    writeLive("old");
    recording::answers().onWrite = [&](const QString& called) {
        if (called == operation) {
            thrown();
        }
    };
    logcapture::expectErrors(1);
    saveAndWait(*m_pManager);
    const LoggedLine line = logcapture::lines().constFirst();
    QCOMPARE(line.strMessage, "[CUserConfigManager] save xml; exception: " + cause);
    QCOMPARE(line.nLevel, 40000);
    QCOMPARE(line.strFunction, QString(c_szSaveSync));
    // The mirror is nobody's only copy: without it the file is written all the same.
    const bool bMirror = operation == "writeConfig";
    QCOMPARE(logcapture::messages().size(), bMirror ? 4 : 1);
    QCOMPARE(readFile(livePath()) == "old", !bMirror);
}

void tst_savefile::aLoggerThatThrowsChangesNoStep_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("each") << "";
    QTest::newRow("cut") << "cut elements";
    QTest::newRow("written") << "create temp file success";
    QTest::newRow("removed") << "remove old file success";
    QTest::newRow("copied") << "move file end";
}

void tst_savefile::aLoggerThatThrowsChangesNoStep()
{
    QFETCH(QString, line);
    writeLive("old");
    logcapture::expectErrors(line.isEmpty() ? 0 : 1); // the exception, if any line gets through
    logcapture::onMessage([&](const QString& message) {
        if (message.contains(line)) {
            throw std::runtime_error("no room for the log");
        }
    });
    const QDomDocument inner = parsed(QString("<c>").repeated(512) + QString("</c>").repeated(512));
    QDomDocument doc = parsed("<a/>");
    doc.documentElement().appendChild(doc.importNode(inner.documentElement(), true));
    m_pManager->saveSync(doc);
    QVERIFY(m_pManager->getSaveSuccess());
    QCOMPARE(readFile(datedPath()).count("<c"), 511);
    QCOMPARE(readFile(livePath()), readFile(datedPath()));
}

void tst_savefile::whatIsCutIsLogged()
{
    const QString strDeep = "<b>" + QString("<c>").repeated(511) + "<d><e/></d><f/>"
        + QString("</c>").repeated(511) + "</b>";
    const QDomDocument inner = parsed(strDeep);
    QDomDocument doc = parsed("<a/>");
    doc.documentElement().appendChild(doc.importNode(inner.documentElement(), true));
    m_pManager->saveSync(doc);
    const LoggedLine line = logcapture::lines().constFirst();
    QCOMPARE(line.strMessage,
             QString("[CUserConfigManager] save xml; cut elements below level 512, count:1, "
                     "first:/a/b/c/c/.../c"));
    QCOMPARE(line.nLevel, 30000);
    QCOMPARE(line.strFunction, QString(c_szSaveSync));
    QCOMPARE(line.strFile, QString("src/indexmodel/indexuser/cuserconfigmanager"));
    QCOMPARE(logcapture::lines().size(), 4);
}

// A node stays as long as somebody holds it, its parent only as long as the document.
void tst_savefile::theDocumentIsGoneBeforeTheFirstFileIsWritten()
{
    struct CWitness : MV::ILayoutElement {
        void toXml(QDomElement& parent, QDomDocument&) const override { m_window = parent; }
        mutable QDomElement m_window;
    };
    writeLive("<ICUserConfigFile/>");
    service().loadSettings();
    const auto pWitness = std::make_shared<CWitness>();
    KW::CLayoutWindow window;
    window.m_pItemLayout = pWitness;
    service().getLayoutConfig()->addQuotePanelSetting(window);
    QStringList there;
    recording::answers().onWrite = [&](const QString& what) {
        there += pWitness->m_window.parentNode().isNull() ? QString() : what;
    };
    saveAndWait(service());
    QCOMPARE(pWitness->m_window.tagName(), QString("LayoutWindow"));
    QCOMPARE(there, QStringList({ "", "" }));
}

void tst_savefile::chinesePathsAreGbkForNarrowFunctionsOnly()
{
    const QString strDir = userDir() + QStringLiteral("/行情");
    QVERIFY(QDir().mkpath(strDir));
    recording::answers().configDir = strDir;
    saveText("<a/>");
    const QString strDated = strDir + datedPath().mid(userDir().size());
    // The recording sibling decodes GBK: it got the right bytes.
    QCOMPARE(recording::callsOf("stdWriteFile"),
             QStringList(QString("stdWriteFile(%1,wb)").arg(strDated)));
    QCOMPARE(readFile(strDated), QByteArray("<a/>\n"));
    QCOMPARE(readFile(strDir + "/indexUserConfig.xml"), QByteArray("<a/>\n"));
}

void tst_savefile::bracesInThePathMeanNothing()
{
    const QString strDir = userDir() + "/{0}{1}{x}";
    QVERIFY(QDir().mkpath(strDir));
    recording::answers().configDir = strDir;
    saveText("<a/>");
    QCOMPARE(logcapture::messages().last(),
             "[CUserConfigManager]save xml; move file end, save success, end file:" + strDir
                 + "/indexUserConfig.xml");
}

void tst_savefile::levelAboveInfoLogsNothing()
{
    logcapture::setLevel(log4cxx::Level::WARN_INT);
    saveText("<a/>");
    QCOMPARE(logcapture::messages(), QStringList());
}

void tst_savefile::withoutALoggerNothingIsLogged()
{
    g_RXStdLogger = nullptr;
    saveText("<a/>");
    QCOMPARE(readFile(livePath()), QByteArray("<a/>\n"));
    QCOMPARE(logcapture::messages(), QStringList());
}

void tst_savefile::readConfigReturnsWhatTheStoreHolds()
{
    recording::answers().settings = { { "键", "值" } };
    QString strValue;
    QVERIFY(m_pManager->readConfig(QStringLiteral("键"), strValue));
    QCOMPARE(strValue, QStringLiteral("值"));
    QCOMPARE(recording::calls(),
             QStringList(QStringLiteral("readConfig(UiSettingConfig,键,false)")));
}

void tst_savefile::readConfigOfAnUnknownKeyLeavesTheValueAlone()
{
    QString strValue = "as it was";
    QVERIFY(!m_pManager->readConfig("unknown", strValue));
    QCOMPARE(strValue, QString("as it was"));
}

void tst_savefile::readConfigKeepsNulCharacters()
{
    recording::answers().settings = { { "key", std::string("a\0b", 3) } };
    QString strValue;
    QVERIFY(m_pManager->readConfig("key", strValue));
    QCOMPARE(strValue, QString("a") + QChar(0) + "b");
}

void tst_savefile::writeConfigTellsWhetherTheStoreTookIt()
{
    QVERIFY(m_pManager->writeConfig("key", QStringLiteral("值")));
    QCOMPARE(recording::calls(),
             QStringList(QStringLiteral("writeConfig(UiSettingConfig,key,值,false)")));
    recording::answers().settingsStored = false;
    QVERIFY(!m_pManager->writeConfig("key", "value"));
}

QTEST_GUILESS_MAIN(tst_savefile)
#include "tst_savefile.moc"
