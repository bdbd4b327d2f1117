#pragma once

#include "many/useranswer.h"

#include <QFile>

#include <utility>

/// What a resume file goes on with.
struct Resumed {
    QString strCommand; ///< for people, without values
    QByteArray all; ///< what tells it from others: words, values, contents of files
};

/// The users with whom a command is done, a line each, kept so that it can be broken off at any
/// time: each is on the disk as soon as append() has returned. A line without an end does not
/// count; of several of one user the last one does. The values themselves are not in it, only a
/// salted digest. One process at a time. All throw CFailure.
///
///     CResumeFile file(path, { "check", words });
///     ... file.done() ...
///     file.append(answer);
class CResumeFile {
public:
    /// Opens the file, or makes it; refuses that of another command or of another working
    /// directory, from which users are named, and what is no such file.
    CResumeFile(const QString& path, const Resumed& resumed);

    /// What was written down before; once.
    QVector<UserAnswer> takeDone() { return std::exchange(m_done, {}); }
    void append(const UserAnswer& answer);

private:
    [[noreturn]] void fail(ExitStatus status, const QString& why) const;
    void open();
    void read(const Resumed& resumed);
    void requireSame(const QJsonObject& head, const Resumed& resumed) const;
    void begin(const QByteArray& found, const Resumed& resumed);
    void write(const QByteArray& line);

    QFile m_file;
    QVector<UserAnswer> m_done;
};
