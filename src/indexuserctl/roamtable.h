#pragma once

#include "commandtable.h"

// The rows of the table of commands for what follows a user from machine to machine.

QVector<Command> roamCommands();

/// The options that only these have.
QVector<CommandOption> roamOptions();
