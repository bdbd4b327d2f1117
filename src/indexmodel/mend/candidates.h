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
    QDateTime time; ///< when it was written, or by the last edit put in the place of the file
    QByteArray digest = {}; ///< that its bytes must have; empty for any
};

/// All there are for the user's directory \a configDir, in the order in which a recovery tries
/// them: the dated copies from the newest on, the mirror behind the copy of its own save and before
/// those of earlier ones, copies of days to come, the states of the history, then what was set
/// aside; what the last edit left goes before saves that are older. For that they are opened, if
/// the history does not have it and no save is younger.
QVector<Candidate> candidates(const QString& configDir);

/// What a candidate holds; damaged if those are not the bytes that it was kept for.
inspect::FileBytes bytesOf(const Candidate& candidate);

/// What is written down last of the user's file.
struct LastState {
    QByteArray digest;
    QDateTime time;
};

/// None where there is no history.
std::optional<LastState> lastState(const QString& configDir);

/// The first of them that is whole, unless it was set aside. None without any.
std::optional<Candidate> newestWhole(const QVector<Candidate>& all);

/// The newest dated copy, if it is whole, younger than the live file and not the same: a power cut
/// may take back what was written last. None otherwise.
std::optional<Candidate> newerCopy(const QString& configDir);

/// The words of \a kind for people.
QString kindName(CandidateKind kind);

} // namespace mend
