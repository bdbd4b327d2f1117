#pragma once

#include "commands.h"

#include <QByteArray>

/// The page of the user, or what changed since --against. Throws CFailure without a whole file.
QByteArray reportPage(const Request& request);
