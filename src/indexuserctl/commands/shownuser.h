#pragma once

#include "terminal/output.h"

#include <inspect/userrecords.h>

// The tables in which a user is shown, whole or in parts.

Table optionTable(const KW::paramSettingForClient& options, Secrets secrets);
/// The lists with how many stocks each has, and the stocks of all of them.
QVector<Table> stockTables(const KW::CustomStockMap& stocks);

Table windowTable(const QString& name, const QString& title,
                  const QVector<inspect::Layout>& layouts);

/// Prints the tables of \a parts, all without any; throws CFailure for a part that there is not.
ExitStatus showUser(const Request& request, const inspect::UserRecords& records,
                    const QStringList& parts);

/// The names of the parts.
QStringList shownParts();
