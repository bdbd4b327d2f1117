#pragma once

#include "platform/declspec.h"

#include <boost/config.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/locks.hpp>
#include <boost/thread/shared_mutex.hpp>
#include <log4cxx/logger.h>

#include <memory>
#include <new>
#include <string>

/// The logger that all libraries of the client share; null as long as nobody made it.
extern PLATFORM_API log4cxx::LoggerPtr g_RXStdLogger;

namespace utils {

/// Converts UTF-8 text to GBK in place; 0 means success.
PLATFORM_API int safeUtf82Gbk(std::string& text);

/// Reads an ini file. A missing file, section or key gives the default of the read.
class PLATFORM_API Configuration {
public:
    Configuration(std::string path, bool);

    /// Reads \a path, or the path given at construction if \a path is empty.
    bool load(std::string path);
    int readInt(std::string section, std::string key, int defaultValue);

private:
    std::string m_strPath;
    std::shared_ptr<const void> m_pContent;
};

/// The only instance of T in the process, created by the first instance().
///
/// instance() may be called from any thread; the mutex is held only while T is constructed, so T's
/// constructor must not ask for its own instance. Null when memory for T is lacking. release()
/// drops the instance, which lives on as long as somebody shares it; the next instance() is new.
///
/// Never inlined, so that all modules run one copy of the code and with it one set of spin locks.
/// The header of T declares that copy (extern template), one module of the process defines it; a
/// T of one module only needs neither.
template <class T> class PLATFORM_TEMPLATE CSingletonT {
public:
    BOOST_NOINLINE static T* instance()
    {
        if (const auto pExisting = boost::atomic_load(&s_pInstance)) {
            return pExisting.get();
        }
        const boost::unique_lock<boost::shared_mutex> lock(s_mutex);
        auto pInstance = boost::atomic_load(&s_pInstance);
        if (!pInstance) {
            pInstance.reset(new (std::nothrow) T);
            boost::atomic_store(&s_pInstance, pInstance);
        }
        return pInstance.get();
    }

    BOOST_NOINLINE static void release()
    {
        // T's destructor runs outside the atomic operation: it may take as long as it likes.
        boost::atomic_exchange(&s_pInstance, boost::shared_ptr<T>());
    }

    static boost::shared_mutex s_mutex;
    static boost::shared_ptr<T> s_pInstance;

protected:
    CSingletonT() = default;
    CSingletonT(const CSingletonT&) = default;
    CSingletonT& operator=(const CSingletonT&) = default;
    ~CSingletonT() = default;
};

template <class T> boost::shared_mutex CSingletonT<T>::s_mutex;
template <class T> boost::shared_ptr<T> CSingletonT<T>::s_pInstance;

/// The only instance of a T that is never released while the process runs; defined as that of
/// CSingletonT is.
template <class T> class PLATFORM_TEMPLATE CManualSingletonT {
public:
    BOOST_NOINLINE static T* instance()
    {
        static T s_instance;
        return &s_instance;
    }
};

} // namespace utils
