#pragma once

#include <QByteArray>
#include <QFile>
#include <QMap>
#include <QString>
#include <QtGlobal>

#include <sys/inotify.h>
#include <unistd.h>

/// How often the files of a directory are opened while it lives, by this process or another.
class COpenedFiles {
public:
    explicit COpenedFiles(const QString& directory)
        : m_nQueue(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        // Equal events in a row are reported once, so the ends of reading are asked for as well.
        if (::inotify_add_watch(m_nQueue, QFile::encodeName(directory).constData(),
                                IN_OPEN | IN_CLOSE)
            < 0) {
            qFatal("inotify");
        }
    }
    COpenedFiles(const COpenedFiles&) = delete;
    COpenedFiles& operator=(const COpenedFiles&) = delete;
    ~COpenedFiles() { ::close(m_nQueue); }

    /// Since the last question, by name; files that nobody opened are not in it.
    QMap<QString, int> counts()
    {
        QMap<QString, int> counts;
        alignas(inotify_event) char buffer[4096];
        ssize_t nRead = 0;
        while ((nRead = ::read(m_nQueue, buffer, sizeof buffer)) > 0) {
            for (const char* p = buffer; p < buffer + nRead;) {
                const auto* const pEvent = reinterpret_cast<const inotify_event*>(p);
                if ((pEvent->mask & IN_OPEN) != 0 && (pEvent->mask & IN_ISDIR) == 0) {
                    ++counts[QFile::decodeName(pEvent->name)];
                }
                p += sizeof *pEvent + pEvent->len;
            }
        }
        return counts;
    }

private:
    int m_nQueue;
};
