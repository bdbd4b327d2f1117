#include "commandline.h"
#include "failure.h"
#include "many/manyusers.h"
#include "terminal/completion.h"
#include "terminal/output.h"

#include <platform/commonutil.h>

#include <QCoreApplication>
#include <QTextCodec>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

#include <fcntl.h>
#include <unistd.h>

namespace {

// File names on these machines are UTF-8 whatever the locale says; in a bare one Qt and wcwidth()
// would lose every Chinese character.
void useUtf8()
{
    std::setlocale(LC_CTYPE, "C.UTF-8");
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

// A file that took the number of a closed stream would get what is meant for the stream. These
// take nothing either, so that a write is refused for what it is.
void holdStandardStreams()
{
    int nOpened = 0;
    do {
        nOpened = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    } while (nOpened >= 0 && nOpened <= STDERR_FILENO);
    if (nOpened > STDERR_FILENO) {
        ::close(nOpened);
    }
}

// Qt puts another character in the place of what it cannot read, and would go on with that.
void requireUtf8(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const QString strWord = QString::fromUtf8(argv[i]);
        if (strWord.toUtf8() != argv[i]) {
            throw CFailure(ExitStatus::Usage,
                           QStringLiteral("the word '%1' is not UTF-8").arg(strWord));
        }
    }
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

ExitStatus answerWords(const QStringList& words);

ExitStatus answer(const QStringList& words)
{
    if (words.value(0) == QLatin1String("complete")) {
        return complete(words.mid(1));
    }
    const CommandLine line = parseCommandLine(words);
    if (line.pCommand == nullptr) {
        printPage(line.strText);
        return ExitStatus::Ok;
    }
    if (isForMany(line)) {
        return answerMany(line, words, answerWords);
    }
    standalone::setConfigDir(line.request.strConfigDir);
    standalone::logToStderr(line.request.log);
    return line.pCommand->run(line.request);
}

// What was printed comes before the message; the message is the graver of two failures.
ExitStatus failed(const CFailure& failure)
{
    endAnswer(failure);
    flushOutput();
    printError(failure.message());
    return failure.status();
}

ExitStatus answerWords(const QStringList& words)
{
    try {
        beginAnswer(answerForm(words));
        const ExitStatus status = answer(words);
        endAnswer(status);
        finishOutput();
        return status;
    } catch (const CFailure& failure) {
        return failed(failure);
    } catch (const std::bad_alloc&) {
        return failed({ ExitStatus::InputOutput, QStringLiteral("out of memory") });
    } catch (const std::exception& error) {
        return failed({ ExitStatus::InputOutput, QString::fromUtf8(error.what()) });
    }
}

ExitStatus answerTyped(int argc, char** argv)
{
    const QStringList words = QCoreApplication::arguments().mid(1);
    try {
        requireUtf8(argc, argv);
    } catch (const CFailure& failure) {
        beginAnswer(answerForm(words));
        return failed(failure);
    }
    return answerWords(words);
}

} // namespace

int main(int argc, char** argv)
{
    holdStandardStreams();
    // The same document gives the same bytes: the order of attributes hangs on the seed.
    qSetGlobalQHashSeed(0);
    // A reader that goes away must not end a save halfway.
    std::signal(SIGPIPE, SIG_IGN);
    qInstallMessageHandler(toLog);
    const QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("indexuser");
    useUtf8();
    return static_cast<int>(answerTyped(argc, argv));
}
