#pragma once

#include <QRectF>
#include <QString>
#include <QXmlStreamWriter>

namespace inspect {

/// The few shapes of a picture, each with the class that page/picture.css knows it by.
class CSvgWriter {
public:
    explicit CSvgWriter(QXmlStreamWriter& xml)
        : m_xml(xml)
    {
    }

    QXmlStreamWriter& xml() { return m_xml; }

    void begin(const char* pszElement, const QString& cssClass = {});
    void attribute(const char* pszName, const QString& value);
    void end() { m_xml.writeEndElement(); }

    void rect(const QString& cssClass, const QRectF& rect, qreal radius = 0);
    void line(const QString& cssClass, const QPointF& from, const QPointF& to);
    void text(const QString& cssClass, const QPointF& baseline, const QString& text);
    /// The number of a window on its ground, which begins at \a corner; returns the ground.
    QRectF badge(const QPointF& corner, int number);

    static QString number(qreal value);
    static QRectF badgeArea(int number);

private:
    void place(const QRectF& rect);

    QXmlStreamWriter& m_xml;
};

} // namespace inspect
