#include "commandline.h"
#include "failure.h"
#include "terminal/completion.h"
#include "terminal/output.h"

#include <platform/commonutil.h>

#include <QCoreApplication>
#include <QTextCodec>

#include <clocale>
#include <csignal>
#include <cstdio>

namespace {

// File names on these machines are UTF-8 whatever the locale says; in a bare one Qt and wcwidth()
// would lose every Chinese character.
void useUtf8()
{
    std::setlocale(LC_CTYPE, "C.UTF-8");
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

// Qt's warnings name calls; what they are about is told by whoever made the call.
void toLog(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    Q_UNUSED(context)
    if (type == QtFatalMsg) {
        printError(message);
    } else if (g_RXStdLogger) {
        LOG4CXX_INFO(g_RXStdLogger, "[Qt] " + message.toStdString());
    }
}

ExitStatus answer(const QStringList& words)
{
    if (words.value(0) == QLatin1String("complete")) {
        return complete(words.mid(1));
    }
    const CommandLine line = parseCommandLine(words);
    if (line.pCommand == nullptr) {
        printText(line.strText);
        return ExitStatus::Ok;
    }
    standalone::setConfigDir(line.request.strConfigDir);
    standalone::logToStderr(line.request.log);
    return line.pCommand->run(line.request);
}

ExitStatus answerChecked(const QStringList& words)
{
    try {
        const ExitStatus status = answer(words);
        finishOutput();
        return status;
    } catch (const CFailure& failure) {
        // What was printed comes before the message; the message is the graver of two failures.
        std::fflush(stdout);
        printError(failure.message());
        return failure.status();
    }
}

} // namespace

int main(int argc, char** argv)
{
    // The same document gives the same bytes: the order of attributes hangs on the seed.
    qSetGlobalQHashSeed(0);
    // A reader that goes away must not end a save halfway.
    std::signal(SIGPIPE, SIG_IGN);
    qInstallMessageHandler(toLog);
    const QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("indexuser");
    useUtf8();
    return static_cast<int>(answerChecked(QCoreApplication::arguments().mid(1)));
}
