#pragma once

#include "truth.h"

#include <QRandomGenerator>

namespace truth {

/// \a text cut at \a at.
inline Damage cutAt(const QByteArray& text, int at)
{
    return { Damage::Kind::Cut, at, text.size() - at, {} };
}

/// A block of at most \a longest bytes torn out of \a text by chance: zeros, garbage, another part
/// of the file, or nothing in its place.
inline Damage randomDamage(const QByteArray& text, QRandomGenerator& random, int longest)
{
    Damage damage { static_cast<Damage::Kind>(1 + random.bounded(4)),
                    random.bounded(text.size()),
                    1 + random.bounded(longest),
                    {} };
    damage.nLength = std::min(damage.nLength, text.size() - damage.nAt);
    if (damage.kind == Damage::Kind::Zeros) {
        damage.block = QByteArray(damage.nLength, '\0');
    } else if (damage.kind == Damage::Kind::Garbage) {
        // The first byte is no character, or what stands before it might go on.
        damage.block = QByteArray(1, '\xff');
        while (damage.block.size() < damage.nLength) {
            damage.block.append(static_cast<char>(random.bounded(256)));
        }
    } else if (damage.kind == Damage::Kind::Copied) {
        damage.nSource = random.bounded(text.size() - damage.nLength + 1);
        damage.block = text.mid(damage.nSource, damage.nLength);
    }
    return damage;
}

} // namespace truth
