#pragma once

#include <inspect/userfile.h>

#include <QDateTime>
#include <QString>
#include <QVector>

#include <optional>

namespace mend {

enum class CandidateKind {
    Copy, ///< the last save of a day
    Mirror, ///< the last save, as the settings store has it
    History, ///< the state before an edit
    SetAside, ///< what a recovery found
};

/// A file that a user's file could be brought back from.
struct Candidate {
    CandidateKind kind = CandidateKind::Copy;
    QString strName; ///< what a person calls it: "2024-01-31", "mirror", "history 7", a file's name
    QString strPath;
    QDateTime time; ///< when it was written
};

/// All there are for the user's directory \a configDir, in the order in which a recovery tries
/// them: the dated copies from the newest on, the mirror behind the copy of its own save and before
/// those of earlier ones, the states of the history, then what was set aside. None is opened.
QVector<Candidate> candidates(const QString& configDir);

/// The first of them that is whole, unless it was set aside. None without any.
std::optional<Candidate> newestWhole(const QVector<Candidate>& all);

/// The newest dated copy, if it is whole, younger than the live file and not the same: a power cut
/// may take back what was written last. None otherwise.
std::optional<Candidate> newerCopy(const QString& configDir);

/// The words of \a kind for people.
QString kindName(CandidateKind kind);

} // namespace mend
