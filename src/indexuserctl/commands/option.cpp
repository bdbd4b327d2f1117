#include "commands/edit.h"
#include "commands/shownuser.h"
#include "commands/wholefile.h"
#include "failure.h"
#include "terminal/secret.h"

#include <inspect/closest.h>
#include <inspect/optionvalues.h>

#include <algorithm>
#include <functional>

namespace {

Table optionsOf(const Request& request)
{
    return optionTable(inspect::recordsOf(liveFile(request).document).options, request.secrets);
}

void keepRows(Table& table, const std::function<bool(const QVector<QJsonValue>&)>& isKept)
{
    table.rows.erase(std::remove_if(table.rows.begin(), table.rows.end(),
                                    [&](const auto& row) { return !isKept(row); }),
                     table.rows.end());
}

void requireOption(const QString& name)
{
    if (inspect::findOption(name) == nullptr) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("there is no option '%1'").arg(name)
                           + inspect::didYouMean(name, inspect::optionNames()));
    }
}

// Of the options that are listed.
Table descriptions(const Table& options)
{
    Table table { "descriptions", "Options", { "option", "about", "range", "unit" } };
    for (const auto& row : options.rows) {
        const KW::OptionRow& option = *inspect::findOption(row[0].toString());
        table.rows.append(
            { option.strAttribute, option.strAbout, KW::optionRange(option), option.strUnit });
    }
    return table;
}

struct Assignment {
    QString strName;
    QString strValue;
};

// A value that is not among the words: others may see those.
Assignment assignmentFromOutside(const Request& request)
{
    const QString strName = request.words.first();
    if (request.words.size() > 1 || strName.contains('=')) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("--from-file: the name of one option goes with it"));
    }
    requireOption(strName);
    return { strName, request.valueFile ? valueIn(*request.valueFile) : readSecret(strName) };
}

Assignment assignmentOf(const QString& word)
{
    const int nEquals = word.indexOf('=');
    if (nEquals < 0) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("'%1' is not of the form NAME=VALUE").arg(word));
    }
    return { word.left(nEquals), word.mid(nEquals + 1) };
}

QVector<Assignment> assignmentsOf(const Request& request)
{
    const bool bSecret = request.words.size() == 1 && inspect::isSecret(request.words.first());
    if (request.valueFile || bSecret) {
        return { assignmentFromOutside(request) };
    }
    QVector<Assignment> assignments;
    for (const QString& word : request.words) {
        assignments.append(assignmentOf(word));
    }
    return assignments;
}

ExitStatus assign(const Request& request, const QVector<Assignment>& assignments)
{
    return edit(request, [&](KW::UserConfigInterface& service) {
        KW::paramSettingForClient options = service.getParamSettingForClient();
        for (const Assignment& each : assignments) {
            const QString strError = inspect::setOption(options, each.strName, each.strValue);
            if (!strError.isEmpty()) {
                throw CFailure(ExitStatus::Usage, strError);
            }
        }
        service.setParamSettingForClient(options);
    });
}

} // namespace

ExitStatus listOptions(const Request& request)
{
    Table table = optionsOf(request);
    if (request.bChanged) {
        keepRows(table, [](const auto& row) { return row[2] != row[3]; });
    }
    print({ request.bDescribe ? descriptions(table) : table }, request.format);
    return ExitStatus::Ok;
}

ExitStatus getOption(const Request& request)
{
    const QString strName = request.words.first();
    requireOption(strName);
    Table table = optionsOf(request);
    keepRows(table, [&](const auto& row) { return row[0] == strName; });
    if (request.format == Format::Json) {
        print({ table }, request.format);
    } else {
        printLine(table.rows.first()[2].toVariant().toString());
    }
    return ExitStatus::Ok;
}

ExitStatus setOptions(const Request& request)
{
    return assign(request, assignmentsOf(request));
}

ExitStatus resetOptions(const Request& request)
{
    QVector<Assignment> assignments;
    for (const QString& name : request.words) {
        requireOption(name);
        assignments.append({ name, inspect::optionText({}, *inspect::findOption(name)) });
    }
    return assign(request, assignments);
}
