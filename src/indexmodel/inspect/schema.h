#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

namespace inspect {

/// A place where a file breaks the schema of user files, docs/indexUserConfig.xsd.
struct SchemaError {
    int nLine = 0; ///< from 1
    QString strText;
};

/// All such places of UTF-8 text by line; none in what a save writes. The validator's own reader is
/// stricter than the service: what it cannot read is an error as well. Any thread.
QVector<SchemaError> schemaErrors(const QByteArray& content);

} // namespace inspect
