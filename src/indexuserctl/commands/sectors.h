#pragma once

#include <mend/recovery.h>

#include <QString>
#include <QStringList>

#include <optional>

/// What an export has written.
struct SectorExport {
    QString strPath;
    QStringList lines;
    int nLeftOut = 0; ///< stocks that the filter did not let through
};

/// Writes the stocks of \a sector to a dated file in \a directory, through the service. \a filter
/// is a line of sector filters; a dry run leaves no file. Throws CFailure, and then nothing is
/// written.
SectorExport exportSector(const QString& sector, const QString& directory,
                          const std::optional<QString>& filter, mend::RunMode mode);
