// Preloaded into a process: counts its calls of the file system below one directory and lets one of
// them fail, or kills the process there. It knows what it is to do from its environment:
//
//     FAULT_ROOT    calls on paths below it count, others do not
//     FAULT_ARMED   1: from the start; otherwise from fault_arm(1) to fault_arm(0)
//     FAULT_AT      the call that is hit, from 1; 0 hits none
//     FAULT_ACTION  fail, short, lie (a byte is read or written wrong), kill or killafter
//     FAULT_ERRNO   what a failing call answers
//     FAULT_ON      1: the calls after that one are hit as well
//     FAULT_LOG     a file that gets a line a call: number, name, path

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::string environment(const char* pszName)
{
    const char* const pszValue = std::getenv(pszName);
    return pszValue != nullptr ? pszValue : "";
}

struct Plan {
    std::string strRoot = environment("FAULT_ROOT");
    std::string strAction = environment("FAULT_ACTION");
    int nAt = std::atoi(environment("FAULT_AT").c_str());
    int nErrno = std::atoi(environment("FAULT_ERRNO").c_str());
    bool bOn = environment("FAULT_ON") == "1";
    int nLog = open(environment("FAULT_LOG"));

    static int open(const std::string& path)
    {
        return path.empty()
            ? -1
            : static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path.c_str(),
                                         O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    }
};

// Read once, before main(); the process may change its environment later.
const Plan g_plan;
std::atomic<bool> g_bArmed { environment("FAULT_ARMED") == "1" };
std::atomic<int> g_nCalls { 0 };
thread_local bool t_bKillAfter = false;

std::string pathOf(int descriptor)
{
    char szPath[4096];
    const std::string strLink = "/proc/self/fd/" + std::to_string(descriptor);
    const long n = ::syscall(SYS_readlinkat, AT_FDCWD, strLink.c_str(), szPath, sizeof szPath);
    return n > 0 ? std::string(szPath, static_cast<std::size_t>(n)) : "";
}

void logCall(int number, const char* pszName, const std::string& path)
{
    const std::string strLine = std::to_string(number) + ' ' + pszName + ' ' + path + '\n';
    if (g_plan.nLog >= 0 && ::syscall(SYS_write, g_plan.nLog, strLine.data(), strLine.size()) < 0) {
        std::abort();
    }
}

enum class Fate { Runs, Fails, Short, Lies };

void die()
{
    ::syscall(SYS_kill, ::getpid(), SIGKILL);
}

// An interrupted call is not interrupted for ever: the next attempt gets through.
bool isHit(int number)
{
    if (g_plan.nAt == 0 || number < g_plan.nAt) {
        return false;
    }
    const int nLater = number - g_plan.nAt;
    return nLater == 0 || (g_plan.bOn && (g_plan.nErrno != EINTR || nLater % 2 == 0));
}

Fate fateOf(const char* pszName, const std::string& path)
{
    if (!g_bArmed || g_plan.strRoot.empty()
        || path.compare(0, g_plan.strRoot.size(), g_plan.strRoot) != 0) {
        return Fate::Runs;
    }
    const int nNumber = ++g_nCalls;
    logCall(nNumber, pszName, path);
    if (!isHit(nNumber)) {
        return Fate::Runs;
    }
    if (g_plan.strAction == "kill") {
        die();
    }
    t_bKillAfter = g_plan.strAction == "killafter";
    if (g_plan.strAction == "fail") {
        errno = g_plan.nErrno;
        return Fate::Fails;
    }
    return g_plan.strAction == "short" ? Fate::Short
        : g_plan.strAction == "lie"    ? Fate::Lies
                                       : Fate::Runs;
}

template <typename Result> Result finished(Result result)
{
    if (t_bKillAfter) {
        die();
    }
    return result;
}

template <typename Function> Function* real(const char* pszName)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, pszName));
}

std::size_t allowed(Fate fate, std::size_t size)
{
    return fate == Fate::Short && size > 1 ? size / 2 : size;
}

mode_t modeArgument(int flags, va_list arguments)
{
    const bool bNeeded = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return bNeeded ? va_arg(arguments, mode_t) : 0;
}

} // namespace

