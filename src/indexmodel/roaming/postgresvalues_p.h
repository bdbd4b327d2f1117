#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUuid>
#include <QVector>

#include <libpq-fe.h>

#include <memory>
#include <optional>

namespace roaming {

/// A value on its way to the server, in the server's binary form.
struct Value {
    Oid type = 0;
    std::optional<QByteArray> bytes; ///< none: null
};

Value numberValue(qint64 number);
Value flagValue(bool flag);
Value uuidValue(const QUuid& uuid);
Value bytesValue(const QByteArray& bytes);
Value textValue(const QString& text);
Value timeValue(const QDateTime& time);
Value bytesListValue(const QVector<QByteArray>& list);
/// Null where \a text is empty.
Value textOrNullValue(const QString& text);
/// The bytes of a digest in hexadecimal; null where it is empty.
Value digestValue(const QByteArray& digest);

/// A statement with $1, $2 and so on for its values.
struct Statement {
    const char* pszSql;
    QVector<Value> values = {};
};

/// The rows that a statement gave; what is null reads as empty. A copy is the same rows.
class CRows {
public:
    CRows() = default;
    /// Owns \a pResult.
    explicit CRows(PGresult* pResult);

    int count() const;
    bool isNull(int row, int column) const;
    qint64 number(int row, int column) const;
    bool flag(int row, int column) const;
    QUuid uuid(int row, int column) const;
    QByteArray bytes(int row, int column) const;
    QString text(int row, int column) const;
    QDateTime time(int row, int column) const;
    QVector<QByteArray> bytesList(int row, int column) const;

private:
    std::shared_ptr<PGresult> m_pResult;
};

} // namespace roaming
