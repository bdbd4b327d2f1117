#pragma once

#include "roaming/arrangement.h"

#include <QByteArray>

#include <optional>

namespace roaming {

// The forms of a user's file between machines. Bytes of a live file in, bytes out; any thread.

/// What leaves the machine: the sections that roam, without local options, in the canonical form,
/// so that the same settings are the same bytes whoever has saved them. Nothing for what is no
/// whole user file.
///
///     const std::optional<QByteArray> text = roaming::outgoingText(bytes);
std::optional<QByteArray> outgoingText(const QByteArray& live);

/// A document with the one section that is held otherwise; nothing where the file has none.
std::optional<QByteArray> heldText(const QByteArray& live, const QString& section);

/// What comes to a machine.
struct Arrival {
    QByteArray text; ///< as outgoingText() made it
    /// The newest text of this arrangement, whose layouts come as they are; without it those of
    /// text, fitted to the screens. Nothing of either where nobody has told the screens.
    std::optional<QByteArray> ownLayouts = {};
    CArrangement arrangement = {};
};

/// The live file \a local after \a arrival: sections that roam are the arrival's, all else stays as
/// it is, local options too. \a local may be empty: a machine without a file. Nothing where one of
/// the texts is no whole user file.
std::optional<QByteArray> arrivedText(const QByteArray& local, const Arrival& arrival);

/// \a local with the section of \a held, a text of heldText(), in place of its own.
std::optional<QByteArray> withHeld(const QByteArray& local, const QByteArray& held);

} // namespace roaming
