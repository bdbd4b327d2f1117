#pragma once

#include <QByteArray>
#include <QString>

/// All bytes of a file; throws CFailure when it cannot be read whole.
QByteArray contentOf(const QString& path);
