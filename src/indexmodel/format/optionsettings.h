#pragma once

#include "format/elementrule.h"
#include "format/indexuserexport.h"
#include "format/paramsettingforclient.h"

#include <QDomElement>
#include <QString>

#include <variant>
#include <vector>

namespace KW {

/// The element that a save writes the options to.
constexpr char c_szSettings[] = "Settings";

/// Whether a save writes an option; all of them are read.
enum class OptionSaved { Yes, No };

/// What a value means, and thereby which values make sense; a load takes any of its kind.
enum class OptionMeaning {
    Number,
    Amount, ///< of time, days or lines: never negative
    Flag, ///< 0 or 1, whether the record holds a number or a truth
    TimeOfDay,
    Moment, ///< a date, mostly with a time
    NumberList,
    Address,
    Text,
    Secret, ///< a text that nobody should see over a shoulder
};

/// One option: its attribute in the file, its place in the record and thereby its kind, and what
/// people are told of it.
struct OptionRow {
    QString strAttribute;
    std::variant<std::int32_t paramSettingForClient::*, bool paramSettingForClient::*,
                 QString paramSettingForClient::*>
        field;
    OptionSaved saved;
    OptionMeaning meaning;
    QString strAbout; ///< what it is
    QString strUnit = {}; ///< put so that it goes behind a number; empty where there is none
};

/// All options in the order in which they are read: of two rows for one field the later one wins.
///
///     for (const KW::OptionRow& row : KW::optionTable()) { ... row.strAttribute ... }
INDEXUSER_EXPORT const std::vector<OptionRow>& optionTable();

ValueKind kindOf(const OptionRow& row);

/// Which values make sense: "0 or 1".
QString optionRange(const OptionRow& row);

/// What an option is, its range and its unit, in one line: "Days of tick data to restore: 0 to
/// 2147483647 days".
QString optionDescription(const OptionRow& row);

/// Whether all options of the table are the same. What other modules keep in a record does not
/// count.
bool operator==(const paramSettingForClient& left, const paramSettingForClient& right);
inline bool operator!=(const paramSettingForClient& left, const paramSettingForClient& right)
{
    return !(left == right);
}

/// \a param after a save and the load of a new service: what is never written is the default.
paramSettingForClient savedOptions(const paramSettingForClient& param);

/// The element of the options, whatever it is called.
ElementRule settingsRule();

enum class OptionsFound { Yes, No };

/// Reads the first section Option below \a root, wherever it stands, into \a param: all its child
/// elements, whatever they are called. What is absent leaves its field as it was.
OptionsFound readOptions(const QDomElement& root, paramSettingForClient& param);

/// Appends the element Settings with the options of \a param to \a parent.
void writeOptions(QDomElement& parent, QDomDocument& doc, const paramSettingForClient& param);

} // namespace KW
