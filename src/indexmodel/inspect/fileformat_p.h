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

/// An older form of the quote layout: the panels of one window without the window.
bool isSingleWindow(const QDomElement& element);

/// What the windows of a section are called; empty for sections without.
QString windowTagOf(const QString& section);

} // namespace inspect
