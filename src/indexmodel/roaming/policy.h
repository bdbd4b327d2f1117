#pragma once

#include <QString>
#include <QStringList>

namespace roaming {

/// What becomes of a part of a user between machines.
enum class Rule {
    Roams,
    ByArrangement, ///< roams, one for each arrangement of screens
    Held, ///< only when asked for by name: what trades by itself could trade twice
    Local, ///< stays
};

/// Of a section of the user's file, by name. What nobody knows is local.
Rule ruleOf(const QString& section);

/// The sections with \a rule, in the order of a file.
QStringList sectionsWith(Rule rule);

/// Whether something has the name of a secret, however it is written: somebody may have done it by
/// hand.
bool isSecretName(const QString& name);

/// Whether an option, by its attribute, stays on its machine: secrets, what belongs to the site,
/// and the state of this machine's data.
bool isLocalOption(const QString& attribute);

/// Whether a value of the shared settings stays on its machine.
bool isLocalSetting(const QString& section, const QString& key);

} // namespace roaming
