#pragma once

#include "many/useranswer.h"

#include <QFile>

/// The users with whom a command is done, a line each, kept so that it can be broken off at any
/// time: each is on the disk before the next is begun with. A line without an end does not count.
/// One process at a time. All throw CFailure.
///
///     CResumeFile file(path, "check");
///     ... file.done() ...
///     file.append(answer);
class CResumeFile {
public:
    /// Opens the file, or makes it; refuses that of another \a command, and what is no such file.
    CResumeFile(const QString& path, const QString& command);

    const QVector<UserAnswer>& done() const { return m_done; }
    void append(const UserAnswer& answer);

private:
    [[noreturn]] void fail(ExitStatus status, const QString& why) const;
    void open();
    void read(const QByteArray& head);
    void write(const QByteArray& line);

    QFile m_file;
    QVector<UserAnswer> m_done;
};
