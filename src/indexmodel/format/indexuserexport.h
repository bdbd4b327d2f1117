#pragma once

#include <QtCore/qglobal.h>

#if defined(INDEXUSER_LIBRARY)
#define INDEXUSER_EXPORT Q_DECL_EXPORT
#else
#define INDEXUSER_EXPORT Q_DECL_IMPORT
#endif
