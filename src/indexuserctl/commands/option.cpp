#include "commands/edit.h"
#include "commands/shownuser.h"
#include "commands/wholefile.h"
#include "failure.h"

#include <inspect/closest.h>
#include <inspect/optionvalues.h>

#include <algorithm>

namespace {

Table optionsOf(const Request& request)
{
    return optionTable(inspect::recordsOf(liveFile(request).document).options, request.secrets);
}

} // namespace

ExitStatus listOptions(const Request& request)
{
    print({ optionsOf(request) }, request.format);
    return ExitStatus::Ok;
}

ExitStatus getOption(const Request& request)
{
    const QString strName = request.words.first();
    if (inspect::findOption(strName) == nullptr) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("there is no option '%1'").arg(strName)
                           + inspect::didYouMean(strName, inspect::optionNames()));
    }
    Table table = optionsOf(request);
    const auto isOther = [&](const QVector<QJsonValue>& row) { return row[0] != strName; };
    table.rows.erase(std::remove_if(table.rows.begin(), table.rows.end(), isOther),
                     table.rows.end());
    if (request.format == Format::Json) {
        print({ table }, request.format);
    } else {
        printLine(table.rows.first()[2].toVariant().toString());
    }
    return ExitStatus::Ok;
}

ExitStatus setOptions(const Request& request)
{
    return edit(request, [&](KW::UserConfigInterface& service) {
        KW::paramSettingForClient options = service.getParamSettingForClient();
        for (const QString& word : request.words) {
            const int nEquals = word.indexOf('=');
            const QString strError = nEquals < 0
                ? QStringLiteral("'%1' is not of the form NAME=VALUE").arg(word)
                : inspect::setOption(options, word.left(nEquals), word.mid(nEquals + 1));
            if (!strError.isEmpty()) {
                throw CFailure(ExitStatus::Usage, strError);
            }
        }
        service.setParamSettingForClient(options);
    });
}
