#pragma once

#include "commands.h"
#include "many/useranswer.h"

// The pages of many users in one directory, which --out names, and their index.

/// Makes the directory unless it is there, or this is a dry run. Throws CFailure.
void makePages(const Request& request);

/// The page of a user: a name that only he has, and that he has each time.
QString pagePath(const Request& request, const QString& user);

/// Writes index.html: who has which findings, each with his page. Throws CFailure.
void writeIndex(const Request& request, const QVector<UserAnswer>& answers);