// What glibc declares without exceptions has to be defined so.
#define WRAP(result, name, parameters, arguments, path, failure, attributes)                       \
    __attribute__((visibility("default"))) result name parameters attributes                       \
    {                                                                                              \
        static const auto pReal = real<result parameters>(#name);                                  \
        return fateOf(#name, path) == Fate::Fails ? failure : finished(pReal arguments);           \
    }

#define WRAP_OPEN(name)                                                                            \
    __attribute__((visibility("default"))) int name(const char* path, int flags, ...)              \
    {                                                                                              \
        static const auto pReal = real<int(const char*, int, ...)>(#name);                         \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = modeArgument(flags, arguments);                                        \
        va_end(arguments);                                                                         \
        return fateOf(#name, path) == Fate::Fails ? -1 : finished(pReal(path, flags, mode));       \
    }

extern "C" {

__attribute__((visibility("default"))) void fault_arm(int armed)
{
    g_bArmed = armed != 0;
}

WRAP(int, mkostemp, (char* path, int flags), (path, flags), path, -1, )
WRAP(int, mkostemp64, (char* path, int flags), (path, flags), path, -1, )
WRAP(off_t, lseek, (int file, off_t offset, int whence), (file, offset, whence), pathOf(file), -1,
     noexcept)
WRAP(off64_t, lseek64, (int file, off64_t offset, int whence), (file, offset, whence), pathOf(file),
     -1, noexcept)
WRAP(int, fsync, (int file), (file), pathOf(file), -1, )
WRAP(int, fdatasync, (int file), (file), pathOf(file), -1, )
WRAP(int, ftruncate, (int file, off_t size), (file, size), pathOf(file), -1, noexcept)
WRAP(int, ftruncate64, (int file, off64_t size), (file, size), pathOf(file), -1, noexcept)
WRAP(int, rename, (const char* from, const char* to), (from, to), to, -1, noexcept)
WRAP(int, renameat2, (int fromDir, const char* from, int toDir, const char* to, unsigned flags),
     (fromDir, from, toDir, to, flags), to, -1, noexcept)
WRAP(int, unlink, (const char* path), (path), path, -1, noexcept)
WRAP(int, remove, (const char* path), (path), path, -1, noexcept)
WRAP(int, rmdir, (const char* path), (path), path, -1, noexcept)
WRAP(int, link, (const char* from, const char* to), (from, to), to, -1, noexcept)
WRAP(int, linkat, (int fromDir, const char* from, int toDir, const char* to, int flags),
     (fromDir, from, toDir, to, flags), to, -1, noexcept)
WRAP(int, mkdir, (const char* path, mode_t mode), (path, mode), path, -1, noexcept)
WRAP(int, chmod, (const char* path, mode_t mode), (path, mode), path, -1, noexcept)
WRAP(int, fchmod, (int file, mode_t mode), (file, mode), pathOf(file), -1, noexcept)
WRAP(int, access, (const char* path, int mode), (path, mode), path, -1, noexcept)
WRAP(int, stat, (const char* path, struct stat* result), (path, result), path, -1, noexcept)
WRAP(int, stat64, (const char* path, struct stat64* result), (path, result), path, -1, noexcept)
WRAP(int, lstat64, (const char* path, struct stat64* result), (path, result), path, -1, noexcept)
WRAP(int, fstat64, (int file, struct stat64* result), (file, result), pathOf(file), -1, noexcept)
WRAP(int, statx, (int directory, const char* path, int flags, unsigned mask, struct statx* result),
     (directory, path, flags, mask, result), *path != '\0' ? path : pathOf(directory), -1, noexcept)
WRAP(DIR*, opendir, (const char* path), (path), path, nullptr, )
WRAP_OPEN(open)
WRAP_OPEN(open64)

__attribute__((visibility("default"))) int ioctl(int file, unsigned long request, ...) noexcept
{
    static const auto pReal = real<int(int, unsigned long, ...)>("ioctl");
    va_list arguments;
    va_start(arguments, request);
    void* const pArgument = va_arg(arguments, void*);
    va_end(arguments);
    return fateOf("ioctl", pathOf(file)) == Fate::Fails ? -1
                                                        : finished(pReal(file, request, pArgument));
}

// The descriptor is gone even if closing reports an error.
__attribute__((visibility("default"))) int close(int file)
{
    static const auto pReal = real<int(int)>("close");
    const Fate fate = fateOf("close", pathOf(file));
    const int nErrno = errno;
    const int nResult = finished(pReal(file));
    errno = nErrno;
    return fate == Fate::Fails ? -1 : nResult;
}

__attribute__((visibility("default"))) ssize_t read(int file, void* data, size_t size)
{
    static const auto pReal = real<ssize_t(int, void*, size_t)>("read");
    const Fate fate = fateOf("read", pathOf(file));
    if (fate == Fate::Fails) {
        return -1;
    }
    const ssize_t n = finished(pReal(file, data, size));
    if (fate == Fate::Lies && n > 0) {
        *static_cast<char*>(data) ^= 1;
    }
    return n;
}

__attribute__((visibility("default"))) ssize_t write(int file, const void* data, size_t size)
{
    static const auto pReal = real<ssize_t(int, const void*, size_t)>("write");
    const Fate fate = fateOf("write", pathOf(file));
    if (fate == Fate::Lies && size > 0) {
        std::string strWrong(static_cast<const char*>(data), size);
        strWrong[size / 2] ^= 1;
        return finished(pReal(file, strWrong.data(), size));
    }
    return fate == Fate::Fails ? -1 : finished(pReal(file, data, allowed(fate, size)));
}

__attribute__((visibility("default"))) ssize_t sendfile(int to, int from, off_t* offset,
                                                        size_t size) noexcept
{
    static const auto pReal = real<ssize_t(int, int, off_t*, size_t)>("sendfile");
    const Fate fate = fateOf("sendfile", pathOf(to));
    // Half of "all of it" would still be all of it.
    return fate == Fate::Fails
        ? -1
        : finished(pReal(to, from, offset, fate == Fate::Short ? 100 : size));
}

} // extern "C"
