#pragma once

#include <QDomDocument>
#include <QDomElement>
#include <QMap>
#include <QString>

namespace standalone {

/// Keeps sections of the user's file word for word. They stay in the document of the file, which
/// nobody changes after a load: copies of them would double the time that a load takes.
class CForeignSections {
public:
    /// Takes over the child \a name of \a root, or its absence. A null root changes nothing.
    void load(const QDomElement& root, const QString& name);
    bool contains(const QString& name) const;
    /// Puts what the section \a name holds into \a element.
    void save(const QString& name, QDomElement& element, QDomDocument& doc) const;

private:
    struct Section {
        QDomDocument document; ///< has to live as long as its element
        QDomElement element;
    };

    QMap<QString, Section> m_sections;
};

} // namespace standalone
