#include "commandline.h"

#include "dates.h"
#include "failure.h"

#include <inspect/closest.h>
#include <inspect/optionvalues.h>
#include <mend/ownership.h>

#include <QStandardPaths>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <memory>

#include <unistd.h>

namespace {

constexpr char c_szName[] = "indexuserctl";

QString entryOf(const Command& command)
{
    return QStringLiteral("  %1\n      %2\n").arg(usageOf(command), command.strHelp);
}

QString usageHint(const Command* pCommand)
{
    return pCommand == nullptr ? QStringLiteral("; see --help")
                               : QStringLiteral("; usage: %1 %2").arg(c_szName, usageOf(*pCommand));
}

QString groupHelp(const QString& group)
{
    QString strText;
    for (const Command& command : commands()) {
        strText += command.strName.startsWith(group + ' ') ? entryOf(command) : QString();
    }
    return strText;
}

// Where the parser puts what it reads of one command.
struct Slots {
    const Command* pCommand;
    CLI::App* pApp;
    std::vector<std::vector<std::string>> words;
    std::map<QString, std::string> values;
    std::map<QString, bool> switches;
};

QString bare(QString word)
{
    return word.remove('[').remove(']').remove(QStringLiteral("..."));
}

void addWord(CLI::App& app, const QString& word, std::vector<std::string>& slot)
{
    const bool bMany = word.contains(QStringLiteral("..."));
    const bool bOptional = word.startsWith('[');
    app.add_option(bare(word).replace('=', '-').toStdString(), slot, "")
        ->expected(1, bMany ? CLI::detail::expected_max_vector_size : 1)
        ->allow_extra_args(bMany)
        ->required(!bOptional);
}

void addOption(CLI::App& app, const QString& name, Slots& slots)
{
    const CommandOption& option = commandOption(name);
    const std::string strHelp = option.strHelp.toStdString();
    if (option.strValue.isEmpty()) {
        app.add_flag(name.toStdString(), slots.switches[name], strHelp);
        return;
    }
    app.add_option(name.toStdString(), slots.values[name], strHelp)
        ->type_name(option.strValue.toStdString())
        ->required(isNeeded(*slots.pCommand, name));
}

CLI::App& subcommand(CLI::App& parent, const QString& name)
{
    const std::string strName = name.toStdString();
    const auto found
        = parent.get_subcommands([&](const CLI::App* pApp) { return pApp->get_name() == strName; });
    CLI::App* const pApp = found.empty() ? parent.add_subcommand(strName) : found.front();
    pApp->fallthrough();
    return *pApp;
}

class CParser {
public:
    CParser()
        : m_app("", c_szName)
    {
        m_app.set_help_flag("-h,--help", "shows this text");
        m_app.set_version_flag("-v,--version", std::string(c_szName) + ' ' + INDEXUSER_VERSION);
        m_app.add_option("--config-dir", m_strConfigDir, "the user's directory")->type_name("DIR");
        m_app.add_flag("--json", m_bJson, "prints one JSON object instead of tables");
        m_app.add_flag("--jsonl", m_bLines, "the same on one line for each user or file");
        m_app.add_flag("--wide", m_bWide, "tables as wide as they need, also on a terminal");
        m_app.add_flag("--log", m_bLog, "all log lines on stderr, not only problems");
        m_app.require_subcommand(1);
        for (const Command& command : commands()) {
            add(command);
        }
    }

    CommandLine parse(const QStringList& words)
    {
        std::vector<std::string> reversed;
        for (const QString& word : words) {
            reversed.insert(reversed.begin(), word.toStdString());
        }
        try {
            m_app.parse(std::move(reversed));
        } catch (const CLI::CallForVersion& version) {
            return textLine(QString::fromStdString(version.what()) + '\n');
        } catch (const CLI::CallForHelp&) {
            return textLine(help());
        } catch (const CLI::ParseError& error) {
            throw CFailure(ExitStatus::Usage, ownWords(error.what()) + usage());
        }
        return result();
    }

private:
    static CommandLine textLine(const QString& text)
    {
        CommandLine line;
        line.strText = text;
        return line;
    }

