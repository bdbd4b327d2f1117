#pragma once

#include "commandline.h"
#include "many/children.h"

/// Whether a command line is one for each of many users, or of many files a line each.
bool isForMany(const CommandLine& line);

/// Answers a command line for each of its users, or files: as many at once as there are cores, in
/// processes of their own, by \a answer. Prints each answer when it is there, below its user's name
/// or as a line of JSON, and what it comes to at the end. Of reports there is an index, too. The
/// status is the gravest. Throws CFailure; whoever is under way then is waited for.
ExitStatus answerMany(const CommandLine& line, const QStringList& words, AnswerWords answer);
