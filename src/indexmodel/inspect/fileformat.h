#pragma once

#include <QDomElement>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

namespace inspect {

enum class ValueKind { Integer, Switch, Text };
enum class Presence { Needed, Optional };

struct AttributeRule {
    QString strName;
    ValueKind kind;
    Presence presence;
};

/// What the service reads of an element and writes again.
struct ElementRule {
    QVector<AttributeRule> attributes;
    QSet<QString> children;

    const AttributeRule* attribute(const QString& name) const;
};

/// The rule of an element that the service owns; null for all others.
const ElementRule* ruleOf(const QString& tag);

/// Of the children of Option, which may have any name.
const ElementRule& settingsRule();

bool isWindowTag(const QString& tag);

/// The sections, and what of them, that are read wherever they stand, the first of each name.
QStringList namesOfAnyPlace();

/// Below which element such a section belongs; null when there is none in this file.
QDomElement placeOf(const QString& section, const QDomElement& root);

/// What becomes of an entry that stands below another one, such as within its panel tree.
struct InnerRule {
    QString strRule; ///< empty: nobody looks for it
    QString strText;
};

/// Of an element that does not stand where such entries belong, within \a section of the root.
InnerRule innerRuleOf(const QDomElement& element, const QString& section);

/// The names of attributes and elements that \a section lacks, though every save writes them.
QStringList missingContent(const QDomElement& section);

/// An older form of the quote layout: the panels of one window without the window.
bool isSingleWindow(const QDomElement& element);

} // namespace inspect