    void add(const Command& command)
    {
        const QStringList names = command.strName.split(' ');
        CLI::App* pApp = &subcommand(m_app, names.first());
        if (names.size() > 1) {
            pApp->require_subcommand(1);
            pApp = &subcommand(*pApp, names.last());
        }
        pApp->description(command.strHelp.toStdString());
        m_slots.push_back(std::make_unique<Slots>());
        Slots& slots = *m_slots.back();
        slots.pCommand = &command;
        slots.pApp = pApp;
        slots.words.resize(static_cast<std::size_t>(command.words.size()));
        for (int i = 0; i < command.words.size(); ++i) {
            addWord(*pApp, command.words[i], slots.words[static_cast<std::size_t>(i)]);
        }
        for (const QString& name : command.options) {
            addOption(*pApp, name, slots);
        }
    }

    const Slots* parsed() const
    {
        for (const auto& pSlots : m_slots) {
            if (pSlots->pApp->parsed()) {
                return pSlots.get();
            }
        }
        return nullptr;
    }

    // The parser knows NAME=VALUE by a name that it takes for one.
    static QString ownWords(const std::string& message)
    {
        return QString::fromStdString(message).replace(QStringLiteral("NAME-VALUE"),
                                                       QStringLiteral("NAME=VALUE"));
    }

    QString usage() const
    {
        const Slots* const pSlots = parsed();
        return usageHint(pSlots == nullptr ? nullptr : pSlots->pCommand);
    }

    QString help() const
    {
        const Slots* const pSlots = parsed();
        if (pSlots == nullptr) {
            const auto groups = m_app.get_subcommands();
            return groups.empty() ? helpText()
                                  : groupHelp(QString::fromStdString(groups.front()->get_name()));
        }
        QString strText = QStringLiteral("%1 %2\n\n  %3\n")
                              .arg(c_szName, usageOf(*pSlots->pCommand), pSlots->pCommand->strHelp);
        for (const QString& name : pSlots->pCommand->options) {
            strText += QStringLiteral("  %1  %2\n").arg(name, -16).arg(commandOption(name).strHelp);
        }
        return strText;
    }

    CommandLine result() const
    {
        const Slots& slots = *parsed();
        CommandLine line;
        line.pCommand = slots.pCommand;
        line.request.strConfigDir = m_strConfigDir
            ? QString::fromStdString(*m_strConfigDir)
            : QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
        line.request.log = m_bLog ? standalone::LogLines::All : standalone::LogLines::Problems;
        const bool bMany = isForMany(*slots.pApp, *slots.pCommand);
        for (int i = 0; i < slots.pCommand->words.size(); ++i) {
            for (const std::string& word : slots.words[static_cast<std::size_t>(i)]) {
                const QString strWord = QString::fromStdString(word);
                line.request.words.append(
                    bMany ? strWord : meant(line.request, slots.pCommand->words[i], strWord));
            }
        }
        for (const QString& name : slots.pCommand->options) {
            if (slots.pApp->count(name.toStdString()) > 0) {
                const auto it = slots.values.find(name);
                const QString strValue
                    = it == slots.values.end() ? QString() : QString::fromStdString(it->second);
                const CommandOption& option = commandOption(name);
                option.apply(line.request,
                             bMany ? strValue : meant(line.request, option.strValue, strValue));
            }
        }
        return line;
    }

    // Each of them has dates of his own.
    static bool isForMany(const CLI::App& app, const Command& command)
    {
        return command.options.contains(QStringLiteral("--users"))
            && app.count("--users") + app.count("--users-from") > 0;
    }

    // Wherever a date goes its words go, too.
    static QString meant(const Request& request, const QString& name, const QString& word)
    {
        return name.contains(QStringLiteral("DATE")) ? datedWord(word, request.strConfigDir) : word;
    }

