#pragma once

#include "inspect/textpositions.h"
#include "inspect/userfile.h"

#include <QString>
#include <QVector>

namespace inspect {

/// What becomes of the thing that was found when the file is loaded and saved once.
enum class Effect {
    Dropped,
    Changed, ///< it comes back with another value
    Merged, ///< several become one
    Kept, ///< it stays, and is hardly what the user wants
};

/// "dropped", "changed", "merged" or "kept".
QString effectName(Effect effect);

/// One thing in a file that the client does not take as it stands.
struct Finding {
    TextPosition position;
    QString strRule; ///< the name of what is broken, stable: "word-boolean"
    Effect effect = Effect::Dropped;
    QString strPath; ///< the element, by its tags
    QString strText; ///< for people
};

struct CheckedFile {
    UserFile file; ///< not whole: there are no findings
    QVector<Finding> findings; ///< by position
    QString strFailure; ///< why not all of a whole file could be checked; empty if all was
};

/// Reads the file \a path as a load would and tells what that load and the next save would drop,
/// change or merge, and where else the file breaks its schema (rule "schema"). A section that every
/// save writes is missed (rule "missing-section"), and what it holds (rule "missing-content").
/// Nothing is handed to the service. Any thread.
///
///     const inspect::CheckedFile checked = inspect::check(path);
CheckedFile check(const QString& path);

/// The same of a file that was read, bytes that are no UTF-8 replaced as a load does.
CheckedFile check(const UserFile& file);

} // namespace inspect
