#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// How a process under the shim ended.
struct Run {
    bool bKilled = false;
    int nStatus = 0;
    QString strOut;
    QString strErr;
};

/// What the shim is to do; see faultshim.cpp.
struct Fault {
    int nAt = 0;
    QString strAction;
    int nErrno = 0;
    bool bOn = false; ///< from that call on
};

/// A user's directory in which saves and recoveries are broken. A generation is the sample user
/// with one option at that value.
class CScene {
public:
    CScene();

    QString livePath() const;
    QString datedPath() const;

    /// Generation 1 is in the live file and in the day's dated copy.
    void beforeSave();
    /// The same, but the live file is damaged.
    void beforeRecovery();

    /// Generation 1 is in the live file, generation 2 in a copy of an earlier day.
    void beforeRestore();
    /// The same, but generation 2 is what an edit found.
    void beforeUndo();

    /// Saves generation 2 under \a fault.
    Run save(const Fault& fault);
    /// Makes generation 2 by the host's option set under \a fault.
    Run edit(const Fault& fault);
    /// Runs the host's recover under \a fault.
    Run recover(const Fault& fault);

    /// Make generation 2 by the host's snapshot restore and undo under \a fault.
    Run restore(const Fault& fault);
    Run undo(const Fault& fault);

    static void write(const QString& path, const QByteArray& content);

    /// The calls of the last run below the directory: name and path.
    QStringList calls() const;

    /// The file of a generation, as somebody wrote it by hand.
    static QByteArray generation(int number);
    /// The generation that a file holds, all of it: 0 when it is missing or not well-formed,
    /// c_nNobodys when it says anything else than the file of a generation. No code of the library
    /// reads it.
    static int generationOf(const QString& path);
    static constexpr int c_nNobodys = -1;
    /// Whether the damaged file is still somewhere.
    bool damagedIsKept() const;

private:
    Run run(const QString& program, const QStringList& arguments, const Fault& fault,
            const char* pszArmed);
    Run runTool(const QStringList& words, const Fault& fault);
    QString earlierDay() const;
    QMap<QString, QByteArray> files() const;
    void clear();

    QTemporaryDir m_directory;
    QTemporaryDir m_logs;
};
