#include "commandtexts.h"
#include "terminal/output.h"

#include <inspect/optionvalues.h>
#include <platform/filenames.h>

namespace {

QString escaped(QString text)
{
    text.replace('\\', QLatin1String("\\e")).replace('-', QLatin1String("\\-"));
    text.replace('~', QLatin1String("\\(ti"));
    // A line that begins with one of these would be a request.
    return text.startsWith('.') || text.startsWith('\'') ? "\\&" + text : text;
}

QString section(const QString& title)
{
    return ".SH " + title + '\n';
}

QString entry(const QString& tag, const QString& text)
{
    return ".TP\n.B " + escaped(tag) + '\n' + escaped(text) + '\n';
}

QString heading()
{
    return ".TH INDEXUSERCTL 1 \"\" \"indexuser " INDEXUSER_VERSION "\"\n" + section("NAME")
        + "indexuserctl \\- opens, checks, compares, repairs and draws a user's configuration\n"
        + section("SYNOPSIS") + ".B indexuserctl\n[\\-\\-config\\-dir DIR] COMMAND ...\n"
        + section("DESCRIPTION")
        + escaped("Works on the directory of one user of the quote client. A command that changes "
                  "the file takes the user's lock, keeps the file as it was, shows what it "
                  "changes, and looks whether that has come to the disk. Answers go to standard "
                  "output, messages to standard error.")
        + '\n';
}

QString commandEntry(const Command& command)
{
    const CommandText& text = textOf(command);
    return entry(usageOf(command), command.strHelp) + ".IP\n" + escaped(text.strAbout)
        + "\n.IP\n.EX\n" + escaped("indexuserctl " + text.strExample) + "\n.EE\n";
}

QString commandEntries()
{
    QString strText = section("COMMANDS");
    for (const Command& command : commands()) {
        strText += commandEntry(command);
    }
    return strText;
}

QString manyUsers()
{
    const QString strWho
        = "With --users or --users-from a command is answered for each of these users, as many at "
          "once as there are cores; --config-dir is not looked at. An answer comes below the "
          "user's name when it is there, with --jsonl as one line; of a check nothing comes for "
          "whoever is in order. At the end stands how many ended how, and what was found with how "
          "many, with --jsonl on standard error, with --json as the one object. The status is the "
          "gravest of all, in this order: 2, 3, 5, 4, 6, 1, 0. A user fails who gives no answer, "
          "or whose file cannot be checked. Pages go to the directory that --out names, with an "
          "index.html over all of them.";
    const QString strResume
        = "With --resume each user is written down when his answer is out. The same command again, "
          "after it was broken off, leaves out whoever is there and counts him all the same; who "
          "was under way or has failed is asked again, the latter last, and an edit that is there "
          "already is not made twice. Each line is a user with his status and error; values are "
          "not in it.";
    return section("MANY USERS") + escaped(strWho) + "\n.PP\n" + escaped(strResume) + "\n.PP\n.EX\n"
        + escaped("indexuserctl check --users '~/.config/index*' --resume done.jsonl") + "\n.EE\n";
}

QString optionEntries()
{
    QStringList names;
    for (const Command& command : commands()) {
        names += command.options;
    }
    names.removeDuplicates();
    QString strText = section("OPTIONS")
        + entry("--config-dir DIR", "the user's directory, ~/.config/indexuser unless told")
        + entry("--json", "prints one JSON object instead of tables")
        + entry("--jsonl", "the same on one line for each user or file, as it is done")
        + entry("--wide", "tables as wide as they need, also on a terminal")
        + entry("--log", "all log lines on stderr, not only problems")
        + entry("-", "as FILE: standard input or output")
        + entry("today, yesterday, latest", "as DATE: these days, and the newest dated copy");
    const auto known = names;
    for (const QString& name : known) {
        const CommandOption& option = commandOption(name);
        strText += entry((option.strName + ' ' + option.strValue).trimmed(), option.strHelp);
    }
    return strText;
}

QString clientOptions()
{
    QString strText = section("OPTIONS OF THE CLIENT");
    for (const KW::OptionRow& row : KW::optionTable()) {
        strText += entry(row.strAttribute, KW::optionDescription(row));
    }
    return strText;
}

QString statusEntries()
{
    QString strText = section("EXIT STATUS");
    for (const StatusText& text : statusTexts()) {
        strText += entry(QString::number(static_cast<int>(text.status)), text.strMeaning);
    }
    return strText;
}

QString files()
{
    using namespace KW;
    const QString strCopies = QString(c_szCopiesFolder) + '/' + c_szDatedCopyPrefix;
    return section("FILES") + entry("~/.config/indexuser/", "the user's directory unless told")
        + entry(c_szLiveFile, "in it: what the client loads and saves")
        + entry(strCopies + "YYYYMMDD", "the last save of each day")
        + entry(QString(c_szHistoryFolder) + '/',
                "the states before the edits of this tool, and who made them")
        + entry(c_szLockFile, "held by whoever may write")
        + entry(QString(c_szSettingsFolder) + '/', "the shared settings store, a file a value")
        + entry("indexUserConfig.roaming", "what the server is known to have of it")
        + entry(c_szSectorsFile, "the sectors and their stocks, only read");
}

QString surroundings()
{
    return files() + section("ENVIRONMENT")
        + entry("XDG_CONFIG_HOME", "where the user's directory is, instead of ~/.config")
        + entry("PGSERVICE, PGPASSFILE, PGHOST", "the server of roam, and the others of libpq")
        + entry("PAGER", "what shows an answer that is longer than the terminal; nothing if unset")
        + entry("COLUMNS", "how wide a terminal is that does not tell")
        + entry("NO_COLOR", "no colour, even on a terminal, unless it is empty")
        + entry("TERM", "no colour if it is dumb") + section("SEE ALSO")
        + ".BR man (1),\n.BR less (1),\n.BR jq (1)\n";
}

} // namespace

ExitStatus printManual(const Request& request)
{
    Q_UNUSED(request)
    printPage(heading() + commandEntries() + manyUsers() + optionEntries() + clientOptions()
              + statusEntries() + surroundings());
    return ExitStatus::Ok;
}
