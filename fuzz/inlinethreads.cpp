// The threads of saves run where they are started: to begin and to await one for each of thousands
// of inputs a second costs more than all the rest. What threads do to each other is for the tests.

#include "inlinethreads.h"

#include <boost/config.hpp>

#include <dlfcn.h>
#include <pthread.h>

// A sanitizer's own, if there is one: it has to know of the threads that there are.
extern "C" __attribute__((weak)) decltype(pthread_create)
    __interceptor_pthread_create; // NOLINT(bugprone-reserved-identifier)

namespace fuzzkit {

namespace {

using Create = decltype(&pthread_create);

Create realCreate()
{
    return __interceptor_pthread_create != nullptr
        ? &__interceptor_pthread_create
        : reinterpret_cast<Create>(::dlsym(RTLD_NEXT, "pthread_create"));
}

bool g_bInline = false; // libFuzzer has threads of its own

} // namespace

CInlineThreads::CInlineThreads()
{
    g_bInline = true;
}

CInlineThreads::~CInlineThreads()
{
    g_bInline = false;
}

} // namespace fuzzkit

extern "C" BOOST_SYMBOL_EXPORT int pthread_create(pthread_t* pThread,
                                                  const pthread_attr_t* pAttributes,
                                                  void* (*pRun)(void*), void* pArgument)
{
    static const fuzzkit::Create s_pCreate = fuzzkit::realCreate();
    if (!fuzzkit::g_bInline) {
        return s_pCreate(pThread, pAttributes, pRun, pArgument);
    }
    *pThread = ::pthread_self();
    pRun(pArgument);
    return 0;
}
