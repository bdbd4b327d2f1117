#pragma once

#include "commands.h"

#include <QVector>

/// An option of the command line: how it is written and what it does to a request.
struct CommandOption {
    QString strName; ///< with its dashes
    QString strValue; ///< what its value is called; empty for a switch
    QString strHelp;
    void (*apply)(Request& request, const QString& value);
};

/// One command: the parser, --help, the man page and the completion all come from this.
struct Command {
    QString strName; ///< one or two words
    QStringList words; ///< NAME one, [NAME] none or one, NAME... one or more, [NAME...] any number
    QStringList options; ///< by name
    QString strHelp;
    ExitStatus (*run)(const Request& request);
};

const QVector<Command>& commands();
const CommandOption& commandOption(const QString& name);
bool hasCommandOption(const QString& name);
/// Whether the command cannot do without the option, which it has.
bool isNeeded(const Command& command, const QString& name);

/// "template save [--dry-run] [--trade] NAME".
QString usageOf(const Command& command);

struct StatusText {
    ExitStatus status;
    QString strName; ///< for programs
    QString strMeaning;
};

const QVector<StatusText>& statusTexts();
QString statusName(ExitStatus status);
