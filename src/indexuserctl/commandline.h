#pragma once

#include "commandtable.h"
#include "terminal/output.h"

#include <QStringList>

/// What \a words ask for so far as anybody can tell who does not understand them all.
AnswerForm answerForm(const QStringList& words);

/// What the words of a command line mean.
struct CommandLine {
    const Command* pCommand = nullptr; ///< null: there is only \c strText to print
    Request request;
    AnswerForm form;
    QString strText; ///< help or version
};

/// Reads the words behind the name of the tool; throws CFailure when they mean nothing here.
CommandLine parseCommandLine(const QStringList& words);

/// The words of a command line without the options \a names and their values.
QStringList withoutOptions(const QStringList& words, const QStringList& names);

/// All commands, options and exit statuses in few lines.
QString helpText();
