#pragma once

#include <format/userdocument.h>
#include <format/userrecords.h>

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

#include <optional>

namespace mend {

/// What is taken whole or not at all.
enum class EntryKind {
    Section, ///< all of a section of another module, or UserParams
    Window, ///< of the default, the quote or the trade layout
    Group, ///< a panel group with its windows
    Template, ///< with its windows
    List, ///< a custom stock list with its stocks
    Option,
};

enum class PartSource {
    File, ///< the damaged file
    Candidate, ///< the older copy
    Default, ///< neither has it, and a new user would begin with this
    Lost, ///< the file shows that it was there, but it is torn, and the candidate has none
    Unread, ///< it is whole, but no module reads such a section, and no save keeps it
};

/// One row of what a salvage tells: what of a section comes from one source.
struct SalvagedPart {
    /// "Option", "IndexPositionLayout/ValuePanelGroupLayout"; empty for what is whole in the file
    /// while nothing tells which section it belonged to.
    QString strSection;
    EntryKind kind;
    PartSource source;
    int nCount; ///< the entries that come from there, or are lost
    /// The entries that are known of: those that the file shows, whole or by a torn one's name, and
    /// those that only the candidate has. Of a section that is whole in the file, its own; of
    /// options, all that a save writes and what the file has besides. The same in all rows of a
    /// section.
    int nOfAll;
    /// What they are called: the panel group of a window, the key of a group, the name of a
    /// template or an option, the type of a list. Only of what does not come from the file.
    QStringList names;
    /// Torn entries that do not even tell their name, in rows of what is lost. They count nowhere:
    /// each may be one of those that the candidate has.
    int nNameless = 0;
};

/// What could be saved of a damaged file.
struct Salvage {
    KW::UserRecords records;
    QVector<SalvagedPart> table; ///< in the order of the file; at least one row a section
};

/// Reads the \a bytes of a cut or torn file piece by piece. Every section, window, panel group,
/// template, stock list and option that is whole in it is taken from it; what is missing then comes
/// from \a candidate, the records of the newest whole copy, and stands behind what is there.
/// Nothing is made up, and half an entry is none.
///
/// An entry is whole if the service's own readers can read it and, being stricter than they are, no
/// byte of it is NUL or no UTF-8, no tag is torn and, in a torn section, nothing stands in it that
/// this format does not know. It belongs to the section that begins in front of it, or ends behind
/// it, with no tear in between, or that begins before and ends after it. Entries are told apart by
/// their name, windows and templates of one name by their number. What a file can hold only once,
/// a section, a list of a type, a group of a key, is taken from where it stands first.
///
/// What nobody can know: a block that is missing between two places of one kind may leave an
/// element that is well-formed and false: the beginning of one, the end of another. It is taken.
/// Between a beginning and an end that do not fit, with nothing torn to be seen, windows that may
/// belong to either side are not taken.
///
/// Linear in the size of the file. Any thread. A whole file gives what it holds.
///
///     const mend::Salvage salvage = mend::salvage(file.bytes, inspect::recordsOf(copy.document));
Salvage salvage(const QByteArray& bytes, const std::optional<KW::UserRecords>& candidate);

/// The text of a user's file with \a records, to be written as it is, and what had to be cut.
KW::UserDocumentText salvagedText(const KW::UserRecords& records);

/// "window", "panel group" ...; "file", "older copy", "default", "lost", "nobody reads it".
QString kindName(EntryKind kind);
QString sourceName(PartSource source);

} // namespace mend
