#include "many/children.h"

#include "failure.h"
#include "terminal/output.h"

#include <QFile>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void failToStart()
{
    throw CFailure(
        ExitStatus::InputOutput,
        QStringLiteral("no further process: %1").arg(QString::fromLocal8Bit(std::strerror(errno))));
}

QByteArray contentOf(int descriptor)
{
    QFile file;
    if (::lseek(descriptor, 0, SEEK_SET) != 0 || !file.open(descriptor, QIODevice::ReadOnly)) {
        return {};
    }
    return file.readAll();
}

pid_t waitForOne(int& state)
{
    pid_t process = -1;
    do {
        process = ::waitpid(-1, &state, 0);
    } while (process < 0 && errno == EINTR);
    return process;
}

ExitStatus statusOf(int state)
{
    const int nStatus = WIFEXITED(state) ? WEXITSTATUS(state) : -1;
    const bool bKnown = nStatus >= 0 && nStatus <= static_cast<int>(ExitStatus::RecoveredWithLoss);
    return bKnown ? static_cast<ExitStatus>(nStatus) : ExitStatus::InputOutput;
}

} // namespace

CChildren::CChildren(AnswerWords answer, Input input)
    : m_answer(answer)
    , m_input(input)
{
    std::signal(SIGCHLD, SIG_DFL); // whoever started this one may have chosen not to wait
}

CChildren::~CChildren()
{
    int nState = 0;
    for (int i = m_running.size(); i > 0; --i) {
        waitForOne(nState);
    }
    std::for_each(m_running.begin(), m_running.end(), close);
}

CChildren::Child CChildren::childNamed(const QString& name)
{
    const auto file = [] { return ::memfd_create("indexuserctl", MFD_CLOEXEC); };
    const Child child { name, file(), file(), file() };
    if (child.nText < 0 || child.nMessages < 0 || child.nAnswer < 0) {
        close(child);
        failToStart();
    }
    return child;
}

void CChildren::close(const Child& child)
{
    for (const int nDescriptor : { child.nText, child.nMessages, child.nAnswer }) {
        ::close(nDescriptor);
    }
}

void CChildren::start(const QString& name, const QStringList& words)
{
    const Child child = childNamed(name);
    std::fflush(stdout); // else both bring out what is there
    const pid_t process = ::fork();
    if (process == 0) {
        live(child, words);
    }
    if (process < 0) {
        close(child);
        failToStart();
    }
    m_running.insert(process, child);
}

// Ends without what the end of a process cleans up: that is the other one's.
void CChildren::live(const Child& child, const QStringList& words) const
{
    const int nInput
        = m_input == Input::None ? ::open("/dev/null", O_RDONLY | O_CLOEXEC) : STDIN_FILENO;
    if (::dup2(nInput, STDIN_FILENO) < 0 || ::dup2(child.nText, STDOUT_FILENO) < 0
        || ::dup2(child.nMessages, STDERR_FILENO) < 0) {
        ::_exit(static_cast<int>(ExitStatus::InputOutput));
    }
    answerInto(child.nAnswer);
    const ExitStatus status = m_answer(words);
    std::fflush(stdout);
    ::_exit(static_cast<int>(status));
}

Heard CChildren::next()
{
    int nState = 0;
    const auto it = m_running.find(waitForOne(nState));
    if (it == m_running.end()) {
        throw CFailure(ExitStatus::InputOutput, QStringLiteral("a process is lost"));
    }
    const Child child = *it;
    m_running.erase(it);
    Heard heard { child.strName, statusOf(nState),
                  QJsonDocument::fromJson(contentOf(child.nAnswer)).object(),
                  contentOf(child.nText), contentOf(child.nMessages) };
    close(child);
    if (heard.answer.isEmpty() || !WIFEXITED(nState)) {
        heard.status = ExitStatus::InputOutput;
        heard.answer = {};
    }
    return heard;
}
