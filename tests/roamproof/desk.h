#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>

namespace roamproof {

/// All of a file; empty where it cannot be read.
QByteArray contentOf(const QString& path);

/// The directory of a trader on one machine, and the client that runs on it.
class CClientDesk {
public:
    /// With the sample's user, in a directory of its own or in \a directory.
    explicit CClientDesk(const QString& directory = {});

    const QString& dir() const { return m_strDir; }
    QByteArray live() const;
    QByteArray mirror() const;
    void writeLive(const QByteArray& bytes) const;

    /// Runs a client to its end; what it prints.
    QByteArray run(const QString& connection, int first, int count, int settleMs = 10000) const;
    /// One that saves until it is killed.
    std::unique_ptr<QProcess> start(const QString& connection, int first) const;

private:
    QTemporaryDir m_own;
    QString m_strDir;
};

/// The generation that a text is of; 0 where it says none.
int generationOf(const QByteArray& text);

} // namespace roamproof
