#pragma once

#include "exitstatus.h"

#include <inspect/userfile.h>

#include <QString>

#include <stdexcept>

/// Where a failure lies; no file, and line 0, where that is nowhere or not known.
struct FailurePlace {
    QString strFile;
    int nLine = 0;
};

inline FailurePlace placeOf(const inspect::FileError& error)
{
    return { error.strPath, error.at.nLine };
}

/// Ends a command: the message goes to stderr, the status to the caller of the process.
class CFailure : public std::runtime_error {
public:
    CFailure(ExitStatus status, const QString& message, const FailurePlace& place = {})
        : std::runtime_error(message.toStdString())
        , m_status(status)
        , m_strMessage(message)
        , m_place(place)
    {
    }

    ExitStatus status() const { return m_status; }
    /// What what() says, also behind a NUL.
    const QString& message() const { return m_strMessage; }
    const FailurePlace& place() const { return m_place; }

private:
    ExitStatus m_status;
    QString m_strMessage;
    FailurePlace m_place;
};
