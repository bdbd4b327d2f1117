#pragma once

#include <format/customstocks.h>

#include <QByteArray>
#include <QString>

namespace inspect {

/// Custom stock lists as a table: list, market, code, name, with a heading; UTF-8, quoted as in
/// RFC 4180. A list without stocks is a row without them.
QByteArray stocksToCsv(const KW::CustomStockMap& stocks);

struct CsvStocks {
    KW::CustomStockMap stocks;
    QString strError; ///< what is wrong; the lists are then empty
    int nErrorLine = 0; ///< where, counted from 1
};

/// Reads such a table, all of it or nothing. A byte order mark is skipped.
CsvStocks stocksFromCsv(const QByteArray& csv);

} // namespace inspect
