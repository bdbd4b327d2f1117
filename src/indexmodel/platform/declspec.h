#pragma once

#include <QtCore/qglobal.h>

/// Marks what a sibling library defines, so that one definition serves every module of the process.
#if defined(PLATFORM_LIBRARY)
#define PLATFORM_API Q_DECL_EXPORT
#else
#define PLATFORM_API Q_DECL_IMPORT
#endif

/// Marks a template whose static members are one and the same in every module that uses them.
#if defined(Q_OS_WIN)
#define PLATFORM_TEMPLATE
#else
#define PLATFORM_TEMPLATE Q_DECL_EXPORT
#endif
