#include "indexuser/userconfigfile_p.h"

#include "indexuser/logline_p.h"
#include "platform/commonutil.h"
#include "platform/environment.h"
#include "platform/filenames.h"
#include "platform/indexutil.h"
#include "platform/mvcommon.h"
#include "platform/strategybase.h"

#include <QDate>
#include <QDir>
#include <QFile>

#include <exception>

namespace KW {

namespace {

constexpr char c_szLoad[] = "void __cdecl KW::CUserConfigManager::loadSettings(void)";
constexpr char c_szSave[] = "void __cdecl KW::CUserConfigManager::saveSync(class QDomDocument &)";

QString inConfigDir(const QString& name)
{
    return getConfigDir() + QDir::separator() + name;
}

std::string toGbk(const QString& path)
{
    std::string strPath = path.toStdString();
    // A path that has no GBK form goes on as it is: the write then tells.
    utils::safeUtf82Gbk(strPath);
    return strPath;
}

const char* outcome(bool success)
{
    return success ? "success" : "fail";
}

// What a logger throws changes no step: between two of them there is no live file.
template <typename... Args> void logSave(int line, const char* pszTemplate, const Args&... args)
{
    contain([&] { logLine(LogLevel::Info, { c_szSave, line }, pszTemplate, args...); });
}

void logCut(const QStringList& cut)
{
    if (!cut.isEmpty()) {
        contain([&] {
            logLine(LogLevel::Warn, { c_szSave, 251 },
                    "[CUserConfigManager] save xml; cut elements below level {0}, count:{1}, "
                    "first:{2}",
                    c_nMaxDepth, cut.size(), cut.first().toStdString());
        });
    }
}

std::string causeThrown()
{
    try {
        throw;
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "unknown";
    }
}

// The paths of one save, for QFile and, in GBK, for the narrow file functions.
struct SavePaths {
    QString strDatedCopy = datedCopyPath();
    std::string strGbkDatedCopy = toGbk(strDatedCopy);
    QString strLive = liveFilePath();
    std::string strGbkLive = toGbk(strLive);
};

// Both retries write the dated copy again, never the live file that their log lines name: what is
// left of the live file is not put at risk.
void replaceLiveFile(const SavePaths& paths, std::string& content)
{
    const bool bRemoved = QFile::remove(paths.strLive);
    logSave(261, "[CUserConfigManager] save xml; remove old file {0}, file:{1}", outcome(bRemoved),
            paths.strGbkLive);

    if (QFile::copy(paths.strDatedCopy, paths.strLive)) {
        logSave(273, "[CUserConfigManager]save xml; move file end, save success, end file:{0}",
                paths.strGbkLive);
        return;
    }
    logSave(266, "[CUserConfigManager] save xml; copy file fail, file:{0}", paths.strGbkLive);
    const bool bWritten = stdWriteFile(paths.strGbkDatedCopy, content, "wb");
    logSave(269, "[CUserConfigManager] force write file {0}, file:{1}", outcome(bWritten),
            paths.strGbkLive);
}

} // namespace

void logThrown() noexcept
{
    try {
        logLine(LogLevel::Error, { c_szSave, 288 }, "[CUserConfigManager] save xml; exception: {0}",
                causeThrown());
    } catch (...) {
        // Without memory or a logger for one line there is nobody left to tell.
    }
}

QString liveFilePath()
{
    return inConfigDir(c_szLiveFile);
}

QString datedCopyPath()
{
    const QString strTemp = inConfigDir(c_szCopiesFolder);
    if (!QDir().exists(strTemp)) {
        // Without the directory the write into it fails, and that is logged. It is the user's own,
        // like the copies in it.
        QDir().mkpath(strTemp);
        QFile::setPermissions(
            strTemp, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }
    return strTemp + QDir::separator() + c_szDatedCopyPrefix
        + QDate::currentDate().toString(QStringLiteral("yyyyMMdd"));
}

UserDocument readLiveFile()
{
    std::string strContent;
    // A failed read leaves the content empty, which no reader accepts.
    if (!stdReadFile(liveFilePath().toLocal8Bit().toStdString(), strContent)) {
        strContent.clear();
    }
    return parseUserDocument(MV::sToQs(strContent));
}

void writeLiveFile(UserDocumentText document)
{
    logCut(document.cut);
    std::string& strContent = document.strUtf8;
    // The mirror is a convenience of other modules: without it the file is saved all the same.
    contain([&] { se::writeConfig(c_szMirrorKey, strContent); });

    const SavePaths paths;
    if (stdWriteFile(paths.strGbkDatedCopy, strContent, "wb")) {
        logSave(258, "[CUserConfigManager] save xml; create temp file success, file:{0}",
                paths.strGbkDatedCopy);
        replaceLiveFile(paths, strContent);
        return;
    }
    const bool bWritten = stdWriteFile(paths.strGbkDatedCopy, strContent, "wb");
    logSave(280,
            "[CUserConfigManager] save xml;create temp file fail, force write file {0}, file:{1}",
            outcome(bWritten), paths.strGbkLive);
}

void saveDocument(QDomDocument doc, SaveState& state)
{
    contain([&] {
        if (state.m_bNotLoaded) {
            logSave(285, "[CUserConfigManager] is not loaded!");
            return;
        }
        UserDocumentText text = userDocumentText(doc);
        // Many times larger than its text; whoever loads meanwhile needs the room.
        doc = QDomDocument();
        writeLiveFile(std::move(text));
    });
    state.m_bSaveSuccess = true;
}

void logNotReadable()
{
    logLine(LogLevel::Error, { c_szLoad, 148 },
            "[CUserConfigManager] loadSettings error: QDomDocument setContent error");
}

} // namespace KW
