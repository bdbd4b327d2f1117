#pragma once

#include <QString>

/// A text that nobody should read over a shoulder or in the list of processes: asked for twice
/// without echo where standard input is a terminal, its first line otherwise. \a name is what
/// people are asked for. Throws CFailure when the two differ or nothing comes.
QString readSecret(const QString& name);
