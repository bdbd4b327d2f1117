#include "commandtable.h"
#include "terminal/output.h"

namespace {

QString escaped(QString text)
{
    text.replace('\\', QLatin1String("\\e")).replace('-', QLatin1String("\\-"));
    // A line that begins with one of these would be a request.
    return text.startsWith('.') || text.startsWith('\'') ? "\\&" + text : text;
}

QString entry(const QString& tag, const QString& text)
{
    return ".TP\n.B " + escaped(tag) + '\n' + escaped(text) + '\n';
}

QString optionEntries()
{
    QStringList names;
    for (const Command& command : commands()) {
        names += command.options;
    }
    names.removeDuplicates();
    QString strText = entry("--config-dir DIR", "the user's directory")
        + entry("--json", "prints one JSON object instead of tables")
        + entry("--log", "all log lines on stderr, not only problems")
        + entry("-", "as FILE: standard input or output");
    const auto known = names;
    for (const QString& name : known) {
        const CommandOption& option = commandOption(name);
        strText += entry((option.strName + ' ' + option.strValue).trimmed(), option.strHelp);
    }
    return strText;
}

} // namespace

ExitStatus printManual(const Request& request)
{
    Q_UNUSED(request)
    QString strText = QStringLiteral(".TH INDEXUSERCTL 1 \"\" \"indexuser " INDEXUSER_VERSION
                                     "\"\n.SH NAME\nindexuserctl \\- opens, checks, compares, "
                                     "repairs and draws a user's configuration\n"
                                     ".SH SYNOPSIS\n.B indexuserctl\n[\\-\\-config\\-dir DIR] "
                                     "COMMAND ...\n.SH COMMANDS\n");
    for (const Command& command : commands()) {
        strText += entry(usageOf(command), command.strHelp);
    }
    strText += ".SH OPTIONS\n" + optionEntries() + ".SH EXIT STATUS\n";
    for (const StatusText& text : statusTexts()) {
        strText += entry(QString::number(static_cast<int>(text.status)), text.strMeaning);
    }
    printPage(strText + ".SH ENVIRONMENT\n"
              + entry("NO_COLOR", "no colour, even on a terminal, unless it is empty"));
    return ExitStatus::Ok;
}
