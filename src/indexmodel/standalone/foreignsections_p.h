#pragma once

#include <QDomDocument>
#include <QDomElement>
#include <QMap>
#include <QString>

namespace standalone {

/// Keeps sections of the user's file word for word. While a file is loaded they stay in its
/// document, which others still read; afterwards they move, since copies of them would double the
/// time of a load, and the document, often a hundred times larger, would take its room for good.
class CForeignSections {
public:
    /// Takes over the child \a name of \a root, or its absence. A null root changes nothing.
    void load(const QDomElement& root, const QString& name);
    /// A load has ended: moves the sections into a document of their own.
    void settle();
    /// Whether \a doc is that of a load that has not ended. It goes with its load, and nobody
    /// changes it meanwhile: what is kept of it can be held, and needs no copy.
    bool isLoading(const QDomDocument& doc) const;
    bool contains(const QString& name) const;
    /// Puts what the section \a name holds into \a element.
    void save(const QString& name, QDomElement& element, QDomDocument& doc) const;

private:
    struct Section {
        QDomDocument document; ///< has to live as long as its element
        QDomElement element;
    };

    QMap<QString, Section> m_sections;
    QDomDocument m_loading;
};

} // namespace standalone
