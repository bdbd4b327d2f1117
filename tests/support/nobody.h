#pragma once

#include <QFile>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <sys/stat.h>
#include <unistd.h>

/// While it lives this process is somebody whom permissions bind, as they do not bind root, and
/// owns only \a paths.
class CNobody {
public:
    explicit CNobody(const QStringList& paths)
        : m_bRoot(::geteuid() == 0)
    {
        const uid_t nOwner = m_bRoot ? c_nNobody : ::geteuid();
        for (const QString& path : paths) {
            check(::chown(QFile::encodeName(path).constData(), nOwner, ::getegid()), "chown");
        }
        if (m_bRoot) {
            check(::seteuid(c_nNobody), "seteuid");
        }
    }
    CNobody(const CNobody&) = delete;
    CNobody& operator=(const CNobody&) = delete;
    ~CNobody()
    {
        if (m_bRoot) {
            check(::seteuid(0), "seteuid");
        }
    }

    static void check(int result, const char* pszCall)
    {
        if (result != 0) {
            qFatal("%s", pszCall);
        }
    }

private:
    static constexpr uid_t c_nNobody = 65534;

    bool m_bRoot;
};
