#include "inspect/stockchanges.h"

#include <QHash>

#include <algorithm>

namespace inspect {

namespace {

using Turn = QPair<QByteArray, int>;

QVector<Turn> turnsOf(const KW::InstrumentList& list)
{
    QHash<QByteArray, int> seen;
    QVector<Turn> turns;
    for (const auto& pStock : list) {
        const QByteArray key = QByteArray::fromStdString(KW::instrumentKey(*pStock));
        turns.append({ key, ++seen[key] });
    }
    return turns;
}

// Where each stock of a list stood before; -1 for nowhere.
QVector<int> placesBefore(const KW::InstrumentList& before, const KW::InstrumentList& after)
{
    QHash<Turn, int> known;
    const QVector<Turn> turns = turnsOf(before);
    for (int i = 0; i < turns.size(); ++i) {
        known.insert(turns[i], i);
    }
    QVector<int> places;
    const QVector<Turn> now = turnsOf(after);
    for (const Turn& turn : now) {
        places.append(known.value(turn, -1));
    }
    return places;
}

// The longest run that stands in its old order: all else has moved.
QVector<bool> thatStay(const QVector<int>& places)
{
    QVector<int> ends; // for each length of a run, where the one with the lowest last place ends
    QVector<int> previous(places.size(), -1);
    const auto isLower = [&](int end, int place) { return places[end] < place; };
    for (int i = 0; i < places.size(); ++i) {
        if (places[i] < 0) {
            continue;
        }
        const auto it = std::lower_bound(ends.begin(), ends.end(), places[i], isLower);
        previous[i] = it == ends.begin() ? -1 : *(it - 1);
        if (it == ends.end()) {
            ends.append(i);
        } else {
            *it = i;
        }
    }
    QVector<bool> stay(places.size(), false);
    for (int i = ends.isEmpty() ? -1 : ends.last(); i >= 0; i = previous[i]) {
        stay[i] = true;
    }
    return stay;
}

QStringList notesOf(const StockChange& change, bool bStays, const KW::InstrumentList& before,
                    const KW::InstrumentList& after)
{
    if (change.nBefore < 0) {
        return { QStringLiteral("new") };
    }
    QStringList notes;
    if (!bStays) {
        notes.append(
            QStringLiteral("moved from %1 to %2")
                .arg(QString::number(change.nBefore + 1), QString::number(change.nAfter + 1)));
    }
    const std::string& strName = before[change.nBefore]->name;
    if (strName != after[change.nAfter]->name) {
        notes.append(QStringLiteral("was named ") + QString::fromStdString(strName));
    }
    return notes;
}

} // namespace

QVector<StockChange> stockChanges(const KW::InstrumentList& before, const KW::InstrumentList& after)
{
    const QVector<int> places = placesBefore(before, after);
    const QVector<bool> stay = thatStay(places);
    QVector<bool> there(before.size(), false);
    QVector<StockChange> changes;
    for (int i = 0; i < after.size(); ++i) {
        StockChange change { places[i], i };
        change.notes = notesOf(change, stay[i], before, after);
        if (!change.notes.isEmpty()) {
            changes.append(change);
        }
        if (places[i] >= 0) {
            there[places[i]] = true;
        }
    }
    for (int i = 0; i < before.size(); ++i) {
        if (!there[i]) {
            changes.append({ i, -1, { QStringLiteral("gone") } });
        }
    }
    return changes;
}

} // namespace inspect
