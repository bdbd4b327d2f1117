#pragma once

#include "inspect/userrecords.h"

#include <QString>
#include <QStringList>
#include <QVector>

namespace inspect {

/// A value that the client takes and keeps, and that is hardly what the user wants.
struct Doubt {
    QString strRule; ///< what check() calls it, stable: "date", "code"; empty: nothing is doubtful
    QString strText; ///< for people, with the value
    QString strPlace = {}; ///< the list or layout that it stands in; empty for an option

    bool isNull() const { return strRule.isEmpty(); }
};

/// Of a saved option's text, as the file has it after a save.
Doubt optionDoubt(const KW::OptionRow& row, const QString& value);

/// Of a stock by what tells it from others: letters and digits. A market may be any.
Doubt marketDoubt(const QString& market);
Doubt codeDoubt(const QString& code);
/// Of one that stands in its list already.
Doubt doubleDoubt(const QString& market, const QString& code);

/// Of a window without a size, unless it is maximized, or larger than any desktop.
Doubt windowDoubt(const KW::CLayoutWindow& window);

/// All that is doubtful of a user.
QVector<Doubt> doubtsOf(const UserRecords& records);

/// What \a after has and \a before has not, or not as often, wherever: what a user has already is
/// no news when it moves.
///
///     for (const inspect::Doubt& doubt : inspect::newDoubts(edit.before, edit.expected)) { ... }
QVector<Doubt> newDoubts(const UserRecords& before, const UserRecords& after);

/// The markets of all lists, each once.
QStringList marketsOf(const KW::CustomStockMap& stocks);

} // namespace inspect
