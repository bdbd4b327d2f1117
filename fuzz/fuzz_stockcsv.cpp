// A CSV file of stocks: what is read is written and read again as it stands.

#include "fuzzkit.h"

#include <inspect/stockcsv.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray content(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const inspect::CsvStocks read = inspect::stocksFromCsv(content);
    fuzzkit::require(read.strError.isEmpty() || read.stocks.isEmpty(), read.strError);
    const QByteArray csv = inspect::stocksToCsv(read.stocks);
    const inspect::CsvStocks again = inspect::stocksFromCsv(csv);
    fuzzkit::require(again.strError.isEmpty() && inspect::stocksToCsv(again.stocks) == csv, csv);
    return 0;
}
