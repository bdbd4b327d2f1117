#pragma once

#include <QDomDocument>
#include <QDomElement>
#include <QMap>
#include <QString>

namespace standalone {

/// Keeps sections of the user's file word for word, each in a document of its own.
class CForeignSections {
public:
    /// Takes over the child \a name of \a root, or its absence. A null root changes nothing.
    void load(const QDomElement& root, const QString& name);
    bool contains(const QString& name) const;
    /// Puts what the section \a name holds into \a element.
    void save(const QString& name, QDomElement& element, QDomDocument& doc) const;

private:
    QMap<QString, QDomDocument> m_sections;
};

} // namespace standalone
