#include "roamtable.h"

#include "failure.h"

namespace {

using Commands = QVector<Command>;

Commands machineCommands()
{
    return {
        { "roam init",
          {},
          {},
          "makes the tables on the server, or brings them up to date",
          roamInit },
        { "roam status", {}, {}, "whether this machine and the server are in step", roamStatus },
        { "roam push",
          {},
          { "--only", "--screens", "--dry-run", "--wait", "--force" },
          "sends what a running client would send",
          roamPush },
        { "roam pull",
          {},
          { "--only", "--screens", "--dry-run", "--wait", "--force" },
          "fetches what is newer, as a client does before its first load",
          roamPull },
        { "roam thin",
          {},
          { "--dry-run" },
          "drops the contents of old revisions, of all users",
          roamThin },
    };
}

Commands revisionCommands()
{
    return {
        { "roam history",
          {},
          { "--user" },
          "the revisions on the server, and where each is from",
          roamHistory },
        { "roam show", { "N", "[PART...]" }, { "--user" }, "what revision N holds", roamShow },
        { "roam diff",
          { "N", "[M]" },
          { "--user", "--all" },
          "what changed from revision N to M, or to the newest",
          roamDiff },
        { "roam restore",
          { "N" },
          { "--user", "--screens", "--dry-run", "--wait", "--force" },
          "makes a new revision of what revision N holds",
          roamRestore },
        { "roam asides",
          {},
          { "--user" },
          "what was saved beside another revision, and nobody has chosen of yet",
          roamAsides },
        { "roam resolve",
          { "N" },
          { "--take", "--user", "--screens", "--dry-run", "--wait", "--force" },
          "chooses between the aside N and the newest revision",
          roamResolve },
    };
}

Side sideOf(const QString& word)
{
    if (word != QLatin1String("mine") && word != QLatin1String("theirs")) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("--take: '%1' is neither mine nor theirs").arg(word));
    }
    return word == QLatin1String("mine") ? Side::Mine : Side::Theirs;
}

} // namespace

QVector<Command> roamCommands()
{
    return machineCommands() + revisionCommands();
}

QVector<CommandOption> roamOptions()
{
    return {
        { "--user", "LOGIN", "another person's, for whoever supports him",
          [](Request& request, const QString& value) { request.strLogin = value; } },
        { "--only", "SECTION", "one section that is held back otherwise",
          [](Request& request, const QString& value) { request.strSection = value; } },
        { "--take", "mine|theirs", "the aside, or the newest revision",
          [](Request& request, const QString& value) { request.take = sideOf(value); } },
    };
}
