#pragma once

#include "format/sections.h"

#include <QDomElement>
#include <QString>
#include <QStringList>

namespace inspect {

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
InnerRule innerRuleOf(const QDomElement& element, const KW::Section& section);

/// The names of attributes and elements that \a section lacks, though every save writes them.
QStringList missingContent(const QDomElement& section, const KW::ElementRule& rule);

/// Whether there is a window of a layout below \a element, at any depth.
bool hasWindows(const QDomElement& element);

/// An older form of the quote layout: the panels of one window without the window.
bool isSingleWindow(const QDomElement& element);

} // namespace inspect
