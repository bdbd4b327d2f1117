#include "standalone/durablefile_p.h"

#include "platform/commonutil.h"
#include "platform/limits.h"
#include "standalone/leftovers_p.h"
#include "standalone/standalone.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace standalone {

namespace {

constexpr std::size_t c_nBlockBytes = 1U << 16U; // read at a time

QByteArray directoryOf(const QByteArray& path)
{
    const int nSlash = path.lastIndexOf('/');
    return nSlash < 0 ? QByteArray(".") : path.left(nSlash + 1);
}

// A signal is no failure.
template <typename Call> auto retried(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

int openFile(const QByteArray& path, int flags)
{
    return retried([&] { return ::open(path.constData(), flags | O_CLOEXEC); });
}

class CDescriptor {
public:
    explicit CDescriptor(int descriptor)
        : m_nDescriptor(descriptor)
    {
    }
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    ~CDescriptor() { close(); }

    bool isOpen() const { return m_nDescriptor >= 0; }
    int get() const { return m_nDescriptor; }
    bool sync() const
    {
        return isOpen() && retried([this] { return ::fsync(m_nDescriptor); }) == 0;
    }

    bool close()
    {
        const int nDescriptor = m_nDescriptor;
        m_nDescriptor = -1;
        // Interrupted or not, the descriptor is gone.
        return nDescriptor < 0 || ::close(nDescriptor) == 0 || errno == EINTR;
    }

private:
    int m_nDescriptor;
};

// A file beside the one to replace; gone again unless it has taken that one's name.
class CReplacement {
public:
    explicit CReplacement(const QByteArray& path)
        : m_path(directoryOf(path) + c_szReplacement + "XXXXXX")
        , m_file(retried([this] { return ::mkostemp(m_path.data(), O_CLOEXEC); }))
    {
    }
    CReplacement(const CReplacement&) = delete;
    CReplacement& operator=(const CReplacement&) = delete;
    ~CReplacement()
    {
        if (m_bOurs) {
            ::unlink(m_path.constData());
        }
    }

    bool isOpen() const { return m_file.isOpen(); }

    bool write(const std::string& content)
    {
        std::size_t nWritten = 0;
        while (nWritten < content.size()) {
            const ssize_t n = retried([&] {
                return ::write(m_file.get(), content.data() + nWritten, content.size() - nWritten);
            });
            if (n <= 0) {
                return false;
            }
            nWritten += static_cast<std::size_t>(n);
        }
        return true;
    }

    bool finish(Sync sync) { return (sync == Sync::Never || m_file.sync()) && m_file.close(); }

    bool holds(const std::string& content) const
    {
        const CDescriptor file(openFile(m_path, O_RDONLY));
        if (!file.isOpen()) {
            return false;
        }
        errno = 0; // other content is no error of the system's
        std::string strBlock(c_nBlockBytes, '\0');
        const auto readBlock = [&] { return ::read(file.get(), &strBlock[0], strBlock.size()); };
        std::size_t nRead = 0;
        ssize_t n = 0;
        while ((n = retried(readBlock)) > 0) {
            if (content.compare(nRead, static_cast<std::size_t>(n), strBlock, 0,
                                static_cast<std::size_t>(n))
                != 0) {
                break;
            }
            nRead += static_cast<std::size_t>(n);
        }
        return n == 0 && nRead == content.size();
    }

    bool takePlaceOf(const QByteArray& path)
    {
        m_bOurs = retried([&] { return std::rename(m_path.constData(), path.constData()); }) != 0;
        return !m_bOurs;
    }

private:
    QByteArray m_path;
    CDescriptor m_file;
    bool m_bOurs = m_file.isOpen();
};

bool syncDirectory(const QByteArray& path)
{
    CDescriptor directory(openFile(path, O_RDONLY | O_DIRECTORY));
    return directory.sync() && directory.close();
}

// A file that was not there before may be the first of a directory that was made for it, whose own
// name is as volatile as the file's.
bool syncNames(const QByteArray& path, bool isNew)
{
    const QByteArray directory = directoryOf(path);
    return syncDirectory(directory) && (!isNew || syncDirectory(directory + ".."));
}

// Asked before anything is cleaned up, which has errors of its own.
QString reason()
{
    return errno != 0 ? QString::fromLocal8Bit(std::strerror(errno))
                      : QStringLiteral("it reads back differently");
}

WriteFailure tryReplaceFile(const QByteArray& path, const std::string& content, Sync sync)
{
    removeLeftoversIn(directoryOf(path));
    CReplacement replacement(path);
    if (!replacement.isOpen()) {
        return { QFileInfo(QFile::decodeName(path)).path(), reason() };
    }
    const bool bRead = sync == Sync::Disk;
    const bool bNew = bRead && ::access(path.constData(), F_OK) != 0;
    const bool bReplaced = replacement.write(content) && replacement.finish(sync)
        && (!bRead || replacement.holds(content)) && replacement.takePlaceOf(path)
        && (!bRead || syncNames(path, bNew));
    return bReplaced ? WriteFailure() : WriteFailure { QFile::decodeName(path), reason() };
}

// Asked at once, as reason() is.
ReadFailure readFailure()
{
    const bool bMissing = errno == ENOENT || errno == ENOTDIR;
    return { bMissing ? ReadCause::Missing : ReadCause::Unreadable, reason() };
}

// A file may grow while it is read.
bool readUpTo(std::size_t limit, const CDescriptor& file, std::string& content)
{
    std::array<char, c_nBlockBytes> block; // not filled with zeros first
    ssize_t n = 0;
    do {
        const std::size_t nWanted = std::min(block.size(), limit - content.size());
        n = retried([&] { return ::read(file.get(), block.data(), nWanted); });
        content.append(block.data(), static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    } while (n > 0 && content.size() < limit);
    return n >= 0;
}

// Saves write on threads of their own.
class CLastFailure {
public:
    WriteFailure get() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_failure;
    }

    void set(const WriteFailure& failure)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_failure = failure;
    }

private:
    mutable std::mutex m_mutex;
    WriteFailure m_failure;
};

CLastFailure& lastFailure()
{
    return *utils::CManualSingletonT<CLastFailure>::instance();
}

} // namespace

