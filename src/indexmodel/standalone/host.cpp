#include "standalone/standalone.h"

#include "platform/commonutil.h"
#include "platform/environment.h"
#include "platform/filenames.h"
#include "standalone/foreignsections_p.h"
#include "standalone/instruments_p.h"
#include "standalone/logfile_p.h"

#include <QFile>
#include <QStandardPaths>

#include <log4cxx/consoleappender.h>
#include <log4cxx/level.h>
#include <log4cxx/patternlayout.h>

#include <mutex>

log4cxx::LoggerPtr g_RXStdLogger;

namespace standalone {

namespace {

// Saves ask for the directory on threads of their own.
class CConfigDir {
public:
    QString get() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_strDirectory;
    }

    void set(const QString& directory)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_strDirectory = directory;
    }

private:
    mutable std::mutex m_mutex;
    QString m_strDirectory;
};

CConfigDir& configDir()
{
    return *utils::CManualSingletonT<CConfigDir>::instance();
}

bool isShown(QChar c)
{
    return (c.isPrint() || c.isSurrogate()) && c.category() != QChar::Separator_Line
        && c.category() != QChar::Separator_Paragraph;
}

// A line for each record: what a path or a name holds ends none, forges none, steers no terminal.
class CLineLayout : public log4cxx::PatternLayout {
public:
    CLineLayout()
        : PatternLayout(LOG4CXX_STR("%d{yyyy-MM-dd HH:mm:ss.SSS} %-5p %m"))
    {
    }

    void format(log4cxx::LogString& output, const log4cxx::spi::LoggingEventPtr& pEvent,
                log4cxx::helpers::Pool& pool) const override
    {
        log4cxx::LogString strRecord;
        PatternLayout::format(strRecord, pEvent, pool);
        std::string strUtf8;
        log4cxx::helpers::Transcoder::encodeUTF8(strRecord, strUtf8);
        const std::string strLine = harmless(QString::fromStdString(strUtf8)).toStdString() + '\n';
        log4cxx::helpers::Transcoder::decodeUTF8(strLine, output);
    }

private:
    static QString harmless(const QString& text)
    {
        QString strLine;
        for (const QChar c : text) {
            strLine += isShown(c)
                ? QString(c)
                : QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        }
        return strLine;
    }
};

log4cxx::LayoutPtr lineLayout()
{
    return std::make_shared<CLineLayout>();
}

void logTo(const log4cxx::AppenderPtr& pAppender, const log4cxx::LevelPtr& pLevel)
{
    const log4cxx::LoggerPtr pLogger = log4cxx::Logger::getLogger("RXStdLogger");
    pLogger->setLevel(pLevel);
    pLogger->setAdditivity(false);
    pLogger->removeAllAppenders();
    pLogger->addAppender(pAppender);
    g_RXStdLogger = pLogger;
}

} // namespace

void setConfigDir(const QString& directory)
{
    configDir().set(directory);
}

void logToStderr(LogLines lines)
{
    logTo(std::make_shared<log4cxx::ConsoleAppender>(lineLayout(), LOG4CXX_STR("System.err")),
          lines == LogLines::All ? log4cxx::Level::getInfo() : log4cxx::Level::getWarn());
}

bool logToFile(const QString& path)
{
    auto pFile = std::make_unique<QFile>(path);
    if (!pFile->open(QIODevice::WriteOnly | QIODevice::Append)
        || !pFile->setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)) {
        return false;
    }
    logTo(std::make_shared<CLogFile>(lineLayout(), std::move(pFile)), log4cxx::Level::getInfo());
    return true;
}

void setSectorsFile(const QString& path)
{
    CInstruments* const pInstruments = utils::CSingletonT<CInstruments>::instance();
    pInstruments->strSectorsFile = path;
    pInstruments->strReadFrom.clear();
}

QString sectorsFile()
{
    const QString strPath = utils::CSingletonT<CInstruments>::instance()->strSectorsFile;
    return strPath.isEmpty() ? KW::getConfigDir() + '/' + KW::c_szSectorsFile : strPath;
}

void forgetAll()
{
    utils::CSingletonT<CForeignSections>::release();
    utils::CSingletonT<CInstruments>::release();
}

} // namespace standalone

namespace KW {

QString getConfigDir()
{
    const QString strDirectory = standalone::configDir().get();
    return strDirectory.isEmpty()
        ? QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation)
        : strDirectory;
}

} // namespace KW
