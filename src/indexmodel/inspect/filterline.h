#pragma once

#include <QString>

namespace inspect {

/// What is wrong with a line of sector filters, by group and item, counted from 1; empty when
/// nothing is. The library would drop such a piece without a word.
QString filterLineError(const QString& line);

/// The same for a line that is to filter an export: besides, each name can name a file, and each
/// indicator and operator is one of those that the export knows. To the library an unknown one is
/// no error, and lets every stock through or none.
QString exportFilterError(const QString& line);

/// Whether \a line has a group for \a sector.
bool hasFilterFor(const QString& line, const QString& sector);

} // namespace inspect
