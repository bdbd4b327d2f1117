#pragma once

#include "terminal/table.h"

#include <QString>

#include <string>

/// How a table looks where it goes.
struct TableLook {
    bool bColor = false;
    int nWidth = 0; ///< columns of the terminal, to which tables are shortened; 0 for all of them
};

/// A value as people read it: "(absent)" for null, "yes" and "no", lists with commas.
QString cellText(const QJsonValue& value);

/// A table with its title as lines; wide characters count twice. Where it is wider than the
/// terminal, its columns are shortened from the right on, each cut cell with an ellipsis; if that
/// is not enough, the last ones are left out.
std::string tableText(const Table& table, const TableLook& look);
