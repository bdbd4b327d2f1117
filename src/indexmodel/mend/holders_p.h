#pragma once

#include "mend/pieces_p.h"
#include "mend/salvage.h"

#include <vector>

namespace mend {

/// An element that holds entries of one kind, and how they are reached in the records.
struct EntryHolder {
    QString strSection;
    QByteArray name; ///< of the element that holds them: the section, or an element of it
    QByteArray tag; ///< of an entry
    QByteArray key; ///< the attribute that names one
    EntryKind kind;
    /// The names of the entries in their order.
    QStringList (*names)(const KW::UserRecords& records);
    /// Adds those entries of \a from of which \a chosen is true. What can be there only once stays
    /// as it is.
    void (*take)(KW::UserRecords& to, const KW::UserRecords& from, const QVector<bool>& chosen);

    QString path() const; ///< "IndexPositionLayout/ValuePanelGroupLayout"
};

/// In the order of the file; all but the options.
const std::vector<EntryHolder>& entryHolders();

/// Whether entries named \a tag stand in the holder \a name.
bool holdsEntries(const QByteArray& name, const QByteArray& tag);

/// All elements that a file has at most once.
const Holders& allHolders();

} // namespace mend
