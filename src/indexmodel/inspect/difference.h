#pragma once

#include "format/sections.h"

#include <QString>
#include <QVector>

#include <optional>

namespace inspect {

/// One value that two users do not share: an entry that only one of them has, or a field of one
/// that both have.
struct Difference {
    KW::UserPart part = KW::UserPart::Sections;
    QString strWhat; ///< the element by its tags, each with its key: "IndexLayout/LayoutWindow"
    QString strKey; ///< what tells it from others of that tag: "103"; may be empty
    int nEntry = 1; ///< which of several of that key, from 1
    QString strField; ///< the attribute; "(order)" of entries; empty for the whole element
    std::optional<QString> left = {}; ///< none where the left user has no such thing
    std::optional<QString> right = {};
};

/// "IndexLayout/LayoutWindow[103]@left": the place of a difference, for people.
QString pathOf(const Difference& difference);

/// One line for people.
QString toText(const Difference& difference);

/// "Option/Settings", where options stand.
QString settingsPath();

/// The option that differs; empty in other parts.
QString optionOf(const Difference& difference);

/// How many differences each part has, in one line: "options 2, stocks 1"; "none" without any.
QString summary(const QVector<Difference>& differences);

} // namespace inspect
