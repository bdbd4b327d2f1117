#pragma once

#include "inspect/check.h"
#include "inspect/difference.h"
#include "inspect/htmlwriter_p.h"
#include "inspect/report.h"
#include "inspect/screens.h"
#include "inspect/snapshots.h"

namespace inspect {

/// What all sections of a page are made of.
struct ReportUser {
    QString strConfigDir;
    CheckedFile checked;
    UserRecords records;
    ReportFacts facts;
    QVector<Snapshot> copies;
    QVector<Screen> screens; ///< of all windows, those of before too
    QVector<Difference> differences; ///< from before to now; none without a before
};

/// A section of the page: its anchor, its heading, and what the top of the page tells of it.
struct ReportSection {
    const char* pszId;
    QString strTitle;
    QString strFact;
    bool bAmiss = false; ///< something that one should look at
    void (*write)(CHtmlWriter& page, const ReportUser& user);
};

// Each writes what stands below the heading of its section.
void writeFindings(CHtmlWriter& page, const ReportUser& user);
void writeOptions(CHtmlWriter& page, const ReportUser& user);
void writeStocks(CHtmlWriter& page, const ReportUser& user);
void writeLayouts(CHtmlWriter& page, const ReportUser& user);
void writeTemplates(CHtmlWriter& page, const ReportUser& user);
void writeSections(CHtmlWriter& page, const ReportUser& user);
void writeCopies(CHtmlWriter& page, const ReportUser& user);
void writeHistory(CHtmlWriter& page, const ReportUser& user);

/// What of \a part only stands in another order than before; nothing where none does.
void writeOrders(CHtmlWriter& page, const ReportUser& user, KW::UserPart part);

/// The beginning of a page with its \a script, which writeFilter() needs: what is outside is shut
/// out.
void writeHead(CHtmlWriter& page, const QString& title, const QByteArray& script);

/// The box of the filter; \a wanted says in it what can be looked for.
void writeFilter(CHtmlWriter& page, const QString& wanted);

/// How many options have another value than the default.
int changedOptions(const UserRecords& records);

/// "50,000".
QString grouped(int number);

/// "2024-01-31 16:05".
QString momentText(const QDateTime& time);

/// "2 options, 1 stock": how many differences there are in \a parts; "nothing changed".
QString changesText(const ReportUser& user, const QVector<KW::UserPart>& parts);

/// The beginning of something that folds, with its heading; long ones stay folded on paper, too.
enum class Fold { Open, Closed, Long };
void beginFold(CHtmlWriter& page, const QString& id, const QString& title, const QString& fact,
               Fold fold);

/// "none", as a paragraph.
void writeNone(CHtmlWriter& page);

} // namespace inspect
