#pragma once

#include "format/sectorfilter.h"

#include <QDomElement>

namespace KW {

/// The section of filters that files of old have; no save writes it.
constexpr char c_szSectorFilter[] = "SectorFilter";

// The one-line form of a table of filters:
//
//     801010=Banks,1|绝对权重|0|0|0.050,2|前收盘|3|0|10.000:801020=...
//
// An item is id|indicator|compareOp|extra|threshold. Separators in texts are not escaped.

/// Reads the groups of \a line into \a table, replacing those with the same key. What is no group
/// or no item is passed over; what is no number is 0.
void parseSectorFilters(const QString& line, SectorFilterMap& table);

QString formatSectorFilters(const SectorFilterMap& table);

/// Reads every line of the first section SectorFilter below \a parent into \a table.
void readSectorFilters(const QDomElement& parent, SectorFilterMap& table);

void writeSectorFilters(QDomElement& parent, QDomDocument& doc, const SectorFilterMap& table);

} // namespace KW
