#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVector>

#include <functional>
#include <optional>

namespace mend {

/// What an edit did to those before it.
enum class HistoryAction { Edit, Undo, Redo };

/// One edit of a user's file.
struct HistoryEntry {
    int nNumber = 0; ///< from 1, never given twice
    QDateTime time; ///< when it began, UTC
    QString strAccount;
    QString strHost;
    QString strCommand; ///< without secrets
    QByteArray before; ///< the digest of the state that it found; empty when there was no file
    QByteArray
        after; ///< of that which it left, or was about to; empty when it did not come to that
    HistoryAction action = HistoryAction::Edit;
    int nOf = 0; ///< the edit that was undone or done again
    QString strSetting = {}; ///< whose value the states are; empty for those of the user's file
};

/// The digest that a state is known by: SHA-256 in hexadecimal.
QByteArray digestOf(const QByteArray& bytes);

enum class LogState {
    Whole, ///< or not there
    Damaged, ///< some lines are no edits
    Unreadable, ///< the system does not let it be read, or it is too large
};

/// What the log of a history holds.
struct HistoryLog {
    LogState state = LogState::Whole;
    QVector<HistoryEntry> entries; ///< of the lines that are edits, the oldest first
    int nBadLines = 0; ///< those that are none
};

/// The states of a user's file before each edit, in History/ of the user's directory: each state
/// once, under its digest, and a line for each edit. Whoever writes holds the user's lock. A
/// damaged log is kept under a name with the time before it is written over; its good lines go on.
class CHistory {
public:
    explicit CHistory(const QString& configDir);

    HistoryLog log() const;
    QString logPath() const;

    /// All edits that can be read, the oldest first.
    QVector<HistoryEntry> entries() const { return log().entries; }

    /// Where this object has kept a damaged log; empty if it has not.
    const QString& setAside() const { return m_strSetAside; }

    /// Keeps the state that \a entry found, numbers \a entry and writes it down; the oldest edits
    /// go when there are too many. False, and \a entry has no number, where the system refuses.
    bool begin(HistoryEntry& entry, const std::optional<QByteArray>& before);

    /// Writes down what the edit \a number left.
    bool end(int number, const QByteArray& after);

    /// The bytes of a state; none when it is not kept or no longer what its digest says.
    std::optional<QByteArray> state(const QByteArray& digest) const;

    /// The file of a state.
    QString statePath(const QByteArray& digest) const;

    /// Forgets the edits before \a time, their states too, and damaged logs set aside before. How
    /// many; none where the system refuses.
    std::optional<int> prune(const QDateTime& time);

    /// Of all files of the history.
    qint64 bytes() const;

private:
    bool keepDamaged(const HistoryLog& known);
    bool write(const HistoryLog& known, const QVector<HistoryEntry>& entries);
    QByteArray asides() const;
    bool removeAsides(const QDateTime& before) const;
    bool removeUnused(const QVector<HistoryEntry>& entries) const;

    QString m_strDirectory;
    QString m_strSetAside;
};

/// The digest of what is there now, of a setting or, for an empty name, of the user's file.
using DigestNow = std::function<QByteArray(const QString& setting)>;

/// The edit that an undo, or a redo, is about: undone ones are skipped, and those that found no
/// file; a new edit ends what can be done again. What an edit was about to leave is written down
/// before its write; nothing has come of it if the next one, or \a now, finds what it found. None
/// when there is no such edit.
std::optional<HistoryEntry> toUndo(const QVector<HistoryEntry>& entries, const DigestNow& now);
std::optional<HistoryEntry> toRedo(const QVector<HistoryEntry>& entries, const DigestNow& now);

} // namespace mend
