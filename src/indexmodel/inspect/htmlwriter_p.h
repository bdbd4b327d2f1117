#pragma once

#include <QBuffer>
#include <QPair>
#include <QStringList>
#include <QVector>
#include <QXmlStreamWriter>

namespace inspect {

/// Writes a page that is both HTML and XML: every element has its end, as only XML asks for.
class CHtmlWriter {
public:
    using Attributes = QVector<QPair<const char*, QString>>;

    explicit CHtmlWriter(QByteArray* pPage);

    QXmlStreamWriter& xml() { return m_xml; }

    void begin(const char* pszElement, const Attributes& attributes = {});
    void end();
    void text(const QString& text) { m_xml.writeCharacters(text); }
    void element(const char* pszElement, const QString& text, const Attributes& attributes = {});
    /// An element that has no end: meta, input.
    void single(const char* pszElement, const Attributes& attributes);
    /// A style sheet or a script, which HTML reads as it stands.
    void raw(const char* pszElement, const QByteArray& content);
    /// What a browser makes of raw(): the source that a policy allows.
    static QString sourceOf(const QByteArray& content);

    /// A table with its headings, open for rows; what it is called is not shown.
    void beginTable(const QString& name, const QStringList& headings, const char* pszClass = "");
    void endTable();
    /// A row; of a narrow page each cell names its column. An empty class is none.
    void row(const QStringList& headings, const QStringList& cells,
             const Attributes& attributes = {});

private:
    QBuffer m_buffer;
    QXmlStreamWriter m_xml;
};

} // namespace inspect
