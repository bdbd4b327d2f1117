#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace inspect {

/// All that there is to know of a user on one HTML page without outside parts: what check() finds,
/// options against their defaults, stock lists, drawings of all layouts and templates, sections of
/// other managers, dated copies. The password is not on it. The live file of
/// \a configDir must be whole.
QByteArray report(const QString& configDir, const QDateTime& now);

} // namespace inspect
