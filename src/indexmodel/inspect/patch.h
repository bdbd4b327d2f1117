#pragma once

#include "inspect/userrecords.h"

#include <QByteArray>
#include <QJsonValue>
#include <QString>
#include <QStringList>
#include <QVector>

namespace inspect {

/// What a patch can carry from one user to another.
enum class PatchPart { Option, Stocks, QuoteTemplate, TradeTemplate };

/// "option", "stocks", "template" or "trade template".
QString partName(PatchPart part);

/// One thing that two users do not share, whole: an option, a list of stocks, a template.
struct PatchChange {
    PatchPart part = PatchPart::Option;
    QString strName; ///< of the option or template, the number of the list
    QJsonValue before; ///< a text, or an array of stocks; null where there was none
    QJsonValue after; ///< null where it goes
};

struct Patch {
    QVector<PatchChange> changes;
    /// What differs and does not travel: secrets, windows, others' sections, counted; the order of
    /// templates; what no user could be given, with the reason.
    QStringList leftOut;
};

/// What makes \a left into \a right.
///
///     const inspect::Patch patch = inspect::patchBetween(before, after);
Patch patchBetween(const UserRecords& left, const UserRecords& right);

/// A patch as a document, and back. Of a text that is none, or that says what no user can be given,
/// or one thing twice, it is empty and strError tells why.
QByteArray toJson(const Patch& patch);
struct PatchText {
    Patch patch;
    QString strError;
    int nLine = 0; ///< of a text that is no JSON
};
PatchText patchFromJson(const QByteArray& text);

enum class PatchFit {
    Fits,
    There, ///< the user has it already
    Conflict, ///< the user has neither what was before nor what comes, or several of that name
};

/// "fits", "there already", "conflict".
QString fitName(PatchFit fit);

/// Whether \a change can be made to \a records without the loss of anything that the patch does not
/// know.
PatchFit fitOf(const PatchChange& change, const UserRecords& records);

/// The list of a change of stocks that does not end it.
KW::InstrumentList stocksOf(const PatchChange& change);

/// The parts and names of which \a after has something else than \a before with all changes of
/// \a patch; none where the patch, and nothing but the patch, was made.
QStringList otherwiseMade(const Patch& patch, const UserRecords& before, const UserRecords& after);

} // namespace inspect
