#pragma once

#include <QString>
#include <QVector>

namespace inspect {

struct EncodingDefect {
    int nOffset;
    QString strRule; ///< "encoding" or "declared-encoding"
    QString strText;
};

/// Where the text of a file, read as UTF-8, was none, and where the file calls itself something
/// else; by offset, at most one of each.
QVector<EncodingDefect> encodingDefects(const QString& text);

} // namespace inspect
