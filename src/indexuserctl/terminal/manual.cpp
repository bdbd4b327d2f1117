#include "commandtable.h"
#include "terminal/output.h"

namespace {

QString escaped(QString text)
{
    text.replace('\\', QLatin1String("\\e")).replace('-', QLatin1String("\\-"));
    // A line that begins with one of these would be a request.
    return text.startsWith('.') || text.startsWith('\'') ? "\\&" + text : text;
}

void entry(const QString& tag, const QString& text)
{
    printText(".TP\n.B " + escaped(tag) + '\n' + escaped(text) + '\n');
}

void printOptions()
{
    QStringList names;
    for (const Command& command : commands()) {
        names += command.options;
    }
    names.removeDuplicates();
    entry("--config-dir DIR", "the user's directory");
    entry("--log", "all log lines on stderr, not only problems");
    entry("-", "as FILE: standard input or output");
    const auto known = names;
    for (const QString& name : known) {
        const CommandOption& option = commandOption(name);
        entry((option.strName + ' ' + option.strValue).trimmed(), option.strHelp);
    }
}

} // namespace

ExitStatus printManual(const Request& request)
{
    Q_UNUSED(request)
    printText(".TH INDEXUSERCTL 1 \"\" \"indexuser " INDEXUSER_VERSION "\"\n");
    printText(".SH NAME\nindexuserctl \\- opens, checks, compares, repairs and draws a user's "
              "configuration\n");
    printText(".SH SYNOPSIS\n.B indexuserctl\n[\\-\\-config\\-dir DIR] COMMAND ...\n");
    printText(".SH COMMANDS\n");
    for (const Command& command : commands()) {
        entry(usageOf(command), command.strHelp);
    }
    printText(".SH OPTIONS\n");
    printOptions();
    printText(".SH EXIT STATUS\n");
    for (const StatusText& text : statusTexts()) {
        entry(QString::number(static_cast<int>(text.status)), text.strMeaning);
    }
    printText(".SH ENVIRONMENT\n");
    entry("NO_COLOR", "no colour, even on a terminal, unless it is empty");
    return ExitStatus::Ok;
}
