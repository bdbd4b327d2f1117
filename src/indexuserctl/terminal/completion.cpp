#include "terminal/completion.h"

#include "commands/settings.h"
#include "commands/shownuser.h"
#include "commandtable.h"
#include "dates.h"
#include "terminal/output.h"

#include <inspect/optionvalues.h>
#include <inspect/plaintext.h>
#include <inspect/snapshots.h>
#include <mend/history.h>
#include <platform/filenames.h>

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
    return option == QLatin1String("--config-dir")
        || (hasCommandOption(option) && !commandOption(option).strValue.isEmpty());
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

QStringList dates(const TypedLine& line)
{
    QStringList dates = dateWords();
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
        = standalone::readSectors(line.strConfigDir + '/' + KW::c_szSectorsFile).sectors;
    for (const auto& sector : sectors) {
        codes.append(sector.code);
    }
    return codes;
}

// One can come from several lists, and with a list before it from that one only.
QStringList stockWords(const TypedLine& line, const QString& field)
{
    const auto file = inspect::readUserFile(inspect::livePath(line.strConfigDir));
    const auto stocks = inspect::recordsOf(file.document).stocks;
    const QString strList = line.words.value(2);
    QStringList words;
    for (auto it = stocks.begin(); it != stocks.end(); ++it) {
        const QString strNumber = QString::number(it.key());
        if (field == QLatin1String("LIST") || field == QLatin1String("TO")) {
            words.append(strNumber);
            continue;
        }
        for (const auto& pDetail : *it) {
            const QString strMarket = QString::fromStdString(pDetail->market);
            const bool bHere = line.words.size() <= 2 || strNumber == strList;
            if (field == QLatin1String("MARKET") && bHere) {
                words.append(strMarket);
            } else if (bHere && (line.words.size() <= 3 || strMarket == line.words[3])) {
                words.append(QString::fromStdString(pDetail->code));
            }
        }
    }
    return words;
}

QStringList edits(const TypedLine& line)
{
    QStringList numbers;
    const auto entries = mend::CHistory(line.strConfigDir).entries();
    for (const mend::HistoryEntry& entry : entries) {
        numbers.append(QString::number(entry.nNumber));
    }
    return numbers;
}

QStringList keys(const TypedLine& line)
{
    standalone::setConfigDir(line.strConfigDir);
    return settingKeys();
}

QStringList assignments()
{
    QStringList names = inspect::optionNames();
    for (QString& name : names) {
        name += '=';
    }
    return names;
}

// The parts that a list which has begun does not name yet, each behind it.
QStringList partLists(const QString& typed)
{
    const QString strBegun = typed.left(typed.lastIndexOf(',') + 1);
    const QStringList begun = strBegun.split(',');
    QStringList lists;
    const auto parts = shownParts();
    for (const QString& part : parts) {
        if (!begun.contains(part)) {
            lists.append(strBegun + part);
        }
    }
    return lists;
}

QStringList wordsOf(const Command& command, const TypedLine& line)
{
    const int nWord = line.words.size() - command.strName.split(' ').size();
    const QString strWord = command.words.value(std::min(nWord, command.words.size() - 1))
                                .remove('[')
                                .remove(']')
                                .remove(QStringLiteral("..."));
    const bool bTemplate = command.strName.startsWith("template");
    if (nWord >= command.words.size() && !command.words.join(' ').contains("...")) {
        return {};
    }
    if (strWord == QLatin1String("PART")) {
        return shownParts();
    }
    if (strWord.startsWith("DATE")) {
        return dates(line);
    }
    if (strWord.contains("NAME=VALUE")) {
        return assignments();
    }
    if (strWord == QLatin1String("CODE") && command.strName == QLatin1String("export-sector")) {
        return sectorCodes(line);
    }
    if (strWord == QLatin1String("KEY")) {
        return keys(line);
    }
    const bool bHere = !command.strName.startsWith("roam "); // nobody waits for a server's numbers
    if (bHere && (strWord == QLatin1String("N") || strWord == QLatin1String("N2"))) {
        return edits(line);
    }
    if (command.strName.startsWith("stock ")
        && QStringList { "LIST", "TO", "MARKET", "CODE" }.contains(strWord)) {
        return stockWords(line, strWord);
    }
    if (strWord == QLatin1String("NAME") && !command.strName.startsWith("stock ")) {
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
        return dates(line) + (bLayout ? templateNames(line) : QStringList());
    }
    if (hasCommandOption(line.strOption)
        && commandOption(line.strOption).strValue.contains("DATE")) {
        return dates(line);
    }
    if (line.strOption == QLatin1String("--parts")) {
        return partLists(last);
    }
    if (line.strOption == QLatin1String("--take")) {
        return { "mine", "theirs" };
    }
    if (!line.strOption.isEmpty()) {
        return {};
    }
    if (last.startsWith('-')) {
        const QStringList common { "--config-dir", "--json", "--jsonl", "--wide", "--help" };
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
