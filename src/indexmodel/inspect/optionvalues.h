#pragma once

#include "format/optionsettings.h"

#include <QString>
#include <QStringList>

namespace inspect {

using KW::kindOf;
using OptionKind = KW::ValueKind;

/// The row of an option by its exact name; null when there is none.
const KW::OptionRow* findOption(const QString& name);

/// All names, in the order of KW::optionTable().
QStringList optionNames();

/// The text that an option has in a file.
QString optionText(const KW::paramSettingForClient& options, const KW::OptionRow& row);

/// Whether people should not see the value over a shoulder.
bool isSecret(const QString& option);

/// Sets an option from text. Stricter than the file's reader, which takes any text for some number:
/// a value of another kind, out of range, unknown or never saved is refused. Returns what is wrong,
/// or nothing, and then the option is set.
///
///     const QString strError = inspect::setOption(options, "tickRestoreDay", "3");
QString setOption(KW::paramSettingForClient& options, const QString& name, const QString& value);

} // namespace inspect
