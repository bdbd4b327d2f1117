#include "inspect/htmlwriter_p.h"

#include <QCryptographicHash>

namespace inspect {

namespace {

// XML has no raw elements, so what is not XML stands in comments of the script or style sheet.
QByteArray wrapped(const QByteArray& content)
{
    return "/*<![CDATA[*/\n" + content + "/*]]>*/";
}

} // namespace

CHtmlWriter::CHtmlWriter(QByteArray* pPage)
    : m_buffer(pPage)
{
    m_buffer.open(QIODevice::WriteOnly);
    m_xml.setDevice(&m_buffer);
}

void CHtmlWriter::begin(const char* pszElement, const Attributes& attributes)
{
    m_xml.writeStartElement(QLatin1String(pszElement));
    for (const auto& attribute : attributes) {
        m_xml.writeAttribute(QLatin1String(attribute.first), attribute.second);
    }
}

// A browser takes <td/> for the beginning of one.
void CHtmlWriter::end()
{
    m_xml.writeCharacters(QString());
    m_xml.writeEndElement();
}

void CHtmlWriter::element(const char* pszElement, const QString& text, const Attributes& attributes)
{
    begin(pszElement, attributes);
    m_xml.writeCharacters(text);
    end();
}

void CHtmlWriter::single(const char* pszElement, const Attributes& attributes)
{
    begin(pszElement, attributes);
    m_xml.writeEndElement();
}

void CHtmlWriter::raw(const char* pszElement, const QByteArray& content)
{
    begin(pszElement);
    m_xml.writeCharacters(QString());
    m_buffer.write(wrapped(content));
    end();
}

QString CHtmlWriter::sourceOf(const QByteArray& content)
{
    const QByteArray hash = QCryptographicHash::hash(wrapped(content), QCryptographicHash::Sha256);
    return QStringLiteral("'sha256-%1'").arg(QString::fromLatin1(hash.toBase64()));
}

void CHtmlWriter::beginTable(const QString& name, const QStringList& headings, const char* pszClass)
{
    begin("table", { { "aria-label", name }, { "class", QLatin1String(pszClass) } });
    begin("thead");
    begin("tr");
    for (const QString& heading : headings) {
        element("th", heading, { { "scope", QStringLiteral("col") } });
    }
    end();
    end();
    begin("tbody");
}

void CHtmlWriter::endTable()
{
    end();
    end();
}

void CHtmlWriter::row(const QStringList& headings, const QStringList& cells,
                      const Attributes& attributes)
{
    begin("tr", attributes);
    for (int i = 0; i < cells.size(); ++i) {
        if (i == 0) {
            element("th", cells[i], { { "scope", QStringLiteral("row") } });
        } else {
            element("td", cells[i], { { "data-label", headings.value(i) } });
        }
    }
    end();
}

} // namespace inspect
