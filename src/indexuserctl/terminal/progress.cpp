#include "terminal/progress.h"

#include <iostream>
#include <string>

#include <unistd.h>

namespace {

constexpr int c_nWidth = 40;

} // namespace

CProgress::CProgress(int total)
    : m_nTotal(total)
    , m_bShown(total > 1 && ::isatty(STDERR_FILENO) == 1)
{
}

CProgress::~CProgress()
{
    if (m_bShown) {
        std::cerr << "\r\033[K" << std::flush;
    }
}

void CProgress::advance()
{
    ++m_nDone;
    if (m_bShown) {
        const auto nFilled = static_cast<std::size_t>(c_nWidth * m_nDone / m_nTotal);
        std::cerr << "\r[" << std::string(nFilled, '#') << std::string(c_nWidth - nFilled, ' ')
                  << "] " << m_nDone << '/' << m_nTotal << std::flush;
    }
}
