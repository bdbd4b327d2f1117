#include "commands.h"
#include "failure.h"

#include <standalone/standalone.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QStandardPaths>
#include <QTextCodec>

#include <clocale>
#include <iostream>

namespace {

constexpr char c_szName[] = "indexuserctl";

// File names on these machines are UTF-8 whatever the locale says; in a bare one Qt and wcwidth()
// would lose every Chinese character.
void useUtf8()
{
    std::setlocale(LC_CTYPE, "C.UTF-8");
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

void describe(QCommandLineParser& parser)
{
    parser.setApplicationDescription(
        "Opens the configuration of one user of the quote client.\n"
        "\n"
        "Commands:\n"
        "  show [PART...]  what the file holds: options, stocks, layouts, templates, sections\n"
        "  tour            the road of one change on a copy: load, change, save, load, compare\n"
        "\n"
        "Exit status: 0 ok, 1 something differs, 2 wrong usage, 3 input or output failed,\n"
        "4 damaged user file.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({ "config-dir", "The user's directory (tour: the one to copy from).", "DIR" });
    parser.addPositionalArgument("command", "What to do.", "COMMAND");
    parser.addPositionalArgument("arguments", "Its arguments.", "[ARG...]");
}

QString defaultDirectory(const QString& command)
{
    return command == QLatin1String("tour")
        ? QStringLiteral(INDEXUSERCTL_SAMPLE_USER)
        : QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
}

ExitStatus run(const QCommandLineParser& parser)
{
    QStringList words = parser.positionalArguments();
    if (words.isEmpty()) {
        throw CFailure(ExitStatus::Usage, "no command; see --help");
    }
    const QString strCommand = words.takeFirst();
    const QString strDirectory
        = parser.isSet("config-dir") ? parser.value("config-dir") : defaultDirectory(strCommand);
    standalone::setConfigDir(strDirectory);
    standalone::logToStderr();
    if (strCommand == QLatin1String("show")) {
        return show(strDirectory, words);
    }
    if (strCommand == QLatin1String("tour") && words.isEmpty()) {
        return tour(strDirectory);
    }
    const QString strMessage = strCommand == QLatin1String("tour")
        ? QStringLiteral("tour: unknown argument '%1'").arg(words.value(0))
        : QStringLiteral("unknown command '%1'").arg(strCommand);
    throw CFailure(ExitStatus::Usage, strMessage + QStringLiteral("; see --help"));
}

ExitStatus answer(const QStringList& arguments)
{
    QCommandLineParser parser;
    describe(parser);
    if (!parser.parse(arguments)) {
        throw CFailure(ExitStatus::Usage, parser.errorText() + QStringLiteral("; see --help"));
    }
    if (parser.isSet("help")) {
        std::cout << parser.helpText().toStdString();
        return ExitStatus::Ok;
    }
    if (parser.isSet("version")) {
        std::cout << c_szName << ' ' << INDEXUSER_VERSION << '\n';
        return ExitStatus::Ok;
    }
    return run(parser);
}

ExitStatus answerChecked(const QStringList& arguments)
{
    try {
        const ExitStatus status = answer(arguments);
        if (!std::cout.flush()) {
            throw CFailure(ExitStatus::InputOutput, "cannot write to standard output");
        }
        return status;
    } catch (const CFailure& failure) {
        std::cerr << c_szName << ": " << failure.what() << '\n';
        return failure.status();
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("indexuser");
    useUtf8();
    return static_cast<int>(answerChecked(QCoreApplication::arguments()));
}
