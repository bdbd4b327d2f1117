#include "inspect/entries_p.h"

#include <QSet>
#include <QStringList>

namespace inspect {

namespace {

constexpr int c_nShownOfAnOrder = 20;

QString shownOrder(const EntryNames& names, int first, int last)
{
    QStringList texts;
    for (int i = first; i < std::min(last, first + c_nShownOfAnOrder); ++i) {
        texts.append(names[i].text());
    }
    const int nMore = last - first - texts.size();
    return texts.join(QStringLiteral(", "))
        + (nMore > 0 ? QStringLiteral(", ... %1 more").arg(nMore) : QString());
}

bool sameEntries(const EntryNames& left, const EntryNames& right)
{
    const QSet<EntryName> known(left.begin(), left.end());
    return left.size() == right.size()
        && std::all_of(right.begin(), right.end(),
                       [&](const EntryName& name) { return known.contains(name); });
}

} // namespace

QString EntryName::text() const
{
    const QString strFirst = strKey.isEmpty() ? strTag : strTag + '[' + strKey + ']';
    return nEntry == 1 ? strFirst : strFirst + " #" + QString::number(nEntry);
}

bool operator==(const EntryName& left, const EntryName& right)
{
    return left.nEntry == right.nEntry && left.strKey == right.strKey
        && left.strTag == right.strTag;
}

uint qHash(const EntryName& name, uint seed)
{
    return ::qHash(name.strKey, seed) ^ ::qHash(name.strTag, seed) ^ ::qHash(name.nEntry, seed);
}

void number(EntryNames& names)
{
    QHash<EntryName, int> seen;
    for (EntryName& name : names) {
        name.nEntry = ++seen[{ name.strTag, name.strKey }];
    }
}

Difference entryOf(const Difference& parent, const EntryName& name)
{
    const QString strParent = pathOf(parent);
    return { parent.part,
             strParent.isEmpty() ? name.strTag : strParent + '/' + name.strTag,
             name.strKey,
             name.nEntry,
             {} };
}

// From the first that stands elsewhere to the last.
void compareOrder(const Difference& parent, const EntryNames& left, const EntryNames& right,
                  QVector<Difference>& found)
{
    if (left == right || !sameEntries(left, right)) {
        return;
    }
    const auto first = std::mismatch(left.begin(), left.end(), right.begin());
    const auto last = std::mismatch(left.rbegin(), left.rend(), right.rbegin());
    const int nFirst = static_cast<int>(first.first - left.begin());
    const int nLast = left.size() - static_cast<int>(last.first - left.rbegin());
    compareField(parent, c_szOrder, shownOrder(left, nFirst, nLast),
                 shownOrder(right, nFirst, nLast), found);
}

void compareField(const Difference& entry, const QString& field, const std::optional<QString>& left,
                  const std::optional<QString>& right, QVector<Difference>& found)
{
    if (left != right) {
        found.append({ entry.part, entry.strWhat, entry.strKey, entry.nEntry, field, left, right });
    }
}

} // namespace inspect
