#pragma once

#include "inspect/optionvalues.h"
#include "inspect/patch.h"

#include <QMap>

namespace inspect {

/// All that a user has of a part, by name: of templates several may have the same.
using PatchValues = QMap<QString, QVector<QJsonValue>>;
PatchValues patchValues(PatchPart part, const UserRecords& records);

/// An option that is saved, and no secret. Null is none.
bool isPortable(const KW::OptionRow* pRow);

/// The names of a part, each once; of templates in the order of the file.
QStringList patchNames(PatchPart part, const UserRecords& records);

/// \a value as patchValues() would have it; what no user can have as it is.
QJsonValue patchValue(PatchPart part, const QJsonValue& value);

/// Why no user can be given \a change, beginning with its name; empty where one can.
QString changeError(const PatchChange& change);

} // namespace inspect
