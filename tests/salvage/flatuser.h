#pragma once

#include <format/userrecords.h>

#include <QMap>
#include <QString>
#include <QVector>

namespace truth {

/// What a user has, as a save would write it, entry by entry.
struct FlatEntry {
    QString strName;
    QString strContent;
};

bool operator==(const FlatEntry& left, const FlatEntry& right);

/// Entries by what holds them: "IndexLayout", "IndexPositionLayout/ValuePanelGroupLayout". What is
/// sorted by name in a file is so here.
using FlatUser = QMap<QString, QVector<FlatEntry>>;

FlatUser flatUser(const KW::UserRecords& records);

/// The records of an older copy, of which every entry differs from \a records, which lacks the
/// second entry of each list and has one more at its end.
KW::UserRecords olderCopy(const KW::UserRecords& records);

} // namespace truth
