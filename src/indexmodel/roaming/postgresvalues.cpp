#include "roaming/postgresvalues_p.h"

#include <QtEndian>

namespace roaming {

namespace {

// As the catalogue of every server numbers them.
constexpr Oid c_nBool = 16;
constexpr Oid c_nBytea = 17;
constexpr Oid c_nInt8 = 20;
constexpr Oid c_nText = 25;
constexpr Oid c_nByteaList = 1001;
constexpr Oid c_nTimestamp = 1184;
constexpr Oid c_nUuid = 2950;

// The server counts microseconds from the year 2000.
constexpr qint64 c_nFirstMsecs = 946684800000;

template <typename T> QByteArray bigEndian(T number)
{
    QByteArray bytes(sizeof(T), Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

template <typename T> T fromBigEndian(const QByteArray& bytes, int from = 0)
{
    const int nSize = static_cast<int>(sizeof(T));
    return from + nSize > bytes.size() ? T() : qFromBigEndian<T>(bytes.constData() + from);
}

} // namespace

Value numberValue(qint64 number)
{
    return { c_nInt8, bigEndian(number) };
}

Value flagValue(bool flag)
{
    return { c_nBool, QByteArray(1, flag ? '\1' : '\0') };
}

Value uuidValue(const QUuid& uuid)
{
    return { c_nUuid, uuid.toRfc4122() };
}

Value bytesValue(const QByteArray& bytes)
{
    return { c_nBytea, bytes };
}

Value textValue(const QString& text)
{
    return { c_nText, text.toUtf8() };
}

Value textOrNullValue(const QString& text)
{
    return text.isEmpty() ? Value { c_nText, {} } : textValue(text);
}

Value digestValue(const QByteArray& digest)
{
    return digest.isEmpty() ? Value { c_nBytea, {} } : bytesValue(QByteArray::fromHex(digest));
}

Value timeValue(const QDateTime& time)
{
    return { c_nTimestamp, bigEndian<qint64>((time.toMSecsSinceEpoch() - c_nFirstMsecs) * 1000) };
}

// Dimensions, whether there are nulls, the type; of the one dimension its length and first index.
Value bytesListValue(const QVector<QByteArray>& list)
{
    QByteArray bytes = bigEndian<qint32>(list.isEmpty() ? 0 : 1) + bigEndian<qint32>(0)
        + bigEndian<quint32>(c_nBytea);
    if (!list.isEmpty()) {
        bytes += bigEndian<qint32>(list.size()) + bigEndian<qint32>(1);
    }
    for (const QByteArray& each : list) {
        bytes += bigEndian<qint32>(each.size());
        bytes += each;
    }
    return { c_nByteaList, bytes };
}

CRows::CRows(PGresult* pResult)
    : m_pResult(pResult, PQclear)
{
}

int CRows::count() const
{
    return PQntuples(m_pResult.get());
}

bool CRows::isNull(int row, int column) const
{
    return PQgetisnull(m_pResult.get(), row, column) != 0;
}

qint64 CRows::number(int row, int column) const
{
    return fromBigEndian<qint64>(bytes(row, column));
}

bool CRows::flag(int row, int column) const
{
    return bytes(row, column).startsWith('\1');
}

QUuid CRows::uuid(int row, int column) const
{
    return QUuid::fromRfc4122(bytes(row, column));
}

QByteArray CRows::bytes(int row, int column) const
{
    return { PQgetvalue(m_pResult.get(), row, column), PQgetlength(m_pResult.get(), row, column) };
}

QString CRows::text(int row, int column) const
{
    return QString::fromUtf8(bytes(row, column));
}

QDateTime CRows::time(int row, int column) const
{
    return QDateTime::fromMSecsSinceEpoch(c_nFirstMsecs + number(row, column) / 1000, Qt::UTC);
}

QVector<QByteArray> CRows::bytesList(int row, int column) const
{
    constexpr int c_nLengthAt = 12;
    constexpr int c_nFirstAt = 20;
    const QByteArray list = bytes(row, column);
    QVector<QByteArray> found;
    int nAt = c_nFirstAt;
    for (qint32 i = fromBigEndian<qint32>(list, c_nLengthAt); i > 0; --i) {
        const auto nSize = fromBigEndian<qint32>(list, nAt);
        found.append(list.mid(nAt + 4, nSize));
        nAt += 4 + nSize;
    }
    return found;
}

} // namespace roaming
