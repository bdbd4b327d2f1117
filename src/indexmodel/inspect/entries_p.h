#pragma once

#include "inspect/difference.h"

#include <QHash>

#include <algorithm>

namespace inspect {

/// The field of a difference that is the order of entries.
constexpr char c_szOrder[] = "(order)";

/// What an entry of a list is called, and its value, which only texts and comments have.
struct EntryName {
    QString strTag;
    QString strKey;
    QString strValue = {};
    int nEntry = 1;

    QString text() const; ///< "Stock[SH600000]"
};

bool operator==(const EntryName& left, const EntryName& right);
uint qHash(const EntryName& name, uint seed = 0);

using EntryNames = QVector<EntryName>;

/// Counts the entries of the same name.
void number(EntryNames& names);

/// What \a name stands for below \a parent; without values.
Difference entryOf(const Difference& parent, const EntryName& name);

/// Adds that entries of one name stand elsewhere, if both lists have the same ones.
void compareOrder(const Difference& parent, const EntryNames& left, const EntryNames& right,
                  QVector<Difference>& found);

/// Adds a difference for a field, unless both are the same.
void compareField(const Difference& entry, const QString& field, const std::optional<QString>& left,
                  const std::optional<QString>& right, QVector<Difference>& found);

/// Adds what two lists below \a parent do not share. Entries belong together by \a nameOf(entry);
/// of two that do, \a compare(entryOf(...), left, right) tells. An entry that only one list has
/// counts once, without its content. Time is linear.
template <typename List, typename NameOf, typename Compare>
void compareLists(const Difference& parent, const List& left, const List& right, NameOf nameOf,
                  Compare compare, QVector<Difference>& found)
{
    const auto namesOf = [&](const List& list) {
        EntryNames names;
        names.reserve(list.size());
        std::transform(list.begin(), list.end(), std::back_inserter(names), nameOf);
        number(names);
        return names;
    };
    const EntryNames leftNames = namesOf(left);
    const EntryNames rightNames = namesOf(right);
    QHash<EntryName, int> rest;
    for (int i = 0; i < rightNames.size(); ++i) {
        rest.insert(rightNames[i], i);
    }
    for (int i = 0; i < leftNames.size(); ++i) {
        const int nRight = rest.contains(leftNames[i]) ? rest.take(leftNames[i]) : -1;
        Difference entry = entryOf(parent, leftNames[i]);
        if (nRight < 0) {
            entry.left = leftNames[i].strValue;
            found.append(entry);
        } else {
            compare(entry, left[i], right[nRight]);
        }
    }
    for (const EntryName& name : rightNames) {
        if (rest.contains(name)) {
            found.append(entryOf(parent, name));
            found.last().right = name.strValue;
        }
    }
    compareOrder(parent, leftNames, rightNames, found);
}

} // namespace inspect
