#include "filelimits.h"
#include "librarytest.h"
#include "logcapture.h"

#include "indexuser/userdocument.h"

#include <QDir>

namespace {

constexpr rlim_t c_nTooSmall = 500;

bool isWhole(const QByteArray& bytes)
{
    const KW::UserDocument file = KW::parseUserDocument(QString::fromUtf8(bytes));
    return file.isValid()
        && file.document.documentElement().lastChildElement().tagName() == "UserParams";
}

// The messages of the service; siblings log the reasons of theirs between them.
QStringList serviceMessages()
{
    return logcapture::messages().filter("[CUserConfigManager]");
}

} // namespace

/// Saves under real conditions: no room, no permission, a directory in the way.
class tst_savefaults : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void withoutRoomForTheDatedCopyTheLiveFileStays();
    void withoutRoomForTheLiveFileTheDatedCopyIsWhole();
    void aForcedWriteWithoutRoomLeavesTheDatedCopy();
    void aReadOnlyDirectoryKeepsTheLiveFile();
    void aReadOnlyTempKeepsBothFiles();
    void aDirectoryInThePlaceOfTheLiveFileStays();
    void aFileInThePlaceOfTempKeepsTheLiveFile();
    void aMissingConfigurationDirectoryIsMade();
    void whatIsSavedIsForItsOwnerOnly();

private:
    QByteArray m_old;
};

// A saved user, whose next save writes something else.
void tst_savefaults::init()
{
    CLibraryTest::init();
    writeLive("<ICUserConfigFile/>");
    service().loadSettings();
    saveAndWait(service());
    m_old = readFile(livePath());
    QVERIFY(isWhole(m_old));
    service().setFormulaFunctionTreeExpand(true);
    logcapture::clear();
}

void tst_savefaults::withoutRoomForTheDatedCopyTheLiveFileStays()
{
    {
        const CFileSizeLimit limit(c_nTooSmall);
        saveAndWait(service());
    }
    QCOMPARE(serviceMessages(),
             QStringList("[CUserConfigManager] save xml;create temp file fail, force write file "
                         "fail, file:"
                         + livePath()));
    QCOMPARE(readFile(livePath()), m_old);
    QCOMPARE(readFile(datedPath()), m_old);
    QCOMPARE(QDir(userDir() + "/Temp").entryList(QDir::Files | QDir::Hidden).size(), 1);
}

// The room goes in the middle of the save, when the old live file is gone.
void tst_savefaults::withoutRoomForTheLiveFileTheDatedCopyIsWhole()
{
    std::unique_ptr<CFileSizeLimit> pLimit;
    logcapture::onMessage([&](const QString& message) {
        if (message.contains("remove old file")) {
            pLimit = std::make_unique<CFileSizeLimit>(c_nTooSmall);
        } else if (message.contains("copy file fail")) {
            pLimit.reset();
        }
    });
    saveAndWait(service());
    QCOMPARE(serviceMessages(),
             QStringList(
                 { "[CUserConfigManager] save xml; create temp file success, file:" + datedPath(),
                   "[CUserConfigManager] save xml; remove old file success, file:" + livePath(),
                   "[CUserConfigManager] save xml; copy file fail, file:" + livePath(),
                   "[CUserConfigManager] force write file success, file:" + livePath() }));
    QVERIFY(!QFile::exists(livePath()));
    QVERIFY(isWhole(readFile(datedPath())));
    QVERIFY(readFile(datedPath()) != m_old);
}

void tst_savefaults::aForcedWriteWithoutRoomLeavesTheDatedCopy()
{
    std::unique_ptr<CFileSizeLimit> pLimit;
    logcapture::onMessage([&](const QString& message) {
        if (message.contains("remove old file")) {
            pLimit = std::make_unique<CFileSizeLimit>(c_nTooSmall);
        }
    });
    saveAndWait(service());
    pLimit.reset();
    QCOMPARE(serviceMessages().last(),
             "[CUserConfigManager] force write file fail, file:" + livePath());
    QVERIFY(isWhole(readFile(datedPath())));
    QVERIFY(readFile(datedPath()) != m_old);
}

void tst_savefaults::aReadOnlyDirectoryKeepsTheLiveFile()
{
    {
        const CReadOnlyDirectory readOnly(userDir(), { userDir() + "/Temp", datedPath() });
        saveAndWait(service());
    }
    QCOMPARE(
        serviceMessages().mid(1),
        QStringList({ "[CUserConfigManager] save xml; remove old file fail, file:" + livePath(),
                      "[CUserConfigManager] save xml; copy file fail, file:" + livePath(),
                      "[CUserConfigManager] force write file success, file:" + livePath() }));
    QCOMPARE(readFile(livePath()), m_old);
    QVERIFY(isWhole(readFile(datedPath())));
    QVERIFY(readFile(datedPath()) != m_old);
}

void tst_savefaults::aReadOnlyTempKeepsBothFiles()
{
    {
        const CReadOnlyDirectory readOnly(userDir() + "/Temp", { userDir() });
        saveAndWait(service());
    }
    QVERIFY(serviceMessages().first().contains("create temp file fail, force write file fail"));
    QCOMPARE(readFile(livePath()), m_old);
    QCOMPARE(readFile(datedPath()), m_old);
}

void tst_savefaults::aDirectoryInThePlaceOfTheLiveFileStays()
{
    QVERIFY(QFile::remove(livePath()));
    QVERIFY(QDir().mkpath(livePath() + "/inside"));
    saveAndWait(service());
    QCOMPARE(serviceMessages().last(),
             "[CUserConfigManager] force write file success, file:" + livePath());
    QVERIFY(QDir(livePath() + "/inside").exists());
    QVERIFY(isWhole(readFile(datedPath())));
}

void tst_savefaults::aFileInThePlaceOfTempKeepsTheLiveFile()
{
    QVERIFY(QDir(userDir() + "/Temp").removeRecursively());
    writeFile(userDir() + "/Temp", "a file");
    saveAndWait(service());
    QVERIFY(serviceMessages().first().contains("create temp file fail, force write file fail"));
    QCOMPARE(readFile(livePath()), m_old);
}

void tst_savefaults::aMissingConfigurationDirectoryIsMade()
{
    useUserDir(userDir() + "/new/user");
    saveAndWait(service());
    QVERIFY(isWhole(readFile(userDir() + "/new/user/indexUserConfig.xml")));
}

void tst_savefaults::whatIsSavedIsForItsOwnerOnly()
{
    saveAndWait(service());
    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    for (const QString& path :
         { livePath(), datedPath(), userDir() + "/Settings/=userconfig.xml" }) {
        QVERIFY2(QFile::exists(path) && !(QFile::permissions(path) & others), qPrintable(path));
    }
}

QTEST_GUILESS_MAIN(tst_savefaults)
#include "tst_savefaults.moc"
