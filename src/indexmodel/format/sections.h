#pragma once

#include "format/userrecords.h"
#include "platform/managersections.h"

#include <QDomElement>
#include <QString>

#include <vector>

namespace KW {

// The sections that the library keeps itself.
constexpr char c_szDefaultLayout[] = "DefaultLayout";
constexpr char c_szIndexLayout[] = "IndexLayout";
constexpr char c_szIndexPositionLayout[] = "IndexPositionLayout";
constexpr char c_szLayoutTemplates[] = "LayoutTemplates";
constexpr char c_szTradePanelGroup[] = "tradePanelGroup";
constexpr char c_szTradeLayoutTemplates[] = "tradeLayoutTemplates";
constexpr char c_szOption[] = "Option";
constexpr char c_szCustomStock[] = "CustomStock";
constexpr char c_szConfigVersion[] = "ConfigVersion";
constexpr char c_szUserParams[] = "UserParams";

/// The root of every user's file, and the version that is written.
constexpr char c_szRoot[] = "ICUserConfigFile";
constexpr char c_szVersionId[] = "version_id";
constexpr int c_nVersion = 11;

/// Who fills a section and reads it.
enum class SectionOwner {
    Layouts, ///< the layout store
    Service, ///< the service itself
    Managers, ///< other modules
    Nobody, ///< written, and read by nobody
};

/// Where the reader of a section looks for it.
enum class SectionPlace { BelowRoot, Anywhere };

/// Whether every save writes a section.
enum class SectionPresence { Always, Optional };

/// The part of a user that a section belongs to, as people see it.
enum class UserPart { Options, Stocks, Layouts, Templates, Sections };

/// One section of a user's file.
struct Section {
    QString strName;
    SectionOwner owner;
    SectionPlace place;
    SectionPresence presence;
    UserPart part;
    QString strWindowTag; ///< what its windows are called; empty for sections without
    ElementRule rule; ///< what is read of it; without meaning where the content belongs to others
    /// Reads the section below a root, in place of what \a records have of it; null where the
    /// content belongs to others.
    void (*read)(const QDomElement& root, UserRecords& records);
    /// Fills the empty section; null likewise.
    void (*write)(QDomElement& section, QDomDocument& doc, const UserRecords& records);
};

/// All sections, in the order of the file: the one place that lists them. The orders in which the
/// service reads and fills them are its own code: each step there is a call of another class, some
/// of which keep no section at all, and both are a contract with the modules.
///
///     for (const KW::Section& section : KW::sections()) { ... section.strName ... }
const std::vector<Section>& sections();

/// Null for a name that no section has.
const Section* findSection(const QString& name);

/// What is read of the elements named \a tag, by which no two kinds are called; null for a name
/// that none has.
const ElementRule* findRule(const QString& tag);

/// "options", "stocks", "layouts", "templates" or "sections".
QString partName(UserPart part);

} // namespace KW
