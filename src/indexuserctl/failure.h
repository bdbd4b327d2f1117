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
    {
    }

    ExitStatus status() const { return m_status; }

private:
    ExitStatus m_status;
};
