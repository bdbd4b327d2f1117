#include "commandtable.h"

#include "failure.h"
#include "roamtable.h"

#include <algorithm>

namespace {

inspect::TextEncoding wantedEncoding(const QString& name)
{
    const auto encoding = inspect::encodingOf(name);
    if (!encoding) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("there is no encoding '%1'; encodings are %2")
                           .arg(name, inspect::encodingNames().join(QStringLiteral(", "))));
    }
    return *encoding;
}

QVector<CommandOption> switches()
{
    return {
        { "--all", "", "prints all differences, not only the first 200; as JSON they are all there",
          [](Request& request, const QString&) { request.amount = Amount::All; } },
        { "--dry-run", "", "only tells what would be done",
          [](Request& request, const QString&) { request.mode = mend::RunMode::DryRun; } },
        { "--show-secrets", "", "prints the OA password, too",
          [](Request& request, const QString&) { request.secrets = Secrets::Shown; } },
        { "--trade", "", "the trade windows and templates instead of the quote ones",
          [](Request& request, const QString&) { request.side = inspect::LayoutSide::Trade; } },
        { "--force", "",
          "changes a file that is read-only, or that somebody else has, or to a value that is "
          "hardly meant, all the same",
          [](Request& request, const QString&) { request.force = Force::Yes; } },
        { "--changed", "", "only what is not the default",
          [](Request& request, const QString&) { request.bChanged = true; } },
        { "--describe", "", "what each option is, its unit and its range",
          [](Request& request, const QString&) { request.bDescribe = true; } },
        { "--list", "", "what the file could be brought back from",
          [](Request& request, const QString&) { request.bList = true; } },
        { "--newest", "", "the newest dated copy, if it is newer than the file",
          [](Request& request, const QString&) { request.bNewest = true; } },
        { "--apply", "", "brings the windows back",
          [](Request& request, const QString&) { request.bApply = true; } },
        { "--salvage", "", "what is whole in a torn file, the rest from the newest whole copy",
          [](Request& request, const QString&) { request.bSalvage = true; } },
    };
}

QVector<CommandOption> optionsWithValue()
{
    return {
        { "--encoding", "NAME",
          "converts the file, which is in another encoding: gbk, gb18030, utf-16le, utf-16be",
          [](Request& request, const QString& value) {
              request.encoding = wantedEncoding(value);
          } },
        { "--template", "NAME", "a template instead of the current layout",
          [](Request& request, const QString& value) { request.templateName = value; } },
        { "--against", "DATE|FILE|TEMPLATE",
          "what changed since: a dated copy, a file or, for a layout, a template",
          [](Request& request, const QString& value) { request.against = value; } },
        { "--screens", "WxH+X+Y,...",
          "the screens in the order of their numbers; the main one is at +0+0, else the first",
          [](Request& request, const QString& value) { request.strScreens = value; } },
        { "--out", "FILE", "the file to write; of many users the directory",
          [](Request& request, const QString& value) { request.strOut = value; } },
        { "--wait", "SECONDS", "how long to wait for whoever may write the file; 5 unless told",
          [](Request& request, const QString& value) { request.wait = value; } },
        { "--parts", "PART,...", "only these: options, stocks, layouts, templates, sections",
          [](Request& request, const QString& value) { request.parts = value; } },
        { "--patch", "FILE", "writes what makes FILE into FILE2 as a patch for apply",
          [](Request& request, const QString& value) { request.patchFile = value; } },
        { "--from-file", "FILE", "the value is the first line of a file",
          [](Request& request, const QString& value) { request.valueFile = value; } },
        { "--from", "DATE|NAME", "one of those that --list names, or a file",
          [](Request& request, const QString& value) { request.source = value; } },
        { "--keep", "AGE", "what is younger stays: 30d, 12h",
          [](Request& request, const QString& value) { request.strKeep = value; } },
        { "--filter", "LINE", "sector filters: CODE=NAME,ID|INDICATOR|OP|EXTRA|THRESHOLD,...",
          [](Request& request, const QString& value) { request.filter = value; } },
    };
}

