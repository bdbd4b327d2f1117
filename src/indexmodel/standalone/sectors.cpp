#include "standalone/standalone.h"

#include "standalone/durablefile_p.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace standalone {

namespace {

QString typeName(QJsonValue::Type type)
{
    switch (type) {
    case QJsonValue::Null:
        return QStringLiteral("null");
    case QJsonValue::Bool:
        return QStringLiteral("true or false");
    case QJsonValue::Double:
        return QStringLiteral("a number");
    case QJsonValue::String:
        return QStringLiteral("a text");
    case QJsonValue::Array:
        return QStringLiteral("an array");
    case QJsonValue::Object:
        return QStringLiteral("an object");
    case QJsonValue::Undefined:
        break;
    }
    return QStringLiteral("nothing");
}

// A value and the way to it from the root; the first value of a wrong type is the error.
class CValue {
public:
    CValue(const QJsonValue& value, const QString& path, QString& error)
        : m_value(value)
        , m_strPath(path)
        , m_strError(error)
    {
    }

    CValue operator[](const QString& name) const
    {
        const QString strDot = m_strPath.isEmpty() ? QString() : QStringLiteral(".");
        return { expected(QJsonValue::Object).toObject().value(name), m_strPath + strDot + name,
                 m_strError };
    }

    QString text() const { return expected(QJsonValue::String).toString(); }
    double number() const { return expected(QJsonValue::Double).toDouble(); }

    template <typename T> QVector<T> list(T (*read)(const CValue&)) const
    {
        QVector<T> items;
        const auto entries = expected(QJsonValue::Array).toArray();
        for (const auto& item : entries) {
            const QString strPath = QStringLiteral("%1[%2]").arg(m_strPath).arg(items.size());
            items.append(read(CValue(item, strPath, m_strError)));
        }
        return items;
    }

private:
    QJsonValue expected(QJsonValue::Type type) const
    {
        if (m_value.type() != type && m_strError.isEmpty()) {
            m_strError = QStringLiteral(": %1: %2 is wanted, here is %3")
                             .arg(m_strPath.isEmpty() ? QStringLiteral("the root") : m_strPath,
                                  typeName(type), typeName(m_value.type()));
        }
        return m_value;
    }

    QJsonValue m_value;
    QString m_strPath;
    QString& m_strError;
};

SectorConstituent readConstituent(const CValue& value)
{
    return { value["market"].text(), value["code"].text(), value["name"].text(),
             value["absoluteWeight"].number(), value["previousClose"].number() };
}

Sector readSector(const CValue& value)
{
    return { value["code"].text(), value["name"].text(),
             value["constituents"].list(readConstituent) };
}

SectorCatalogue noJson(const QByteArray& text, const QJsonParseError& error)
{
    const QByteArray before = text.left(error.offset);
    const int nLine = static_cast<int>(before.count('\n')) + 1;
    const QString strError = QStringLiteral(":%1:%2: %3")
                                 .arg(nLine)
                                 .arg(error.offset - before.lastIndexOf('\n'))
                                 .arg(error.errorString());
    return { {}, SectorsError::Damaged, strError, nLine };
}

SectorCatalogue parseSectors(const QByteArray& text)
{
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(text, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        return noJson(text, parseError);
    }
    QString strError;
    const QJsonValue root = doc.isObject() ? QJsonValue(doc.object()) : QJsonValue(doc.array());
    const QVector<Sector> sectors = CValue(root, {}, strError)["sectors"].list(readSector);
    return strError.isEmpty() ? SectorCatalogue { sectors, SectorsError::None, {} }
                              : SectorCatalogue { {}, SectorsError::Damaged, strError };
}

} // namespace

SectorCatalogue readSectors(const QString& path)
{
    std::string strText;
    const ReadFailure failure = readFile(path, strText, c_nMaxSectorsBytes);
    if (failure.cause != ReadCause::None) {
        return { {}, SectorsError::Unread, path + ": " + failure.strReason };
    }
    SectorCatalogue catalogue = parseSectors(QByteArray::fromStdString(strText));
    if (catalogue.error != SectorsError::None) {
        catalogue.strError.prepend(path);
    }
    return catalogue;
}

} // namespace standalone
