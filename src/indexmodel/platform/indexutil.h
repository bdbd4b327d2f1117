#pragma once

#include "platform/declspec.h"

#include <QString>

#include <string>

namespace KW {

/// Reads a whole file into \a content. \a path is in the local 8-bit encoding.
/// False when the file cannot be read whole; \a content is then empty.
PLATFORM_API bool stdReadFile(std::string path, std::string& content);

/// Writes \a content to \a path, which is in GBK. \a mode is that of std::fopen ("wb").
/// False unless every byte is in the file.
PLATFORM_API bool stdWriteFile(std::string path, std::string& content, std::string mode);

/// Writes \a content as text to \a path; false unless all of it is in the file.
PLATFORM_API bool QWriteFile(QString& path, QString& content);

} // namespace KW
