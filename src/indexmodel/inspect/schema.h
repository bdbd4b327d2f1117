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

/// What asking a schema gave.
struct SchemaAnswer {
    QVector<SchemaError> errors; ///< by line
    QString strFailure; ///< why the schema could not be asked about all of it; empty if it could
};

/// All such places of UTF-8 text; none in what a save writes. The validator's own reader is
/// stricter than the service: what it cannot read is an error as well. Text may be nested to any
/// depth; entities of more than 4 MiB in all are a failure. Any thread.
///
///     const inspect::SchemaAnswer answer = inspect::askSchema(content);
SchemaAnswer askSchema(const QByteArray& content);

/// The same of another schema, which is read for this one question.
SchemaAnswer askSchema(const QByteArray& content, const QByteArray& schema);

} // namespace inspect
