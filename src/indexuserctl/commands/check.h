#pragma once

#include "commands.h"

#include "terminal/table.h"

#include <inspect/check.h>

#include <QByteArray>

/// What the live file itself does not show: leftovers of writes, and a dated copy that is newer.
/// The file is whole.
QVector<inspect::Finding> findingsBeside(const Request& request);

/// What check finds for a request without words: of the live file, and beside it.
Table userFindings(const Request& request);

/// What check --json answers of the files that the request names.
QByteArray checkAnswer(const Request& request);
