#include "terminal/completion.h"

#include "commands/settings.h"
#include "commands/shownuser.h"
#include "commandtable.h"
#include "terminal/output.h"

#include <inspect/optionvalues.h>
#include <inspect/plaintext.h>
#include <inspect/snapshots.h>

#include <standalone/standalone.h>

#include <QStandardPaths>

#include <algorithm>

namespace {

struct TypedLine {
    QStringList words; ///< before the last one, without options
    QStringList options;
    QString strConfigDir = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    QString strOption; ///< whose value the last word is
};

bool takesValue(const QString& option)
{
    return QStringList { "--config-dir", "--template", "--against", "--out", "--filter" }.contains(
        option);
}

TypedLine typedLine(const QStringList& words)
{
    TypedLine line;
    for (const QString& word : words) {
        if (line.strOption == QLatin1String("--config-dir")) {
            line.strConfigDir = word;
        }
        if (!line.strOption.isEmpty()) {
            line.strOption.clear();
        } else if (word.startsWith('-')) {
            line.options.append(word);
            line.strOption = takesValue(word) ? word : QString();
        } else {
            line.words.append(word);
        }
    }
    return line;
}

const Command* commandOf(const QStringList& words)
{
    const auto& all = commands();
    const auto it = std::find_if(all.begin(), all.end(), [&](const Command& command) {
        const QStringList names = command.strName.split(' ');
        return words.mid(0, names.size()) == names;
    });
    return it == all.end() ? nullptr : &*it;
}

QStringList commandNames(const QStringList& words)
{
    QStringList names;
    for (const Command& command : commands()) {
        const QStringList name = command.strName.split(' ');
        if (name.size() > words.size() && name.mid(0, words.size()) == words) {
            names.append(name[words.size()]);
        }
    }
    return names;
}

QStringList templateNames(const TypedLine& line)
{
    const auto file = inspect::readUserFile(inspect::livePath(line.strConfigDir));
    const auto side = line.options.contains("--trade") ? inspect::LayoutSide::Trade
                                                       : inspect::LayoutSide::Quote;
    QStringList names;
    const auto templates = inspect::templatesOf(inspect::recordsOf(file.document), side);
    for (const auto& layout : templates) {
        names.append(layout.strName);
    }
    return names;
}

QStringList snapshotDates(const TypedLine& line)
{
    QStringList dates;
    const auto snapshots = inspect::snapshots(line.strConfigDir);
    for (const inspect::Snapshot& snapshot : snapshots) {
        dates.append(snapshot.date.toString(Qt::ISODate));
    }
    return dates;
}

QStringList sectorCodes(const TypedLine& line)
{
    QStringList codes;
    const auto sectors
        = standalone::readSectors(line.strConfigDir + QStringLiteral("/sectors.json")).sectors;
    for (const auto& sector : sectors) {
        codes.append(sector.code);
    }
    return codes;
}

QStringList assignments()
{
    QStringList names = inspect::optionNames();
    for (QString& name : names) {
        name += '=';
    }
    return names;
}

QStringList wordsOf(const Command& command, const TypedLine& line)
{
    const int nWord = line.words.size() - command.strName.split(' ').size();
    const QString strWord = command.words.value(std::min(nWord, command.words.size() - 1));
    const bool bTemplate = command.strName.startsWith("template");
    if (strWord.contains("PART")) {
        return shownParts();
    }
    if (strWord.contains("DATE")) {
        return snapshotDates(line);
    }
    if (strWord.contains("NAME=VALUE")) {
        return assignments();
    }
    if (strWord == QLatin1String("CODE") && command.strName == QLatin1String("export-sector")) {
        return sectorCodes(line);
    }
    if (command.strName == QLatin1String("setting get")) {
        standalone::setConfigDir(line.strConfigDir);
        return settingKeys();
    }
    if (strWord == QLatin1String("NAME")) {
        return bTemplate ? templateNames(line) : inspect::optionNames();
    }
    return {};
}

QStringList candidates(const TypedLine& line, const QString& last)
{
    const Command* const pCommand = commandOf(line.words);
    if (line.strOption == QLatin1String("--template")) {
        return templateNames(line);
    }
    if (line.strOption == QLatin1String("--against")) {
        const bool bLayout = pCommand != nullptr && pCommand->strName.startsWith("layout");
        return snapshotDates(line) + (bLayout ? templateNames(line) : QStringList());
    }
    if (!line.strOption.isEmpty()) {
        return {};
    }
    if (last.startsWith('-')) {
        const QStringList common { "--config-dir", "--help" };
        return pCommand == nullptr ? common + QStringList("--version") : pCommand->options + common;
    }
    return pCommand == nullptr ? commandNames(line.words) : wordsOf(*pCommand, line);
}

} // namespace

ExitStatus complete(const QStringList& words)
{
    const QString strLast = words.value(words.size() - 1);
    QStringList found = candidates(typedLine(words.mid(0, words.size() - 1)), strLast);
    found.removeDuplicates();
    for (const QString& candidate : found) {
        // What could not be typed would be shown otherwise than it is.
        if (candidate.startsWith(strLast) && !inspect::hasControlCharacter(candidate)) {
            printLine(candidate);
        }
    }
    return ExitStatus::Ok;
}
