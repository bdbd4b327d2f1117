#pragma once

#include "exitstatus.h"

#include <inspect/textencoding.h>
#include <inspect/userrecords.h>
#include <mend/recovery.h>
#include <standalone/standalone.h>

#include <QString>
#include <QStringList>

#include <optional>

enum class Format { Text, Json };
enum class Secrets { Masked, Shown };
enum class Amount { First, All };
enum class Force { No, Yes };
enum class Side { Mine, Theirs };

/// What the command line asks for; a command looks at what it declares in the table of commands.
struct Request {
    QString strConfigDir;
    QStringList words; ///< those behind the command's name
    Format format = Format::Text;
    Secrets secrets = Secrets::Masked;
    mend::RunMode mode = mend::RunMode::Do;
    inspect::LayoutSide side = inspect::LayoutSide::Quote;
    Amount amount = Amount::First;
    Force force = Force::No;
    std::optional<inspect::TextEncoding> encoding;
    std::optional<QString> templateName;
    std::optional<QString> against; ///< what it was before
    std::optional<QString> filter;
    QString strOut;
    QString strScreens; ///< as typed
    std::optional<QString> wait; ///< seconds, as typed
    bool bList = false;
    bool bNewest = false;
    bool bSalvage = false;
    bool bChanged = false;
    bool bDescribe = false;
    bool bApply = false;
    std::optional<QString> source;
    std::optional<QString> valueFile;
    std::optional<QString> patchFile;
    std::optional<QString> parts; ///< as typed
    std::optional<QString> users; ///< a pattern of directories
    std::optional<QString> usersFile;
    std::optional<QString> resumeFile;
    std::optional<QString> stopAfter; ///< failures, as typed
    QString strLogin; ///< another person's on the server; empty for one's own
    QString strSection; ///< that is held back otherwise
    Side take = Side::Mine;
    QString strKeep = QStringLiteral("30d");
    QString strCommand; ///< as typed, without secrets
    QString strAccount; ///< of whoever typed it
    standalone::LogLines log = standalone::LogLines::Problems;

    bool isForMany() const { return users || usersFile; }
    bool isForced() const { return force == Force::Yes; }
    bool isDryRun() const { return mode == mend::RunMode::DryRun; }
};

// Each command prints its answer, or throws CFailure when it cannot do its work.

ExitStatus show(const Request& request);
ExitStatus tour(const Request& request);
ExitStatus check(const Request& request);
ExitStatus report(const Request& request);
ExitStatus supportBundle(const Request& request);
ExitStatus diffFiles(const Request& request);
ExitStatus applyPatch(const Request& request);
ExitStatus exportBundle(const Request& request);
ExitStatus importBundle(const Request& request);
ExitStatus recoverUser(const Request& request);
ExitStatus salvageUser(const Request& request);
ExitStatus reencodeUser(const Request& request);

ExitStatus listOptions(const Request& request);
ExitStatus getOption(const Request& request);
ExitStatus setOptions(const Request& request);
ExitStatus resetOptions(const Request& request);

ExitStatus listStocks(const Request& request);
ExitStatus findStock(const Request& request);
ExitStatus addStock(const Request& request);
ExitStatus removeStock(const Request& request);
ExitStatus moveStock(const Request& request);
ExitStatus importStocks(const Request& request);
ExitStatus exportStocks(const Request& request);

ExitStatus listTemplates(const Request& request);
ExitStatus showTemplate(const Request& request);
ExitStatus saveTemplate(const Request& request);
ExitStatus applyTemplate(const Request& request);
ExitStatus renameTemplate(const Request& request);
ExitStatus deleteTemplate(const Request& request);
ExitStatus exportTemplate(const Request& request);
ExitStatus importTemplates(const Request& request);

ExitStatus showLayout(const Request& request);
ExitStatus drawLayout(const Request& request);
ExitStatus fitLayout(const Request& request);

ExitStatus listSnapshots(const Request& request);
ExitStatus showSnapshot(const Request& request);
ExitStatus diffSnapshots(const Request& request);
ExitStatus restoreSnapshot(const Request& request);

ExitStatus undoEdit(const Request& request);
ExitStatus redoEdit(const Request& request);
ExitStatus listHistory(const Request& request);
ExitStatus showHistory(const Request& request);
ExitStatus diffHistory(const Request& request);
ExitStatus restoreHistory(const Request& request);
ExitStatus pruneHistory(const Request& request);

ExitStatus listSettings(const Request& request);
ExitStatus getSetting(const Request& request);
ExitStatus setSetting(const Request& request);
ExitStatus unsetSetting(const Request& request);

ExitStatus listSectors(const Request& request);
ExitStatus exportSectorCommand(const Request& request);

// Of the program indexuserctl-roam; the tool hands them over to it.
ExitStatus roamInit(const Request& request);
ExitStatus roamStatus(const Request& request);
ExitStatus roamPush(const Request& request);
ExitStatus roamPull(const Request& request);
ExitStatus roamHistory(const Request& request);
ExitStatus roamShow(const Request& request);
ExitStatus roamDiff(const Request& request);
ExitStatus roamRestore(const Request& request);
ExitStatus roamAsides(const Request& request);
ExitStatus roamResolve(const Request& request);
ExitStatus roamThin(const Request& request);

ExitStatus printManual(const Request& request);
