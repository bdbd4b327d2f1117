#pragma once

#include "nobody.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

/// While it lives no file of this process grows beyond a size, as on a full disk.
class CFileSizeLimit {
public:
    explicit CFileSizeLimit(rlim_t bytes)
        : m_pPrevious(std::signal(SIGXFSZ, SIG_IGN))
    {
        set(bytes);
    }
    CFileSizeLimit(const CFileSizeLimit&) = delete;
    CFileSizeLimit& operator=(const CFileSizeLimit&) = delete;
    ~CFileSizeLimit()
    {
        set(RLIM_INFINITY);
        std::signal(SIGXFSZ, m_pPrevious);
    }

private:
    static void set(rlim_t bytes)
    {
        rlimit limit {};
        if (::getrlimit(RLIMIT_FSIZE, &limit) != 0) {
            qFatal("getrlimit");
        }
        limit.rlim_cur = bytes;
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) {
            qFatal("setrlimit");
        }
    }

    void (*m_pPrevious)(int);
};

/// While it lives nobody may change the entries of a directory; \a stillOurs is what this process
/// needs to own all the same.
class CReadOnlyDirectory {
public:
    explicit CReadOnlyDirectory(const QString& directory, const QStringList& stillOurs = {})
        : m_path(QFile::encodeName(directory))
        , m_nobody(stillOurs + QStringList(directory))
    {
        CNobody::check(::chmod(m_path.constData(), 0555), "chmod");
    }
    CReadOnlyDirectory(const CReadOnlyDirectory&) = delete;
    CReadOnlyDirectory& operator=(const CReadOnlyDirectory&) = delete;
    ~CReadOnlyDirectory() { CNobody::check(::chmod(m_path.constData(), 0755), "chmod"); }

private:
    QByteArray m_path;
    CNobody m_nobody;
};