    CLI::App m_app;
    std::optional<std::string> m_strConfigDir;
    bool m_bJson = false;
    bool m_bLines = false;
    bool m_bWide = false;
    bool m_bLog = false;
    std::vector<std::unique_ptr<Slots>> m_slots;
};

QStringList commandNames()
{
    QStringList names;
    for (const Command& command : commands()) {
        names.append(command.strName);
    }
    return names;
}

// Groups, and commands of one word.
QStringList firstWords()
{
    QStringList words = commandNames();
    for (QString& word : words) {
        word = word.section(' ', 0, 0);
    }
    words.removeDuplicates();
    return words;
}

QStringList commonOptions()
{
    return { "--config-dir", "--json",    "--jsonl", "--wide", "--log",
             "--help",       "--version", "-h",      "-v" };
}

QStringList allOptions()
{
    QStringList names = commonOptions();
    for (const Command& command : commands()) {
        names += command.options;
    }
    names.removeDuplicates();
    return names;
}

bool takesValue(const QString& name)
{
    return name == QLatin1String("--config-dir")
        || (allOptions().contains(name) && !commonOptions().contains(name)
            && !commandOption(name).strValue.isEmpty());
}

// The words as they were typed, told apart, with options as "--name" or "--name=value" and without
// values in words of their own.
struct TypedWords {
    QStringList plain;
    QStringList options;

    explicit TypedWords(const QStringList& words)
    {
        const int nEnd = words.indexOf(QStringLiteral("--"));
        plain = nEnd < 0 ? QStringList() : words.mid(nEnd + 1);
        const QStringList before = words.mid(0, nEnd);
        int nPlain = 0;
        for (int i = 0; i < before.size(); ++i) {
            if (before[i].startsWith('-') && before[i].size() > 1) {
                options.append(before[i]);
                i += takesValue(before[i]) ? 1 : 0;
            } else {
                plain.insert(nPlain++, before[i]);
            }
        }
    }
};

const Command* commandOf(const TypedWords& typed)
{
    const QVector<Command>& all = commands();
    const auto it = std::find_if(all.begin(), all.end(), [&](const Command& command) {
        const QStringList names = command.strName.split(' ');
        return typed.plain.mid(0, names.size()) == names;
    });
    return it == all.end() ? nullptr : &*it;
}

// Compared without their dashes, which all of them share.
QString nearOption(const QString& name, const QStringList& known)
{
    QStringList names;
    for (const QString& each : known) {
        names.append(each.mid(2));
    }
    QString strNear = inspect::didYouMean(name.mid(2), names);
    return strNear.isEmpty() ? strNear : strNear.insert(strNear.indexOf('\'') + 1, "--");
}

// The parser would name the word behind an option that it does not know.
void requireKnownOptions(const TypedWords& typed)
{
    const Command* const pCommand = commandOf(typed);
    const QStringList known
        = pCommand == nullptr ? allOptions() : pCommand->options + commonOptions();
    for (const QString& option : typed.options) {
        const QString strName = option.section('=', 0, 0);
        if (strName.startsWith(QLatin1String("--")) && !known.contains(strName)) {
            throw CFailure(ExitStatus::Usage,
                           QStringLiteral("there is no option '%1'").arg(strName)
                               + nearOption(strName, known) + usageHint(pCommand));
        }
    }
}

// Of a word that is no command the parser only says that it expected another one.
void requireKnownCommand(const TypedWords& typed)
{
    const bool bAlone = typed.plain.size() == 1 && firstWords().contains(typed.plain.first());
    if (typed.plain.isEmpty() || bAlone || commandOf(typed) != nullptr) {
        return;
    }
    const bool bGroup = firstWords().contains(typed.plain.first());
    const QString strName = bGroup ? typed.plain.mid(0, 2).join(' ') : typed.plain.first();
    const QStringList known = bGroup ? commandNames() : firstWords();
    throw CFailure(ExitStatus::Usage,
                   QStringLiteral("there is no command '%1'%2")
                           .arg(strName, inspect::didYouMean(strName, known))
                       + usageHint(nullptr));
}

// For a switch the parser would take any word for yes or no, for no value the next word.
void requireFittingValues(const TypedWords& typed)
{
    for (const QString& option : typed.options) {
        const QString strName = option.section('=', 0, 0);
        if (strName == option || !allOptions().contains(strName)) {
            continue;
        }
        if (!takesValue(strName)) {
            throw CFailure(ExitStatus::Usage, strName + " takes no value");
        }
        if (option.size() == strName.size() + 1) {
            throw CFailure(ExitStatus::Usage, strName + ": a value is wanted");
        }
    }
}

// What was typed, for people who look at it later: without secrets, and without --config-dir.
QString maskedCommand(const QStringList& words)
{
    QStringList shown;
    for (int i = 0; i < words.size(); ++i) {
        const QString strName = words[i].section('=', 0, 0);
        if (strName == QLatin1String("--config-dir")) {
            i += strName == words[i] ? 1 : 0;
        } else {
            const bool bSecret = inspect::isSecret(strName);
            shown.append(bSecret ? strName + "=(hidden)" : words[i]);
            if (bSecret && shown.contains(QStringLiteral("setting"))) {
                break; // the value is a word of its own, somewhere behind
            }
        }
    }
    return shown.join(' ');
}

} // namespace

