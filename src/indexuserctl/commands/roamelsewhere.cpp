#include "commands.h"
#include "failure.h"

#include <QCoreApplication>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <vector>

#include <unistd.h>

namespace {

constexpr char c_szProgram[] = "indexuserctl-roam";

// Comes back only if there is no such program.
void become(const QString& program)
{
    QByteArrayList words { QFile::encodeName(program) };
    const QStringList typed = QCoreApplication::arguments().mid(1);
    for (const QString& word : typed) {
        words.append(word.toUtf8());
    }
    std::vector<char*> all;
    for (QByteArray& word : words) {
        all.push_back(word.data());
    }
    all.push_back(nullptr);
    ::execv(all.front(), all.data());
    if (errno != ENOENT) {
        throw CFailure(ExitStatus::InputOutput,
                       program + ": " + QString::fromLocal8Bit(std::strerror(errno)), { program });
    }
}

// A build has both programs side by side.
[[noreturn]] void handOver()
{
    const QString strHere = QCoreApplication::applicationDirPath();
    become(strHere + '/' + c_szProgram);
    become(strHere + "/" INDEXUSER_LIBEXEC "/" + c_szProgram);
    throw CFailure(ExitStatus::InputOutput,
                   QStringLiteral("nothing roams from here: there is no %1, which the package "
                                  "libindexuser-roaming brings")
                       .arg(c_szProgram));
}

} // namespace

ExitStatus roamInit(const Request&)
{
    handOver();
}

ExitStatus roamStatus(const Request&)
{
    handOver();
}

ExitStatus roamPush(const Request&)
{
    handOver();
}

ExitStatus roamPull(const Request&)
{
    handOver();
}

ExitStatus roamHistory(const Request&)
{
    handOver();
}

ExitStatus roamShow(const Request&)
{
    handOver();
}

ExitStatus roamDiff(const Request&)
{
    handOver();
}

ExitStatus roamRestore(const Request&)
{
    handOver();
}

ExitStatus roamAsides(const Request&)
{
    handOver();
}

ExitStatus roamResolve(const Request&)
{
    handOver();
}

ExitStatus roamThin(const Request&)
{
    handOver();
}
