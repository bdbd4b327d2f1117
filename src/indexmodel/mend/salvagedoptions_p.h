#pragma once

#include "mend/pieces_p.h"
#include "mend/salvage.h"

#include <optional>

namespace mend {

/// The value of the attribute \a name in what is left of the tag of \a piece; nothing if it is
/// torn.
std::optional<QString> firstAttribute(const QByteArray& text, const Piece& piece,
                                      const QByteArray& name);

/// Fills \a options and tells from where each comes: from the section \a pWhole, or, when it is
/// null, from the attributes that are whole in the \a pieces of it; else from \a candidate. The two
/// names of one option count as two, which come from the same source.
QVector<SalvagedPart> salvageOptions(const QByteArray& text, const QVector<Piece>& pieces,
                                     const Piece* pWhole,
                                     const std::optional<KW::UserRecords>& candidate,
                                     KW::paramSettingForClient& options);

} // namespace mend
