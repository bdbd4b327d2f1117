#pragma once

#include "format/userdocument.h"

#include <QString>

#include <atomic>

namespace KW {

/// Logs the exception that is being handled.
void logThrown() noexcept;

/// The user's file, the one that loads read.
QString liveFilePath();

/// Today's copy in the directory Temp, which is made if it is missing. Later saves of the day
/// overwrite it; nothing removes the copies of earlier days.
QString datedCopyPath();

/// Reads the live file. A missing or unreadable one is as invalid as an empty one.
UserDocument readLiveFile();

/// Writes \a document to the mirror in the settings store and to the dated copy, then puts the
/// dated copy in the place of the live file, and logs each step and what was cut. Any thread;
/// nothing serialises calls. What a sibling throws passes through, unless it is the mirror. By
/// value: the siblings' functions ask for bytes that they may change.
void writeLiveFile(UserDocumentText document);

/// Does a \a step of a save. What it throws is logged and goes no further: on the thread of a save
/// nobody would catch it.
template <typename Step> void contain(const Step& step)
{
    try {
        step();
    } catch (...) {
        logThrown();
    }
}

/// What a manager and the threads of its saves know of each other; it outlives whichever ends
/// first.
struct SaveState {
    std::atomic<bool> m_bSaveSuccess { false }; ///< the latest save has ended
    std::atomic<bool> m_bNotLoaded { true };
};

/// A whole save of \a doc, which nobody else may touch, but for the thread: it ends by setting
/// m_bSaveSuccess, however it ended, and lets no exception out. A document that nobody else holds
/// is gone before the first file is written.
void saveDocument(QDomDocument doc, SaveState& state);

/// Logs that the live file could not be read.
void logNotReadable();

} // namespace KW
