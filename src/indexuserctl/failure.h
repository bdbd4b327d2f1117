#pragma once

#include "exitstatus.h"

#include <QString>

#include <stdexcept>

/// Ends a command: the message goes to stderr, the status to the caller of the process.
class CFailure : public std::runtime_error {
public:
    CFailure(ExitStatus status, const QString& message)
        : std::runtime_error(message.toStdString())
        , m_status(status)
        , m_strMessage(message)
    {
    }

    ExitStatus status() const { return m_status; }
    /// What what() says, also behind a NUL.
    const QString& message() const { return m_strMessage; }

private:
    ExitStatus m_status;
    QString m_strMessage;
};