QVector<CommandOption> optionsOfManyUsers()
{
    return {
        { "--users", "GLOB", "each user whose directory matches, quoted: '/home/*/.config/quote'",
          [](Request& request, const QString& value) { request.users = value; } },
        { "--users-from", "FILE", "each user whose directory is a line of a file",
          [](Request& request, const QString& value) { request.usersFile = value; } },
        { "--resume", "FILE", "keeps who is done, and goes on there where it was broken off",
          [](Request& request, const QString& value) { request.resumeFile = value; } },
        { "--stop-after", "N", "begins with no further user after N failures",
          [](Request& request, const QString& value) { request.stopAfter = value; } },
    };
}

// What each command takes that many users can be given.
QStringList manyUsers()
{
    QStringList names;
    const auto options = optionsOfManyUsers();
    for (const CommandOption& option : options) {
        names.append(option.strName);
    }
    return names;
}

const QVector<CommandOption>& commandOptions()
{
    static const QVector<CommandOption> s_options
        = switches() + optionsWithValue() + optionsOfManyUsers() + roamOptions();
    return s_options;
}

using Commands = QVector<Command>;

Commands userCommands()
{
    return {
        { "show",
          { "[PART...]" },
          QStringList { "--show-secrets" } + manyUsers(),
          "what the file holds, or only the parts options, stocks, layouts, templates, sections",
          show },
        { "check",
          { "[FILE...]" },
          manyUsers(),
          "what the next load and save would drop, change or merge",
          check },
        { "diff",
          { "FILE", "[FILE2]" },
          QStringList { "--patch", "--all", "--show-secrets" } + manyUsers(),
          "what two files, or a file and the user's own, do not share, by meaning",
          diffFiles },
        { "apply",
          { "PATCH" },
          QStringList { "--all", "--dry-run", "--wait", "--force" } + manyUsers(),
          "makes the changes of a patch to this user",
          applyPatch },
        { "recover",
          {},
          QStringList { "--list", "--newest", "--from", "--salvage", "--encoding", "--all",
                        "--dry-run", "--wait", "--force", "--show-secrets" }
              + manyUsers(),
          "brings the newest whole dated copy back if the file is missing or damaged",
          recoverUser },
    };
}

Commands reportCommands()
{
    return {
        { "report",
          {},
          QStringList { "--against", "--out", "--dry-run" } + manyUsers(),
          "all of it on one HTML page, or what changed; of many users with an index",
          report },
        { "support-bundle",
          {},
          { "--out", "--dry-run" },
          "check, report, copies, history and log in one archive, secrets masked",
          supportBundle },
    };
}

Commands bundleCommands()
{
    return {
        { "bundle export",
          {},
          { "--parts", "--out", "--dry-run" },
          "writes all of this user, or some parts, for another one; never a secret",
          exportBundle },
        { "bundle import",
          { "FILE" },
          { "--parts", "--all", "--dry-run", "--wait", "--force" },
          "puts what a bundle holds in the place of what this user has",
          importBundle },
    };
}

Commands copyCommands()
{
    return {
        { "snapshot list", {}, {}, "dated copies, and what changed since", listSnapshots },
        { "snapshot show",
          { "DATE", "[PART...]" },
          { "--show-secrets" },
          "what a dated copy holds",
          showSnapshot },
        { "snapshot diff",
          { "DATE", "[DATE2]" },
          { "--all", "--show-secrets" },
          "what changed from one dated copy to another, or to the file of now",
          diffSnapshots },
        { "snapshot restore",
          { "DATE" },
          { "--all", "--dry-run", "--wait", "--force", "--show-secrets" },
          "puts a dated copy in the place of the file; undo brings that back",
          restoreSnapshot },
    };
}

