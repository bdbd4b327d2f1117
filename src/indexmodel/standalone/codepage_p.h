#pragma once

#include <QString>

#include <string>

namespace standalone {

/// The text that utils::safeUtf82Gbk() put into the code page.
QString fromGbk(const std::string& bytes);

} // namespace standalone