WriteFailure lastWriteFailure()
{
    return lastFailure().get();
}

bool replaceFile(const QByteArray& path, const std::string& content, Sync sync)
{
    const WriteFailure failure = tryReplaceFile(path, content, sync);
    lastFailure().set(failure);
    if (failure.strReason.isEmpty()) {
        return true;
    }
    if (g_RXStdLogger) {
        LOG4CXX_WARN(g_RXStdLogger,
                     "cannot write file:" << path.constData()
                                          << ", reason:" << failure.strReason.toStdString());
    }
    return false;
}

bool removeFile(const QByteArray& path)
{
    const bool bRemoved = ::unlink(path.constData()) == 0;
    const bool bGone
        = bRemoved ? syncDirectory(directoryOf(path)) : errno == ENOENT || errno == ENOTDIR;
    lastFailure().set(bGone ? WriteFailure() : WriteFailure { QFile::decodeName(path), reason() });
    return bGone;
}

bool makeDirectory(const QString& path)
{
    if (QDir(path).exists()) {
        return true;
    }
    if (!makeDirectory(QFileInfo(path).path())) {
        return false;
    }
    // Another thread may be first.
    const bool bMade
        = ::mkdir(QFile::encodeName(path).constData(), S_IRWXU) == 0 || errno == EEXIST;
    lastFailure().set(bMade ? WriteFailure() : WriteFailure { path, reason() });
    return bMade;
}

ReadFailure readFile(const QString& path, std::string& content, qint64 limit)
{
    // Nobody waits for the other end of a named pipe.
    const CDescriptor file(openFile(QFile::encodeName(path), O_RDONLY | O_NONBLOCK));
    struct stat info { };
    if (!file.isOpen() || ::fstat(file.get(), &info) != 0) {
        return readFailure();
    }
    if (!S_ISREG(info.st_mode) && !S_ISDIR(info.st_mode)) {
        return { ReadCause::Unreadable, QStringLiteral("is no regular file") };
    }
    const bool bLarge = info.st_size > limit; // then it is refused unread
    std::string strRead;
    if (!bLarge && !readUpTo(static_cast<std::size_t>(limit) + 1, file, strRead)) {
        return readFailure();
    }
    if (bLarge || strRead.size() > static_cast<std::size_t>(limit)) {
        return { ReadCause::Unreadable, QStringLiteral("larger than %1 bytes").arg(limit) };
    }
    content = std::move(strRead);
    return {};
}

} // namespace standalone