Commands historyCommands()
{
    return {
        { "undo",
          {},
          { "--all", "--dry-run", "--wait", "--force", "--show-secrets" },
          "takes the last edit back; again, the one before",
          undoEdit },
        { "redo",
          {},
          { "--all", "--dry-run", "--wait", "--force", "--show-secrets" },
          "does again what was undone",
          redoEdit },
        { "history list", {}, {}, "the edits of this file, and who made them", listHistory },
        { "history show",
          { "N", "[PART...]" },
          { "--show-secrets" },
          "what the file held before edit N",
          showHistory },
        { "history diff",
          { "N", "[N2]" },
          { "--all", "--show-secrets" },
          "what changed from before edit N to before edit N2, or to now",
          diffHistory },
        { "history restore",
          { "N" },
          { "--all", "--dry-run", "--wait", "--force", "--show-secrets" },
          "brings back the file, or a setting, as it was before edit N",
          restoreHistory },
        { "history prune",
          {},
          { "--keep", "--dry-run", "--wait", "--force" },
          "forgets edits of more than 30 days ago and the states before them",
          pruneHistory },
    };
}

Commands optionCommands()
{
    return {
        { "option list",
          {},
          { "--changed", "--describe", "--show-secrets" },
          "options, their defaults",
          listOptions },
        { "option get",
          { "NAME" },
          QStringList { "--show-secrets" } + manyUsers(),
          "one option",
          getOption },
        { "option set",
          { "NAME=VALUE..." },
          QStringList { "--from-file", "--all", "--dry-run", "--wait", "--force", "--show-secrets" }
              + manyUsers(),
          "sets options; a secret's NAME alone takes its value from standard input",
          setOptions },
        { "option reset",
          { "NAME..." },
          { "--all", "--dry-run", "--wait", "--force", "--show-secrets" },
          "gives options their defaults",
          resetOptions },
    };
}

Commands stockCommands()
{
    const QStringList edits { "--all", "--dry-run", "--wait", "--force" };
    return {
        { "stock list", { "[LIST]" }, {}, "custom stock lists, or one of them", listStocks },
        { "stock find", { "CODE" }, {}, "the lists that have a stock", findStock },
        { "stock add",
          { "LIST", "MARKET", "CODE", "[NAME]" },
          edits,
          "appends a stock to a list",
          addStock },
        { "stock remove",
          { "LIST", "MARKET", "CODE" },
          edits,
          "takes a stock from a list",
          removeStock },
        { "stock move",
          { "LIST", "MARKET", "CODE", "TO", "[PLACE]" },
          edits,
          "moves a stock to the end of a list, or to a place in it, from 1 on",
          moveStock },
        { "stock import",
          { "FILE" },
          edits,
          "replaces the lists that a CSV file names; others stay",
          importStocks },
        { "stock export",
          { "FILE" },
          { "--dry-run" },
          "writes all lists as CSV: list,market,code,name",
          exportStocks },
    };
}

Commands layoutCommands()
{
    return {
        { "layout show", {}, { "--trade", "--template" }, "the windows of a layout", showLayout },
        { "layout draw",
          {},
          { "--trade", "--template", "--against", "--out", "--dry-run" },
          "a picture of a layout, to scale, as SVG; or of what became of it",
          drawLayout },
        { "layout fit",
          {},
          { "--screens", "--trade", "--template", "--apply", "--all", "--dry-run", "--wait",
            "--force" },
          "what of a layout lies off, under or across screens; or brings it back",
          fitLayout },
        { "template list", {}, { "--trade" }, "layout templates", listTemplates },
        { "template show", { "NAME" }, { "--trade" }, "the windows of a template", showTemplate },
    };
}

