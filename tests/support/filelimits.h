#pragma once

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

/// While it lives nobody may change the entries of a directory. Permissions do not bind root, who
/// therefore becomes somebody else for the time; \a stillOurs is what he needs to own as such.
class CReadOnlyDirectory {
public:
    explicit CReadOnlyDirectory(const QString& directory, const QStringList& stillOurs = {})
        : m_path(QFile::encodeName(directory))
        , m_bRoot(::geteuid() == 0)
    {
        const uid_t nOwner = m_bRoot ? c_nNobody : ::geteuid();
        const QStringList paths = stillOurs + QStringList(directory);
        for (const QString& path : paths) {
            check(::chown(QFile::encodeName(path).constData(), nOwner, ::getegid()), "chown");
        }
        check(::chmod(m_path.constData(), 0555), "chmod");
        if (m_bRoot) {
            check(::seteuid(c_nNobody), "seteuid");
        }
    }
    CReadOnlyDirectory(const CReadOnlyDirectory&) = delete;
    CReadOnlyDirectory& operator=(const CReadOnlyDirectory&) = delete;
    ~CReadOnlyDirectory()
    {
        if (m_bRoot) {
            check(::seteuid(0), "seteuid");
        }
        check(::chmod(m_path.constData(), 0755), "chmod");
    }

private:
    static constexpr uid_t c_nNobody = 65534;

    static void check(int result, const char* pszCall)
    {
        if (result != 0) {
            qFatal("%s", pszCall);
        }
    }

    QByteArray m_path;
    bool m_bRoot;
};
