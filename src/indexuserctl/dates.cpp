#include "dates.h"

#include "failure.h"

#include <inspect/snapshots.h>

namespace {

QDate latestDay(const QString& configDir)
{
    const QVector<inspect::Snapshot> all = inspect::snapshots(configDir);
    if (all.isEmpty()) {
        throw CFailure(ExitStatus::Negative, QStringLiteral("there is no dated copy yet"));
    }
    return all.first().date;
}

} // namespace

QString datedWord(const QString& word, const QString& configDir)
{
    switch (dateWords().indexOf(word)) {
    case 0:
        return QDate::currentDate().toString(Qt::ISODate);
    case 1:
        return QDate::currentDate().addDays(-1).toString(Qt::ISODate);
    case 2:
        return latestDay(configDir).toString(Qt::ISODate);
    default:
        return word;
    }
}

QStringList dateWords()
{
    return { "today", "yesterday", "latest" };
}