AnswerForm answerForm(const QStringList& words)
{
    if (words.value(0) == QLatin1String("complete")) {
        return {}; // what a shell asks for is half a line
    }
    const TypedWords typed(words);
    const Command* const pCommand = commandOf(typed);
    const bool bLines = typed.options.contains(QStringLiteral("--jsonl"));
    const bool bJson = bLines || typed.options.contains(QStringLiteral("--json"));
    return { bJson ? Format::Json : Format::Text,
             pCommand == nullptr ? QString() : pCommand->strName,
             typed.options.contains(QStringLiteral("--dry-run")),
             typed.options.contains(QStringLiteral("--wide")), bLines };
}

CommandLine parseCommandLine(const QStringList& words)
{
    const TypedWords typed(words);
    requireKnownOptions(typed);
    requireKnownCommand(typed);
    requireFittingValues(typed);
    CommandLine line = CParser().parse(words);
    line.form = answerForm(words);
    line.request.format = line.form.format;
    line.request.strCommand = maskedCommand(words);
    line.request.strAccount = mend::accountName(::getuid());
    if (line.pCommand != nullptr && line.request.strConfigDir.isEmpty()) {
        throw CFailure(ExitStatus::Usage, "--config-dir: a directory is wanted");
    }
    return line;
}

QStringList withoutOptions(const QStringList& words, const QStringList& names)
{
    const int nEnd = words.indexOf(QStringLiteral("--"));
    QStringList kept;
    for (int i = 0; i < words.size(); ++i) {
        const QString strName = words[i].section('=', 0, 0);
        const bool bOption = (nEnd < 0 || i < nEnd) && words[i].startsWith(QLatin1String("--"));
        const bool bValue = bOption && takesValue(strName) && strName == words[i];
        if (!bOption || !names.contains(strName)) {
            kept += words.mid(i, bValue ? 2 : 1);
        }
        i += bValue ? 1 : 0;
    }
    return kept;
}

QString helpText()
{
    QString strText = QStringLiteral("Opens, checks, compares, repairs and draws the configuration "
                                     "of one user of the quote client.\n\nCommands:\n");
    for (const Command& command : commands()) {
        strText += entryOf(command);
    }
    strText += QStringLiteral("\nFor all of them:\n"
                              "  --config-dir DIR  the user's directory\n"
                              "  --json            prints one JSON object instead of tables\n"
                              "  --jsonl           the same on one line for each user or file, as "
                              "it is done\n"
                              "  --wide            tables as wide as they need, also on a "
                              "terminal\n"
                              "  --log             all log lines on stderr, not only problems\n"
                              "  --help, -h        what a command takes\n"
                              "  --version, -v\n\n"
                              "As FILE, - is standard input or output.\n\nExit status:\n");
    for (const StatusText& text : statusTexts()) {
        strText
            += QStringLiteral("  %1  %2\n").arg(static_cast<int>(text.status)).arg(text.strMeaning);
    }
    return strText
        + QStringLiteral(
               "\nOf many users the gravest: 2, 3, 5, 4, 6, 1, 0.\n"
               "\nColour only on a terminal, and never with NO_COLOR set. There tables are "
               "cut to its\nwidth, and long answers go through $PAGER.\n");
}
