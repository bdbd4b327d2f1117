#pragma once

#include "inspect/check.h"
#include "inspect/userrecords.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVector>

#include <optional>

namespace inspect {

/// An edit of the user's file, as the page tells of it.
struct ReportEdit {
    int nNumber = 0;
    QDateTime time;
    QString strAccount;
    QString strCommand; ///< without secrets
};

/// The user as it was: the page compares.
struct ReportBefore {
    QString strName; ///< what people call it: "2024-01-31"
    UserRecords records;
};

/// What the file does not tell.
struct ReportFacts {
    QDateTime now;
    QVector<Finding> findings = {}; ///< those that check() of the file cannot know
    QVector<ReportEdit> edits = {}; ///< the oldest first
    std::optional<ReportBefore> before = {};
};

/// All that there is to know of a user on one HTML page without outside parts, to be read with and
/// without scripts: what check() finds, options against their defaults, stock lists, pictures of
/// all layouts and templates, sections of other managers, dated copies, history. With a user of
/// before, what changed since stands first everywhere. The password is not on it. The live file of
/// \a configDir must be whole.
///
///     const QByteArray page = inspect::report(configDir, { QDateTime::currentDateTime() });
QByteArray report(const QString& configDir, const ReportFacts& facts);

} // namespace inspect
