#pragma once

#include "format/customstocks.h"
#include "format/elementtree.h"
#include "format/layoutrecords.h"
#include "format/optionsettings.h"

#include <QDomDocument>

namespace KW {

/// All that a user's file holds, as the service would hold it after a load.
struct UserRecords {
    paramSettingForClient options;
    CustomStockMap stocks;
    bool bFunctionTreeExpand = false;
    LayoutRecord layouts;
    QVector<ElementTree> sections; ///< those of other managers and those of nobody, as they stand
};

bool operator==(const UserRecords& left, const UserRecords& right);

/// Reads \a file with the readers of the service, without asking the service. Any thread.
///
///     const KW::UserRecords records = KW::recordsOf(KW::parseUserDocument(text).document);
UserRecords recordsOf(const QDomDocument& file);

/// The sections of \a file that are not the service's.
QVector<ElementTree> otherSections(const QDomDocument& file);

/// Those of \a sections that are not empty, by name: an empty one says no more than a missing one,
/// since a save writes all of them, nor does their order say anything.
QVector<ElementTree> contents(const QVector<ElementTree>& sections);

/// What a save of \a records and the load after it leave: no read-only options, no section that
/// nobody reads, no panel group without windows; of texts only what a file can hold; of trees what
/// the parser gives of them, and what they hold that readers take for their own where they take it.
/// Nothing is written for it. The trees are such as a parser gives.
UserRecords savedForm(const UserRecords& records);

/// A document that holds \a records as a save writes them.
QDomDocument documentOf(const UserRecords& records);

} // namespace KW
