#include "terminal/progress.h"

#include <QByteArray>

#include <iostream>
#include <string>

#include <unistd.h>

namespace {

constexpr int c_nWidth = 40;
constexpr qint64 c_nSecond = 1000;
constexpr qint64 c_nMinute = 60;

// Of a second or less nobody needs to know.
std::string restText(qint64 milliseconds)
{
    const qint64 nSeconds = (milliseconds + c_nSecond - 1) / c_nSecond;
    if (nSeconds < 2) {
        return {};
    }
    return ", "
        + (nSeconds < 2 * c_nMinute ? std::to_string(nSeconds) + " s"
                                    : std::to_string(nSeconds / c_nMinute) + " min")
        + " left";
}

} // namespace

CProgress::CProgress(int total)
    : m_nTotal(total)
    , m_bShown(total > 1 && ::isatty(STDERR_FILENO) == 1 && qgetenv("TERM") != "dumb")
{
    m_timer.start();
}

CProgress::~CProgress()
{
    hide();
}

void CProgress::hide() const
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
                  << "] " << m_nDone << '/' << m_nTotal
                  << restText(m_timer.elapsed() * (m_nTotal - m_nDone) / m_nDone) << "\033[K"
                  << std::flush;
    }
}
