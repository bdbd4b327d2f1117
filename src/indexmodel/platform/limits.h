#pragma once

#include <QtCore/qglobal.h>

namespace KW {

/// Elements deeper than this, the root being at 1, are neither read nor written: Qt's parser and
/// writer recurse, and far deeper trees than any real one overflow their stack.
constexpr int c_nMaxDepth = 512;

/// A file larger than this is no user's, and is not read.
constexpr qint64 c_nMaxFileBytes = 256LL * 1024 * 1024;

} // namespace KW
