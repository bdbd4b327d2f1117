#pragma once

#include <QStringList>

/// The keys in the shared settings store of the user's directory.
QStringList settingKeys();
