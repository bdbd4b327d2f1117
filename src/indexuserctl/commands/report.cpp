#include "commands/report.h"

#include "commands/check.h"
#include "commands/earlier.h"
#include "commands/history.h"
#include "commands/snapshot.h"
#include "commands/wholefile.h"
#include "failure.h"
#include "terminal/output.h"

#include <inspect/report.h>

namespace {

// A history that cannot be read is for `history list` to complain of: the page shows the rest.
QVector<inspect::ReportEdit> editsOf(const Request& request)
{
    QVector<inspect::ReportEdit> edits;
    const auto entries = mend::CHistory(request.strConfigDir).entries();
    for (const mend::HistoryEntry& entry : entries) {
        edits.append({ entry.nNumber, entry.time, entry.strAccount, commandText(entry) });
    }
    return edits;
}

inspect::ReportBefore before(const Request& request, const QString& word)
{
    if (!namesUser(word)) {
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("--against: there is no date or file '%1'").arg(word));
    }
    const Earlier earlier = earlierUser(request, word);
    return { earlier.strName, earlier.records };
}

} // namespace

QByteArray reportPage(const Request& request)
{
    liveFile(request);
    inspect::ReportFacts facts {
        QDateTime::currentDateTime(), findingsBeside(request), editsOf(request), {}
    };
    if (request.against) {
        facts.before = before(request, *request.against);
    }
    return harmlessPage(inspect::report(request.strConfigDir, facts));
}

ExitStatus report(const Request& request)
{
    writeFile(request, request.strOut, reportPage(request));
    if (isRecorded()) {
        record({ userFindings(request) });
    }
    return ExitStatus::Ok;
}
