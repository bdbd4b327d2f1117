#include "terminal/answer.h"

#include "commandtable.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

constexpr int c_nSchema = 2;

QJsonObject objectOf(const Table& table, const QVector<QJsonValue>& row)
{
    QJsonObject object;
    for (int i = 0; i < row.size(); ++i) {
        object.insert(table.columns[i], row[i]);
    }
    return object;
}

QJsonArray arrayOf(const Table& table)
{
    QJsonArray array;
    for (const auto& row : table.rows) {
        array.append(objectOf(table, row));
    }
    return array;
}

QJsonValue orNull(const QString& text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QJsonObject errorOf(const CFailure& failure)
{
    const int nLine = failure.place().nLine;
    return { { "code", statusName(failure.status()) },
             { "message", failure.message() },
             { "file", orNull(failure.place().strFile) },
             { "line", nLine > 0 ? QJsonValue(nLine) : QJsonValue() } };
}

} // namespace

CAnswer::CAnswer(const AnswerForm& form)
    : m_object { { "schema", c_nSchema },     { "command", orNull(form.strCommand) },
                 { "dryRun", form.bDryRun },  { "changes", QJsonArray() },
                 { "receipt", QJsonValue() }, { "error", QJsonValue() } }
{
}

void CAnswer::add(const Table& table)
{
    const bool bOne = table.shape == TableShape::One && !table.rows.isEmpty();
    m_object[table.strName]
        = bOne ? QJsonValue(objectOf(table, table.rows.first())) : QJsonValue(arrayOf(table));
}

void CAnswer::fail(const CFailure& failure)
{
    m_object["error"] = errorOf(failure);
}

void CAnswer::end(ExitStatus status)
{
    m_object["status"] = static_cast<int>(status);
}

QByteArray CAnswer::toJson() const
{
    return QJsonDocument(m_object).toJson();
}

QByteArray lineOf(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}
