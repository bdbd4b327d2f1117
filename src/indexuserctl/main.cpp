#include "commands.h"
#include "failure.h"

#include <standalone/standalone.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QStandardPaths>
#include <QTextCodec>
#include <QVector>

#include <algorithm>
#include <clocale>
#include <functional>
#include <iostream>
#include <optional>

namespace {

constexpr char c_szName[] = "indexuserctl";

// File names on these machines are UTF-8 whatever the locale says; in a bare one Qt and wcwidth()
// would lose every Chinese character.
void useUtf8()
{
    std::setlocale(LC_CTYPE, "C.UTF-8");
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

struct Request {
    QString strConfigDir;
    QStringList words; ///< those behind the command's name
    std::optional<QString> filter;
    inspect::RecoveryMode mode = inspect::RecoveryMode::Do;
};

struct Command {
    QString strName;
    QString strWords; ///< as --help shows them
    QString strHelp;
    int nLeastWords;
    int nMostWords;
    std::function<ExitStatus(const Request&)> run;
};

ExitStatus snapshot(const Request& request)
{
    if (request.words == QStringList("list")) {
        return listSnapshots(request.strConfigDir);
    }
    if (request.words.first() == "diff" && request.words.size() > 1) {
        return diffSnapshots(request.strConfigDir, request.words.mid(1));
    }
    throw CFailure(ExitStatus::Usage, "usage: snapshot list | diff DATE [DATE]");
}

ExitStatus setting(const Request& request)
{
    const QString strVerb = request.words.first();
    if (strVerb == "get" && request.words.size() == 2) {
        return getSetting(request.words[1]);
    }
    if (strVerb == "set" && request.words.size() == 3) {
        return setSetting(request.words[1], request.words[2]);
    }
    throw CFailure(ExitStatus::Usage, "usage: setting get KEY | set KEY VALUE");
}

ExitStatus sector(const Request& request)
{
    if (request.words != QStringList("list")) {
        throw CFailure(ExitStatus::Usage, "usage: sector list");
    }
    return listSectors();
}

const QVector<Command>& commands()
{
    static const QVector<Command> s_commands {
        { "show", "[PART...]", "what the file holds: options, stocks, layouts, templates, sections",
          0, 5, [](const Request& request) { return show(request.strConfigDir, request.words); } },
        { "sector", "list", "the sectors beside the file", 1, 1, sector },
        { "export-sector", "CODE DIR [--filter LINE]", "a sector's stocks as a dated CSV file", 2,
          2,
          [](const Request& request) {
              return exportSectorCommand(request.words[0], request.words[1], request.filter);
          } },
        { "snapshot", "list | diff DATE [DATE]",
          "the dated copies, or what changed from one to another or to the file", 1, 3, snapshot },
        { "diff", "FILE FILE", "what two files do not share, value by value", 2, 2,
          [](const Request& request) { return diffFiles(request.words[0], request.words[1]); } },
        { "recover", "[--dry-run]", "brings the newest whole dated copy back if need be", 0, 0,
          [](const Request& request) { return recoverUser(request.strConfigDir, request.mode); } },
        { "setting", "get KEY | set KEY VALUE", "a text of the shared settings store", 2, 3,
          setting },
        { "tour", "", "the road of one change on a copy: load, change, save, load, compare", 0, 0,
          [](const Request& request) { return tour(request.strConfigDir); } },
    };
    return s_commands;
}

void describe(QCommandLineParser& parser)
{
    QString strText = "Opens the configuration of one user of the quote client.\n\nCommands:\n";
    for (const Command& command : commands()) {
        const QString strUsage = command.strName + ' ' + command.strWords;
        strText += QStringLiteral("  %1 %2\n").arg(strUsage, -38).arg(command.strHelp);
    }
    parser.setApplicationDescription(
        strText
        + "\nExit status: 0 ok, 1 something differs or is not there, 2 wrong usage,\n"
          "3 input or output failed, 4 damaged file, 6 recovered with loss.");
    parser.addOption({ { "h", "help" }, "Shows this text." });
    parser.addOption({ { "v", "version" }, "Shows the version." });
    parser.addOption({ "config-dir", "The user's directory (tour: the one to copy from).", "DIR" });
    parser.addOption(
        { "filter", "Sector filters: CODE=NAME,ID|INDICATOR|OP|EXTRA|THRESHOLD,...", "LINE" });
    parser.addOption({ "dry-run", "Only tells what would be done." });
    parser.addPositionalArgument("command", "What to do.", "COMMAND");
    parser.addPositionalArgument("words", "What the command works on.", "[WORD...]");
}

const Command& commandOf(const QStringList& words)
{
    if (words.isEmpty()) {
        throw CFailure(ExitStatus::Usage, "no command; see --help");
    }
    const auto it = std::find_if(commands().begin(), commands().end(), [&](const Command& each) {
        return each.strName == words.first();
    });
    if (it == commands().end()) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("unknown command '%1'; see --help").arg(words.first()));
    }
    if (words.size() - 1 < it->nLeastWords || words.size() - 1 > it->nMostWords) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("usage: %1 %2").arg(it->strName, it->strWords));
    }
    return *it;
}

void requireOptionOf(const QCommandLineParser& parser, const QString& option,
                     const Command& command, const QString& owner)
{
    if (parser.isSet(option) && command.strName != owner) {
        throw CFailure(ExitStatus::Usage, QStringLiteral("--%1 goes with %2").arg(option, owner));
    }
}

ExitStatus run(const QCommandLineParser& parser)
{
    const QStringList words = parser.positionalArguments();
    const Command& command = commandOf(words);
    requireOptionOf(parser, "filter", command, "export-sector");
    requireOptionOf(parser, "dry-run", command, "recover");
    Request request;
    request.words = words.mid(1);
    request.strConfigDir = parser.isSet("config-dir")
        ? parser.value("config-dir")
        : QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    if (request.strConfigDir.isEmpty()) {
        throw CFailure(ExitStatus::Usage, "--config-dir: a directory is wanted");
    }
    if (parser.isSet("dry-run")) {
        request.mode = inspect::RecoveryMode::DryRun;
    }
    if (parser.isSet("filter")) {
        request.filter = parser.value("filter");
    }
    standalone::setConfigDir(request.strConfigDir);
    standalone::logToStderr();
    return command.run(request);
}

ExitStatus answer(const QStringList& arguments)
{
    QCommandLineParser parser;
    describe(parser);
    if (!parser.parse(arguments)) {
        throw CFailure(ExitStatus::Usage, parser.errorText() + QStringLiteral(" See --help."));
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
