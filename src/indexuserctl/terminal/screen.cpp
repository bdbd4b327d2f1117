#include "terminal/screen.h"

#include <QByteArray>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

winsize screenSize()
{
    winsize size {};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) {
        return {};
    }
    return size;
}

} // namespace

bool isScreen()
{
    static const bool s_bScreen = ::isatty(STDOUT_FILENO) == 1;
    return s_bScreen;
}

bool hasColor()
{
    return isScreen() && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
}

int screenWidth()
{
    const int nColumns = isScreen() ? screenSize().ws_col : 0;
    return nColumns > 0 || !isScreen() ? nColumns : qEnvironmentVariableIntValue("COLUMNS");
}

bool hasPager()
{
    return isScreen() && !qEnvironmentVariableIsEmpty("PAGER");
}

bool pageText(const std::string& text)
{
    const int nRows = screenSize().ws_row;
    if (nRows == 0 || std::count(text.begin(), text.end(), '\n') < nRows) {
        return false;
    }
    // Colours as they are, and what was read stays on the screen, as long as nobody says otherwise.
    ::setenv("LESS", "FRX", 0);
    FILE* const pPager = ::popen(qgetenv("PAGER").constData(), "w");
    if (pPager == nullptr) {
        return false;
    }
    // Whoever leaves the pager has seen enough, and then it ends well.
    std::fwrite(text.data(), 1, text.size(), pPager);
    const int nStatus = ::pclose(pPager);
    return WIFEXITED(nStatus) && WEXITSTATUS(nStatus) == 0;
}
