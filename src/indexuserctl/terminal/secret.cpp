#include "terminal/secret.h"

#include "failure.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>

#include <termios.h>
#include <unistd.h>

namespace {

termios g_withEcho {}; // for the handler, which may use nothing that allocates

void restoreAndDie(int signal)
{
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &g_withEcho);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

// A terminal without echo, which it has again afterwards, also when the program is broken off.
class CSilence {
public:
    CSilence()
    {
        ::tcgetattr(STDIN_FILENO, &g_withEcho);
        for (std::size_t i = 0; i < c_signals.size(); ++i) {
            m_before[i] = std::signal(c_signals[i], restoreAndDie);
        }
        termios silent = g_withEcho;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    CSilence(const CSilence&) = delete;
    CSilence& operator=(const CSilence&) = delete;
    ~CSilence()
    {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &g_withEcho);
        for (std::size_t i = 0; i < c_signals.size(); ++i) {
            std::signal(c_signals[i], m_before[i]);
        }
    }

private:
    static constexpr std::array<int, 4> c_signals { SIGINT, SIGTERM, SIGHUP, SIGQUIT };
    std::array<void (*)(int), 4> m_before {};
};

QString readLine()
{
    std::string strLine;
    if (!std::getline(std::cin, strLine)) {
        throw CFailure(ExitStatus::Usage, QStringLiteral("nothing came from standard input"));
    }
    const std::optional<QString> text = firstLine(QByteArray::fromStdString(strLine));
    if (!text) {
        throw CFailure(ExitStatus::Usage, QStringLiteral("what came is not UTF-8"));
    }
    return *text;
}

QString askedFor(const QString& prompt)
{
    std::cerr << prompt.toStdString() << std::flush;
    const QString strText = readLine();
    std::cerr << '\n';
    return strText;
}

} // namespace

QString readSecret(const QString& name)
{
    if (::isatty(STDIN_FILENO) != 1) {
        return readLine();
    }
    const CSilence silence;
    const QString strText = askedFor(name + ": ");
    if (askedFor(name + ", again: ") != strText) {
        throw CFailure(ExitStatus::Usage, QStringLiteral("these two were not the same"));
    }
    return strText;
}

std::optional<QString> firstLine(const QByteArray& text)
{
    constexpr char c_szMark[] = "\xef\xbb\xbf";
    QByteArray line = text.mid(0, text.indexOf('\n'));
    line.remove(0, line.startsWith(c_szMark) ? static_cast<int>(sizeof c_szMark) - 1 : 0);
    line.chop(line.endsWith('\r') ? 1 : 0);
    // Qt takes another mark behind the first one for one, too.
    const QString strLine = QString::fromUtf8('.' + line).mid(1);
    return strLine.toUtf8() == line ? std::make_optional(strLine) : std::nullopt;
}
