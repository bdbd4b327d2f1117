#pragma once

#include <roaming/desk.h>

/// The settings store of standalone, for a desk; it knows the user's directory by
/// standalone::setConfigDir(). Throws CFailure for a value that cannot be read: none of them
/// would travel then, and nobody be told.
roaming::SettingsAccess settingsAccess();
