#pragma once

#include <QString>
#include <QVector>

namespace KW {

enum class ValueKind { Integer, Switch, Text };
enum class Presence { Needed, Optional };

struct AttributeRule {
    QString strName;
    ValueKind kind;
    Presence presence;
};

/// What an element of the service's is.
enum class ElementKind {
    Section,
    Holder, ///< holds entries; every save writes it
    Options, ///< a holder of options, whatever it is called
    Window, ///< its child is a panel tree, which is somebody else's
    Group,
    Template,
    StockList,
    Stock,
};

/// What the service reads of an element and writes again, with what it reads below: holders and
/// entries are looked for at any depth.
///
///     const KW::ElementRule* const pRule = section.rule.child("Customs");
struct ElementRule {
    QString strTag;
    ElementKind kind = ElementKind::Section;
    QVector<AttributeRule> attributes = {};
    QVector<ElementRule> children = {};
    QString strKey = {}; ///< the attribute that tells entries apart; empty where nothing does

    /// Null for what is not read.
    const AttributeRule* attribute(const QString& name) const;
    const ElementRule* child(const QString& tag) const;
};

/// A text that every such element has.
AttributeRule neededText(const QString& name);

} // namespace KW
