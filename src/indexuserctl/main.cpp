#include "commandline.h"
#include "completion.h"
#include "failure.h"

#include <QCoreApplication>
#include <QTextCodec>

#include <clocale>
#include <iostream>

namespace {

// File names on these machines are UTF-8 whatever the locale says; in a bare one Qt and wcwidth()
// would lose every Chinese character.
void useUtf8()
{
    std::setlocale(LC_CTYPE, "C.UTF-8");
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

ExitStatus answer(const QStringList& words)
{
    if (words.value(0) == QLatin1String("complete")) {
        return complete(words.mid(1));
    }
    const CommandLine line = parseCommandLine(words);
    if (line.pCommand == nullptr) {
        std::cout << line.strText.toStdString();
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
        if (!std::cout.flush()) {
            throw CFailure(ExitStatus::InputOutput, "cannot write to standard output");
        }
        return status;
    } catch (const CFailure& failure) {
        std::cout.flush();
        std::cerr << "indexuserctl: " << failure.what() << '\n';
        return failure.status();
    }
}

} // namespace

int main(int argc, char** argv)
{
    // The same document gives the same bytes: the order of attributes hangs on the seed.
    qSetGlobalQHashSeed(0);
    const QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("indexuser");
    useUtf8();
    return static_cast<int>(answerChecked(QCoreApplication::arguments().mid(1)));
}
