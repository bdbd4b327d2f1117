#pragma once

#include <inspect/recovery.h>

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// How a process under the shim ended.
struct Run {
    bool bKilled = false;
    int nStatus = 0;
    QString strErr;
};

/// What the shim is to do; see faultshim.cpp.
struct Fault {
    int nAt = 0;
    QString strAction;
    int nErrno = 0;
    bool bOn = false; ///< from that call on
};

/// A user's directory in which saves and recoveries are broken.
class CScene {
public:
    CScene();

    QString livePath() const;
    QString datedPath() const;

    /// Generation 1 is in the live file and in the day's dated copy.
    void beforeSave();
    /// The same, but the live file is damaged.
    void beforeRecovery();

    /// Saves generation 2 under \a fault.
    Run save(const Fault& fault);
    /// Runs the host's recover under \a fault.
    Run recover(const Fault& fault);

    /// The calls of the last run below the directory: name and path.
    QStringList calls() const;

    /// The generation that a file holds; 0 when it is not a whole user file.
    static int generationOf(const QString& path);
    /// Whether the damaged file is still somewhere.
    bool damagedIsKept() const;

private:
    Run run(const QString& program, const QStringList& arguments, const Fault& fault,
            const char* pszArmed);
    void write(const QString& path, const QByteArray& content) const;
    void clear();

    QTemporaryDir m_directory;
    QTemporaryDir m_logs;
};
