#pragma once

#include "format/sections.h"
#include "inspect/userrecords.h"

#include <QDomDocument>
#include <QVector>

namespace inspect {

// Parts of a user on their way to another one: a bundle is a document of the form of a user's file
// that has only some sections, so that a user's whole file is one, too.

using Parts = QVector<KW::UserPart>;

/// All five.
Parts everyPart();

/// A section of a bundle.
struct BundledSection {
    KW::UserPart part;
    QString strName;
    int nElements; ///< below it
};

/// The bundle of \a records with the sections of \a parts. The sections of other managers are in it
/// word for word, those that nobody reads and the values of secrets are not.
QDomDocument bundleOf(const UserRecords& records, const Parts& parts);

/// What of \a bundle belongs to \a parts, in the order of a file.
QVector<BundledSection> sectionsIn(const QDomDocument& bundle, const Parts& parts);

/// \a target with the sections of \a parts that \a bundle has in place of its own; all else stays,
/// and so do secrets and options that the bundle does not name.
///
///     const inspect::UserRecords made = inspect::withBundle(before, file.document, parts);
UserRecords withBundle(const UserRecords& target, const QDomDocument& bundle, const Parts& parts);

} // namespace inspect
