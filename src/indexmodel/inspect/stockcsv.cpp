#include "inspect/stockcsv.h"

#include "inspect/plaintext.h"
#include "inspect/textencoding.h"

#include <QStringList>

#include <algorithm>
#include <iterator>
#include <optional>

namespace inspect {

namespace {

using rxservice::CInstrumentDetail;

const QStringList& heading()
{
    static const QStringList s_heading { "list", "market", "code", "name" };
    return s_heading;
}

QString quoted(const QString& field)
{
    const bool bPlain = std::none_of(field.begin(), field.end(), [](QChar c) {
        return c == QLatin1Char(',') || c == QLatin1Char('"') || c == QLatin1Char('\n')
            || c == QLatin1Char('\r');
    });
    return bPlain ? field : '"' + QString(field).replace('"', QLatin1String("\"\"")) + '"';
}

QString toLine(const QStringList& fields)
{
    QStringList parts;
    std::transform(fields.begin(), fields.end(), std::back_inserter(parts), quoted);
    return parts.join(QLatin1Char(',')) + QStringLiteral("\r\n");
}

class CCsvReader {
public:
    explicit CCsvReader(const QString& text)
        : m_strText(text)
    {
    }

    bool atEnd() const { return m_nAt >= m_strText.size(); }
    int line() const { return m_nLine; }

    /// The next record; nothing when a quote is not closed or text follows a closing one.
    std::optional<QStringList> next()
    {
        QStringList fields;
        do {
            const std::optional<QString> field = nextField();
            if (!field) {
                return std::nullopt;
            }
            fields.append(*field);
        } while (skip(QLatin1Char(',')));
        skip(QLatin1Char('\r'));
        if (!atEnd() && !skip(QLatin1Char('\n'))) {
            return std::nullopt;
        }
        ++m_nLine;
        return fields;
    }

private:
    bool skip(QLatin1Char c)
    {
        const bool bThere = !atEnd() && m_strText.at(m_nAt) == c;
        m_nAt += bThere ? 1 : 0;
        return bThere;
    }

    std::optional<QString> nextField()
    {
        if (skip(QLatin1Char('"'))) {
            return quotedField();
        }
        const int nBegin = m_nAt;
        while (!atEnd() && !QStringLiteral(",\r\n").contains(m_strText.at(m_nAt))) {
            ++m_nAt;
        }
        return m_strText.mid(nBegin, m_nAt - nBegin);
    }

    std::optional<QString> quotedField()
    {
        QString strField;
        for (; !atEnd(); ++m_nAt) {
            const QChar c = m_strText.at(m_nAt);
            const bool bQuote = c == QLatin1Char('"');
            if (bQuote && m_strText.midRef(m_nAt + 1, 1) != QLatin1String("\"")) {
                ++m_nAt;
                return strField;
            }
            strField += c;
            m_nAt += bQuote ? 1 : 0;
            m_nLine += c == QLatin1Char('\n') ? 1 : 0;
        }
        return std::nullopt;
    }

    QString m_strText;
    int m_nAt = 0;
    int m_nLine = 1;
};

QString fieldError(const QStringList& fields)
{
    bool bOk = false;
    if (fields.size() != heading().size()) {
        return QStringLiteral("%1 fields instead of list,market,code,name").arg(fields.size());
    }
    if (fields[0].toInt(&bOk) < 0 || !bOk) {
        return QStringLiteral("'%1' is no list: a whole number from 0 on").arg(fields[0]);
    }
    for (const QString& field : fields) {
        const QString strError = textError(field);
        if (!strError.isEmpty()) {
            return "a field " + strError;
        }
        // Texts that are kept as bytes lose it there.
        if (field.startsWith(QChar(QChar::ByteOrderMark))) {
            return QStringLiteral("a field begins with a byte order mark");
        }
    }
    const bool bNoStock = fields[1].isEmpty() && fields[3].isEmpty();
    return fields[2].isEmpty() && !bNoStock ? QStringLiteral("a stock without a code") : QString();
}

void append(const QStringList& fields, KW::CustomStockMap& stocks)
{
    auto& list = stocks[fields[0].toInt()];
    if (fields[2].isEmpty()) {
        return;
    }
    const auto pDetail = std::make_shared<CInstrumentDetail>();
    pDetail->market = fields[1].toStdString();
    pDetail->code = fields[2].toStdString();
    pDetail->name = fields[3].toStdString();
    list.append(pDetail);
}

QString readRecord(CCsvReader& reader, KW::CustomStockMap& stocks)
{
    const std::optional<QStringList> fields = reader.next();
    if (!fields) {
        return QStringLiteral("a quote that is not closed, or text behind one that is");
    }
    QString strError = fieldError(*fields);
    if (strError.isEmpty()) {
        append(*fields, stocks);
    }
    return strError;
}

CsvStocks refused(int line, const QString& error)
{
    return { {}, error, line };
}

} // namespace

QByteArray stocksToCsv(const KW::CustomStockMap& stocks)
{
    QString strText = toLine(heading());
    for (auto it = stocks.begin(); it != stocks.end(); ++it) {
        const QString strList = QString::number(it.key());
        if (it->isEmpty()) {
            strText += toLine({ strList, "", "", "" });
        }
        for (const auto& pDetail : *it) {
            strText += toLine({ strList, QString::fromStdString(pDetail->market),
                                QString::fromStdString(pDetail->code),
                                QString::fromStdString(pDetail->name) });
        }
    }
    return strText.toUtf8();
}

CsvStocks stocksFromCsv(const QByteArray& csv)
{
    const std::optional<QString> text = decoded(csv, TextEncoding::Utf8);
    if (!text) {
        return refused(encodingFault(csv)->at.nLine, QStringLiteral("the text is not UTF-8"));
    }
    CCsvReader reader(*text);
    const std::optional<QStringList> first = reader.next();
    if (!first || *first != heading()) {
        return refused(1, QStringLiteral("the heading is not list,market,code,name"));
    }
    CsvStocks result;
    while (!reader.atEnd()) {
        const int nLine = reader.line();
        const QString strError = readRecord(reader, result.stocks);
        if (!strError.isEmpty()) {
            return refused(nLine, strError);
        }
    }
    return result;
}

} // namespace inspect
