#include "logcapture.h"

#include "platform/commonutil.h"

#include <QMutex>
#include <QStringList>

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/spi/location/locationinfo.h>

namespace {

struct Capture {
    QMutex mutex;
    QVector<LoggedLine> lines;
    std::function<void(const QString&)> hook;
    int nExpectedErrors = 0;
};

Capture& theCapture()
{
    static Capture s_capture;
    return s_capture;
}

thread_local const char* t_pszFunction = nullptr;

class CCaptureAppender : public log4cxx::AppenderSkeleton {
public:
    const log4cxx::helpers::Class& getClass() const override
    {
        return log4cxx::AppenderSkeleton::getStaticClass();
    }

    void close() override { }
    bool requiresLayout() const override { return false; }

protected:
    void append(const log4cxx::spi::LoggingEventPtr& event, log4cxx::helpers::Pool&) override
    {
        const log4cxx::spi::LocationInfo& location = event->getLocationInformation();
        const QString strMessage = QString::fromStdString(event->getMessage());
        const QMutexLocker lock(&theCapture().mutex);
        if (theCapture().hook) {
            theCapture().hook(strMessage);
        }
        theCapture().lines.append({ event->getLevel()->toInt(), strMessage,
                                    QString::fromUtf8(location.getFileName()),
                                    QString::fromUtf8(t_pszFunction), location.getLineNumber() });
    }
};

log4cxx::LoggerPtr captureLogger()
{
    return log4cxx::Logger::getLogger("captured");
}

} // namespace

// A location gives back only parts of the signature that it is made of. This definition goes before
// the library's own and keeps the whole for the record that is logged next on this thread.
log4cxx::spi::LocationInfo::LocationInfo(const char* const pszFile, const char* const pszShort,
                                         const char* const pszFunction, int line)
    : lineNumber(line)
    , fileName(pszFile)
    , shortFileName(pszShort)
    , methodName(pszFunction)
{
    t_pszFunction = pszFunction;
}

namespace logcapture {

void start()
{
    const log4cxx::LoggerPtr pLogger = captureLogger();
    pLogger->removeAllAppenders();
    pLogger->setAdditivity(false);
    pLogger->addAppender(std::make_shared<CCaptureAppender>());
    pLogger->setLevel(log4cxx::Level::getInfo());
    g_RXStdLogger = pLogger;
    clear();
    onMessage(nullptr);
}

QVector<LoggedLine> lines()
{
    const QMutexLocker lock(&theCapture().mutex);
    return theCapture().lines;
}

QStringList messages()
{
    QStringList texts;
    for (const LoggedLine& line : lines()) {
        texts.append(line.strMessage);
    }
    return texts;
}

void clear()
{
    const QMutexLocker lock(&theCapture().mutex);
    theCapture().lines.clear();
    theCapture().nExpectedErrors = 0;
}

void setLevel(int level)
{
    captureLogger()->setLevel(log4cxx::Level::toLevel(level));
}

void onMessage(const std::function<void(const QString&)>& hook)
{
    const QMutexLocker lock(&theCapture().mutex);
    theCapture().hook = hook;
}

void expectErrors(int count)
{
    const QMutexLocker lock(&theCapture().mutex);
    theCapture().nExpectedErrors = count;
}

int unexpectedErrors()
{
    const QMutexLocker lock(&theCapture().mutex);
    int nErrors = -theCapture().nExpectedErrors;
    for (const LoggedLine& line : theCapture().lines) {
        nErrors += line.nLevel >= log4cxx::Level::ERROR_INT ? 1 : 0;
    }
    return nErrors;
}

} // namespace logcapture
