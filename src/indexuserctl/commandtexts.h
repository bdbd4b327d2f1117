#pragma once

#include "commandtable.h"

/// What the man page says of a command beyond its line in the help.
struct CommandText {
    QString strCommand;
    QString strAbout; ///< a paragraph
    QString strExample; ///< the words behind the tool's name; the tests run them
};

/// One for each command, by its name.
const CommandText& textOf(const Command& command);
