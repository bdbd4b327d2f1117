#include "logcapture.h"

#include "platform/commonutil.h"

#include <log4cxx/appenderskeleton.h>
#include <log4cxx/spi/location/locationinfo.h>

#include <mutex>
#include <vector>

namespace {

struct Capture {
    std::mutex mutex;
    std::vector<LoggedLine> lines; // not shared with those that ask for a copy
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
        const std::lock_guard<std::mutex> lock(theCapture().mutex);
        if (theCapture().hook) {
            theCapture().hook(strMessage);
        }
        theCapture().lines.push_back(
            { event->getLevel()->toInt(), strMessage, QString::fromUtf8(location.getFileName()),
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
// Other names than in its header, whose own would hide the members here.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
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
    const std::lock_guard<std::mutex> lock(theCapture().mutex);
    const std::vector<LoggedLine>& all = theCapture().lines;
    return QVector<LoggedLine>(all.begin(), all.end());
}

QStringList messages()
{
    QStringList texts;
    const QVector<LoggedLine> all = lines();
    for (const LoggedLine& line : all) {
        texts.append(line.strMessage);
    }
    return texts;
}

void clear()
{
    const std::lock_guard<std::mutex> lock(theCapture().mutex);
    theCapture().lines.clear();
    theCapture().nExpectedErrors = 0;
}

void setLevel(int level)
{
    captureLogger()->setLevel(log4cxx::Level::toLevel(level));
}

void onMessage(const std::function<void(const QString&)>& hook)
{
    const std::lock_guard<std::mutex> lock(theCapture().mutex);
    theCapture().hook = hook;
}

void expectErrors(int count)
{
    const std::lock_guard<std::mutex> lock(theCapture().mutex);
    theCapture().nExpectedErrors = count;
}

int unexpectedErrors()
{
    const std::lock_guard<std::mutex> lock(theCapture().mutex);
    int nErrors = -theCapture().nExpectedErrors;
    for (const LoggedLine& line : theCapture().lines) {
        nErrors += line.nLevel >= log4cxx::Level::ERROR_INT ? 1 : 0;
    }
    return nErrors;
}

} // namespace logcapture
