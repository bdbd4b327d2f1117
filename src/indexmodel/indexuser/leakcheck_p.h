#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define INDEXUSER_LEAK_CHECKER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define INDEXUSER_LEAK_CHECKER
#endif
#endif

#ifdef INDEXUSER_LEAK_CHECKER
#include <sanitizer/lsan_interface.h>
#endif

namespace KW {

/// Tells the leak checker, where there is one, that \a pObject is meant to outlive its owner.
inline void outlivesItsOwner([[maybe_unused]] const void* pObject)
{
#ifdef INDEXUSER_LEAK_CHECKER
    __lsan_ignore_object(pObject);
#endif
}

} // namespace KW
