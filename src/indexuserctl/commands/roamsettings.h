#pragma once

#include <roaming/desk.h>

/// The settings store of standalone, for a desk; it knows the user's directory by
/// standalone::setConfigDir(). Throws CFailure for a value that cannot be read: it would be taken
/// for one that was removed.
roaming::SettingsAccess settingsAccess();
