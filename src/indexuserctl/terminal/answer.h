#pragma once

#include "failure.h"
#include "terminal/output.h"

#include <QByteArray>
#include <QJsonObject>

/// The answer of a command as JSON, whatever the command and whatever became of it: one object with
/// "schema", "command", "dryRun", "status", "changes", "receipt" and "error", and the tables of the
/// command by their names. docs/json/ has the forms.
///
///     CAnswer answer({ Format::Json, "stock list" });
///     answer.add(table);
///     answer.end(ExitStatus::Ok);
///     ... answer.toJson() ...
class CAnswer {
public:
    explicit CAnswer(const AnswerForm& form);

    void add(const Table& table);
    void fail(const CFailure& failure);
    void end(ExitStatus status);

    QByteArray toJson() const;
    const QJsonObject& toObject() const { return m_object; }

private:
    QJsonObject m_object;
};

/// An object as one line, with its line feed.
QByteArray lineOf(const QJsonObject& object);
