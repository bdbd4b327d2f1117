#include "commandtexts.h"

#include <algorithm>

namespace {

using Texts = QVector<CommandText>;

Texts userTexts()
{
    return {
        { "show",
          "Reads the live file without the client and prints its tables. Passwords are hidden "
          "unless --show-secrets is given.",
          "show options stocks" },
        { "check",
          "Reads files as the client would and names, with line and column, what it would not "
          "bring back, and values that it takes and nobody means. Without FILE it is the user's "
          "own file, with what lies beside it. The "
          "status is that of the worst file.",
          "check" },
        { "diff",
          "Compares by meaning: the order of attributes, white space and what no load reads make "
          "no difference. Without FILE2 it is the user's own file. Status 1 if there are "
          "differences.",
          "diff ~/.config/indexuser/Temp/indexUserConfig.xml_20240131 "
          "~/.config/indexuser/indexUserConfig.xml" },
        { "apply",
          "A patch, which diff --patch writes, holds options, lists of stocks and templates with "
          "what they were before. Each change is told. If this user has something else than the "
          "patch was made of, nothing is written unless --force is given. A changed template keeps "
          "its place, a new one goes to the end. Secrets, the windows of now, the sections of "
          "other managers and what no user could be given do not travel; the patch names them.",
          "apply --dry-run patch.json" },
        { "recover",
          "Never touches a whole file unless told where to take another one from. A damaged file "
          "is set aside under a dated name; the copy that comes back is the newest whole one. "
          "--list names all that the file could come from, --from takes one of them, --salvage "
          "keeps what is whole in a torn file, and --encoding converts a file that another program "
          "has written in another encoding.",
          "recover --dry-run" },
    };
}

Texts reportTexts()
{
    return {
        { "report",
          "Writes one page that needs nothing else: findings, options, stocks, windows, copies. Of "
          "many users it is a page each in a directory, and index.html over them: who has which "
          "findings, to be sorted, each with a link to his page.",
          "report --out report.html" },
        { "support-bundle",
          "Packs what somebody far away needs: the answers of check, report and snapshot list, and "
          "all files of the user, with logs beside them, in the bytes that they have but for the "
          "password, wherever it stands. A file in which it may stand unseen is left out; the "
          "table, and contents.json in the archive, tell which and why. Status 1 if any is.",
          "support-bundle --out support.tar.gz" },
    };
}

Texts bundleTexts()
{
    return {
        { "bundle export",
          "For another user, or another machine: a bundle has the form of a user's file, with the "
          "sections of the chosen parts only; those of other managers come along word for word, "
          "strategies among them, which may then run for two. Passwords and the shared settings "
          "store stay here.",
          "bundle export --parts options,templates --out bundle.xml" },
        { "bundle import",
          "The sections of the bundle take the place of those that this user has, and each change "
          "is told; everything else stays, and so do secrets and options that the bundle does not "
          "name. A directory without a file and without copies gets one: a new machine. A user's "
          "whole file is a bundle, too. A section that would be read otherwise "
          "than it stands there is refused unless --force is given.",
          "bundle import bundle.xml --dry-run" },
    };
}

Texts copyTexts()
{
    return {
        { "snapshot list",
          "The client leaves a copy of each day's last save. This names them, and what has changed "
          "since.",
          "snapshot list" },
        { "snapshot show", "Prints the tables of a dated copy, or only some parts of it.",
          "snapshot show latest options" },
        { "snapshot diff", "Compares a dated copy with another one, or with the file of now.",
          "snapshot diff 2024-01-31" },
        { "snapshot restore",
          "Puts a whole dated copy in the place of the file and keeps the file as it was, so that "
          "undo takes it back.",
          "snapshot restore yesterday --dry-run" },
    };
}

Texts historyTexts()
{
    return {
        { "undo",
          "Brings back the very bytes that were there before the last edit of this tool, of the "
          "file "
          "or of a setting. If somebody else has changed them since it is refused unless --force "
          "is "
          "given, and then there is nothing to do again: the history keeps what was found.",
          "undo" },
        { "redo", "Brings back the very bytes that an undo has taken away, if they were kept.",
          "redo" },
        { "history list",
          "One line an edit: when, by whom, which words, and the digests of the file before and "
          "after.",
          "history list" },
        { "history show", "Prints the tables of the file as it was before an edit.",
          "history show 1 options" },
        { "history diff",
          "Compares the file before an edit with that before another one, or with the file of now.",
          "history diff 1" },
        { "history restore",
          "Brings back what an edit has found, whatever came after: the file, or, of an edit of a "
          "setting, its value. That, too, can be undone.",
          "history restore 1" },
        { "history prune", "Forgets old edits and the states that only they need.",
          "history prune --keep 90d" },
    };
}

Texts optionTexts()
{
    return {
        { "option list",
          "All options of the client with their values and defaults; with --changed only those "
          "that are not the default, with --describe what each of them is, its unit and its range.",
          "option list --changed" },
        { "option get", "Prints the bare value of one option.", "option get reportRefreshTime" },
        { "option set",
          "Sets options in one edit and shows what changes. A value that the client would take, "
          "but "
          "that its meaning speaks against, a date that is none or a negative time, is refused "
          "unless --force is given; so it is by all commands that edit. The password is named "
          "without a value: "
          "it is then asked for without echo, or is the first line of standard input or of "
          "--from-file, without a byte order mark or a carriage return.",
          "option set reportRefreshTime=750 showGradient=0" },
        { "option reset", "Gives options the values that a new user has.",
          "option reset reportRefreshTime" },
    };
}

Texts stockTexts()
{
    return {
        { "stock list", "The custom stock lists with how many stocks each has, and the stocks.",
          "stock list 0" },
        { "stock find",
          "Names the lists that have a stock, by its code or by market and code. Status 1 if none "
          "has it.",
          "stock find SH600519" },
        { "stock add",
          "Appends a stock to a list, which is made if there is none of that number. One "
          "that has the stock already is left alone.",
          "stock add 7 SH 601012 LONGi" },
        { "stock remove", "Takes a stock from a list; the list stays.",
          "stock remove 0 SH 600519" },
        { "stock move", "Takes a stock from one list to another, or to another place of the same.",
          "stock move 0 SH 600519 7" },
        { "stock import",
          "Replaces the lists that the file names by what it holds; other lists stay as they are.",
          "stock import stocks.csv" },
        { "stock export", "Writes all lists in the form that stock import reads.",
          "stock export stocks.csv" },
    };
}

Texts layoutTexts()
{
    return {
        { "layout show", "Where the windows of the current layout are, and what is in them.",
          "layout show --trade" },
        { "layout draw",
          "Draws the windows on their screens, to scale. With --against also what has become of "
          "them since a dated copy, a file, or a template, which goes before a file of its name.",
          "layout draw --out layout.svg" },
        { "layout fit",
          "Tells which windows lie off the screens, across their edges or under other windows, and "
          "where each would go; status 1 if some do not fit. With --apply they go there: the main "
          "screen's to the main screen, the others' by rank from left to right, scaled, none "
          "dropped. Covered windows fit, and those that fit stay.",
          "layout fit --screens 1920x1080+0+0,2560x1440+1920+0 --apply" },
        { "template list", "The names of the templates, and how many windows each has.",
          "template list" },
        { "template show", "Where the windows of a template are, and what is in them.",
          "template show 早盘" },
    };
}

Texts templateTexts()
{
    return {
        { "template save",
          "Keeps the current layout under a name; a template that has it is replaced.",
          "template save evening" },
        { "template apply", "Puts the windows of a template in the place of the current ones.",
          "template apply 早盘" },
        { "template rename", "Gives a template another name, which has to be free.",
          "template rename 早盘 morning" },
        { "template delete", "Removes a template; the current layout stays.",
          "template delete 早盘" },
        { "template export", "Writes one template in the form that template import reads.",
          "template export 早盘 morning.xml" },
        { "template import",
          "Adds the templates of a file. Those whose names are taken are left out.",
          "template import morning.xml" },
    };
}

Texts roamTexts()
{
    return {
        { "roam init",
          "For whoever administrates: makes roles, tables and functions on the server, or brings "
          "those of an older version up to date. A second call finds nothing to do.",
          "roam init" },
        { "roam status",
          "Whether what is here was sent, what the newest revision is and whose, what nobody has "
          "chosen of yet, and how the server answers. Status 1 if there is something to do.",
          "roam status" },
        { "roam push",
          "Sends at once what a running client sends by itself. What somebody has saved elsewhere "
          "meanwhile stays the newest; this one is then an aside, and the status is 1. With --only "
          "it is one section that is held back otherwise, strategies among them.",
          "roam push" },
        { "roam pull",
          "Fetches what is newer on the server; the file as it was stays in the history, so that "
          "undo brings it back. What was changed on both sides stays as it is on both, and the "
          "status is 1. Layouts come to a machine that has a file only where --screens names its "
          "screens: those of the same screens as they are, others fitted.",
          "roam pull --dry-run" },
        { "roam thin",
          "For whoever administrates: all revisions of 7 days keep their content, of 90 days the "
          "last of each day, and the last of each month for ever; the newest ones and asides that "
          "nobody has chosen of keep it, too. Numbers, times and authors stay of all.",
          "roam thin --dry-run" },
        { "roam history",
          "One line a revision, the newest first: when, by whom, on which machine, how many bytes "
          "and why; whether it is an aside, or has lost its content.",
          "roam history" },
        { "roam show", "Prints the tables of a revision, or only some parts of it.",
          "roam show 1 options" },
        { "roam diff",
          "Compares a revision by meaning with another one, or with the newest. Status 1 if there "
          "are differences.",
          "roam diff 1" },
        { "roam restore",
          "What a revision holds becomes a new one, so that nothing is lost; the file here follows "
          "if all that is in it was sent. For another person, with --user, only the server is "
          "changed, and his client fetches it.",
          "roam restore 1" },
        { "roam asides",
          "The revisions that were saved although another one had been saved meanwhile, until "
          "somebody has chosen.",
          "roam asides" },
        { "roam resolve",
          "With --take mine the aside becomes the newest revision, with --take theirs the newest "
          "one stays. Both keep their numbers, so that neither is lost; the file here follows.",
          "roam resolve 2 --take theirs" },
    };
}

Texts otherTexts()
{
    return {
        { "setting list", "All texts of the store that the client's modules share, by their keys.",
          "setting list" },
        { "setting get", "Prints one of these texts.", "setting get theme" },
        { "setting set",
          "Stores a text; an older one of that key goes. With --from-file it is no word of the "
          "command, which others could see.",
          "setting set theme dark" },
        { "setting unset", "Removes a text, until undo brings it back.", "setting unset theme" },
        { "sector list", "The sectors of sectors.json beside the user's file.", "sector list" },
        { "export-sector", "Writes the stocks of a sector that pass the filter, a line each.",
          "export-sector 801780 ." },
        { "tour", "Works on a copy, and leaves nothing behind.", "tour" },
        { "manual", "Prints this page as a reader of man pages takes it.", "manual" },
    };
}

} // namespace

const CommandText& textOf(const Command& command)
{
    static const Texts s_texts = userTexts() + reportTexts() + bundleTexts() + copyTexts()
        + historyTexts() + optionTexts() + stockTexts() + layoutTexts() + templateTexts()
        + roamTexts() + otherTexts();
    static const CommandText s_none;
    const auto it = std::find_if(s_texts.begin(), s_texts.end(), [&](const CommandText& text) {
        return text.strCommand == command.strName;
    });
    return it == s_texts.end() ? s_none : *it;
}
