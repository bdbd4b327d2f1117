#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QTemporaryDir>

/// Files on their way into one .tar.gz, in a directory that only this process's account sees and
/// that goes with it. Throws CFailure where the system refuses.
///
///     CArchive archive(QStringLiteral("support"));
///     archive.add("user/notes.txt", bytes, time);
///     const QByteArray packed = archive.packed();
class CArchive {
public:
    /// All stands below the folder \a root of the archive. A packer that says nothing for
    /// \a silenceMs is given up.
    explicit CArchive(const QString& root, int silenceMs = 60000);

    /// A file, by its name relative to the root, mode 0600.
    void add(const QString& name, const QByteArray& bytes, const QDateTime& time);

    QByteArray packed() const;

private:
    QTemporaryDir m_directory;
    QString m_strRoot;
    int m_nSilenceMs;
};