Commands templateCommands()
{
    const QStringList options { "--trade", "--all", "--dry-run", "--wait", "--force" };
    const QStringList exported { "--trade", "--dry-run" };
    return {
        { "template save",
          { "NAME" },
          options,
          "the current layout becomes a template",
          saveTemplate },
        { "template apply",
          { "NAME" },
          options,
          "a template becomes the current layout",
          applyTemplate },
        { "template rename", { "NAME", "NEW" }, options, "renames a template", renameTemplate },
        { "template delete", { "NAME" }, options, "removes a template", deleteTemplate },
        { "template export",
          { "NAME", "FILE" },
          exported,
          "writes a template to a file",
          exportTemplate },
        { "template import",
          { "FILE" },
          options,
          "adds the templates of a file, names that are free",
          importTemplates },
    };
}

Commands otherCommands()
{
    return {
        { "setting list", {}, {}, "the texts of the shared settings store", listSettings },
        { "setting get", { "KEY" }, {}, "a text of the shared settings store", getSetting },
        { "setting set",
          { "KEY", "[VALUE]" },
          { "--from-file", "--dry-run", "--wait", "--force" },
          "stores a text in the shared settings store",
          setSetting },
        { "setting unset",
          { "KEY" },
          { "--dry-run", "--wait", "--force" },
          "takes a text from the shared settings store",
          unsetSetting },
        { "sector list", {}, {}, "the sectors beside the file", listSectors },
        { "export-sector",
          { "CODE", "DIR" },
          { "--filter", "--dry-run" },
          "a sector's stocks as a dated CSV file",
          exportSectorCommand },
        { "tour",
          {},
          {},
          "the road of one change on a copy: load, change, save, load, compare",
          tour },
        { "manual", {}, {}, "this tool's man page, for man -l -", printManual },
    };
}

} // namespace

const QVector<Command>& commands()
{
    static const QVector<Command> s_commands = userCommands() + reportCommands() + bundleCommands()
        + copyCommands() + historyCommands() + optionCommands() + stockCommands() + layoutCommands()
        + templateCommands() + roamCommands() + otherCommands();
    return s_commands;
}

const CommandOption& commandOption(const QString& name)
{
    const auto& all = commandOptions();
    return *std::find_if(all.begin(), all.end(),
                         [&](const CommandOption& option) { return option.strName == name; });
}

bool hasCommandOption(const QString& name)
{
    const auto& all = commandOptions();
    return std::any_of(all.begin(), all.end(),
                       [&](const CommandOption& option) { return option.strName == name; });
}

// What is drawn or reported has to go somewhere, and what fits has to fit something.
bool isNeeded(const Command& command, const QString& name)
{
    const bool bFits = command.strName == QLatin1String("layout fit");
    return name == QLatin1String("--out") || name == QLatin1String("--take")
        || (bFits && name == QLatin1String("--screens"));
}

QString usageOf(const Command& command)
{
    QStringList parts { command.strName };
    for (const QString& name : command.options) {
        const QString strValue = commandOption(name).strValue;
        const QString strOption = strValue.isEmpty() ? name : name + ' ' + strValue;
        parts.append(isNeeded(command, name) ? strOption : '[' + strOption + ']');
    }
    return (parts + command.words).join(QLatin1Char(' '));
}

const QVector<StatusText>& statusTexts()
{
    static const QVector<StatusText> s_texts {
        { ExitStatus::Ok, "ok", "ok" },
        { ExitStatus::Negative, "negative",
          "the answer is no: it differs, is not in order, is not there" },
        { ExitStatus::Usage, "usage", "wrong usage" },
        { ExitStatus::InputOutput, "input-output",
          "a file cannot be read or written, or a server not be reached" },
        { ExitStatus::Damaged, "damaged", "a file is damaged" },
        { ExitStatus::Busy, "busy", "somebody else may write the file now" },
        { ExitStatus::RecoveredWithLoss, "recovered-with-loss",
          "recovered, but something newer is lost" },
    };
    return s_texts;
}

QString statusName(ExitStatus status)
{
    const auto& all = statusTexts();
    return std::find_if(all.begin(), all.end(),
                        [&](const StatusText& text) { return text.status == status; })
        ->strName;
}
