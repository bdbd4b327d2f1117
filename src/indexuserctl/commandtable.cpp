#include "commandtable.h"

#include "failure.h"

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

const QVector<CommandOption>& commandOptions()
{
    static const QVector<CommandOption> s_options {
        { "--json", "", "prints JSON instead of tables",
          [](Request& request, const QString&) { request.format = Format::Json; } },
        { "--all", "", "prints all differences, not only the first 200; as JSON they are all there",
          [](Request& request, const QString&) { request.amount = Amount::All; } },
        { "--dry-run", "", "only tells what would be done",
          [](Request& request, const QString&) { request.mode = mend::RunMode::DryRun; } },
        { "--show-secrets", "", "prints the OA password, too",
          [](Request& request, const QString&) { request.secrets = Secrets::Shown; } },
        { "--trade", "", "the trade windows and templates instead of the quote ones",
          [](Request& request, const QString&) { request.side = inspect::LayoutSide::Trade; } },
        { "--force", "", "changes a file that is read-only, or somebody else's, all the same",
          [](Request& request, const QString&) { request.force = Force::Yes; } },
        { "--encoding", "NAME",
          "converts the file, which is in another encoding: gbk, gb18030, utf-16le, utf-16be",
          [](Request& request, const QString& value) {
              request.encoding = wantedEncoding(value);
          } },
        { "--template", "NAME", "a template instead of the current layout",
          [](Request& request, const QString& value) { request.templateName = value; } },
        { "--out", "FILE", "the file to write",
          [](Request& request, const QString& value) { request.strOut = value; } },
        { "--filter", "LINE", "sector filters: CODE=NAME,ID|INDICATOR|OP|EXTRA|THRESHOLD,...",
          [](Request& request, const QString& value) { request.filter = value; } },
    };
    return s_options;
}

using Commands = QVector<Command>;

Commands userCommands()
{
    return {
        { "show",
          { "[PART...]" },
          { "--json", "--show-secrets" },
          "what the file holds, or only the parts options, stocks, layouts, templates, sections",
          show },
        { "check",
          { "[FILE...]" },
          { "--json" },
          "what the next load and save would drop, change or merge",
          check },
        { "diff",
          { "FILE", "FILE2" },
          { "--all", "--json", "--show-secrets" },
          "what two files do not share, by meaning",
          diffFiles },
        { "recover",
          {},
          { "--dry-run", "--encoding", "--force", "--all", "--show-secrets" },
          "brings the newest whole dated copy back if the file is missing or damaged",
          recoverUser },
        { "report", {}, { "--out", "--dry-run" }, "all of it on one HTML page", report },
    };
}

Commands copyCommands()
{
    return {
        { "snapshot list",
          {},
          { "--json" },
          "dated copies, and what changed since",
          listSnapshots },
        { "snapshot show",
          { "DATE", "[PART...]" },
          { "--json", "--show-secrets" },
          "what a dated copy holds",
          showSnapshot },
        { "snapshot diff",
          { "DATE", "[DATE2]" },
          { "--all", "--json", "--show-secrets" },
          "what changed from one dated copy to another, or to the file of now",
          diffSnapshots },
        { "snapshot restore",
          { "DATE" },
          { "--all", "--dry-run", "--force", "--show-secrets" },
          "puts a dated copy in the place of the file, which is kept beside it",
          restoreSnapshot },
    };
}

Commands optionCommands()
{
    return {
        { "option list",
          {},
          { "--json", "--show-secrets" },
          "options, their defaults",
          listOptions },
        { "option get", { "NAME" }, { "--json", "--show-secrets" }, "one option", getOption },
        { "option set",
          { "NAME=VALUE..." },
          { "--all", "--dry-run", "--force", "--show-secrets" },
          "sets options",
          setOptions },
    };
}

Commands stockCommands()
{
    return {
        { "stock list", {}, { "--json" }, "custom stock lists", listStocks },
        { "stock add",
          { "LIST", "MARKET", "CODE", "[NAME]" },
          { "--all", "--dry-run", "--force" },
          "appends a stock to a list",
          addStock },
        { "stock remove",
          { "LIST", "MARKET", "CODE" },
          { "--all", "--dry-run", "--force" },
          "takes a stock from a list",
          removeStock },
        { "stock import",
          { "FILE" },
          { "--all", "--dry-run", "--force" },
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
        { "layout show",
          {},
          { "--trade", "--template", "--json" },
          "the windows of a layout",
          showLayout },
        { "layout draw",
          {},
          { "--trade", "--template", "--out", "--dry-run" },
          "a picture of a layout, to scale, as SVG",
          drawLayout },
        { "template list", {}, { "--trade", "--json" }, "layout templates", listTemplates },
    };
}

Commands templateCommands()
{
    const QStringList options { "--trade", "--all", "--dry-run", "--force" };
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
        { "setting get",
          { "KEY" },
          { "--json" },
          "a text of the shared settings store",
          getSetting },
        { "setting set",
          { "KEY", "VALUE" },
          { "--dry-run" },
          "stores a text in the shared settings store",
          setSetting },
        { "sector list", {}, { "--json" }, "the sectors beside the file", listSectors },
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
    static const QVector<Command> s_commands = userCommands() + copyCommands() + optionCommands()
        + stockCommands() + layoutCommands() + templateCommands() + otherCommands();
    return s_commands;
}

const CommandOption& commandOption(const QString& name)
{
    const auto& all = commandOptions();
    return *std::find_if(all.begin(), all.end(),
                         [&](const CommandOption& option) { return option.strName == name; });
}

QString usageOf(const Command& command)
{
    QStringList parts { command.strName };
    for (const QString& name : command.options) {
        const QString strValue = commandOption(name).strValue;
        const QString strOption = strValue.isEmpty() ? name : name + ' ' + strValue;
        // What is drawn or reported has to go somewhere.
        parts.append(name == QLatin1String("--out") ? strOption : '[' + strOption + ']');
    }
    return (parts + command.words).join(QLatin1Char(' '));
}

const QVector<StatusText>& statusTexts()
{
    static const QVector<StatusText> s_texts {
        { ExitStatus::Ok, "ok" },
        { ExitStatus::Negative, "the answer is no: it differs, is not in order, is not there" },
        { ExitStatus::Usage, "wrong usage" },
        { ExitStatus::InputOutput, "a file cannot be read or written" },
        { ExitStatus::Damaged, "a file is damaged" },
        { ExitStatus::RecoveredWithLoss, "recovered, but something newer is lost" },
    };
    return s_texts;
}
