#include "commands/wholefile.h"

#include "failure.h"

#include <QFile>

QString inputPath(const QString& word)
{
    return word == QLatin1String("-") ? QStringLiteral("/dev/stdin") : word;
}

namespace {

inspect::UserFile whole(inspect::UserFile file)
{
    if (file.state == inspect::FileState::Damaged) {
        throw CFailure(ExitStatus::Damaged, file.strError);
    }
    if (file.state != inspect::FileState::Whole) {
        throw CFailure(ExitStatus::InputOutput, file.strError);
    }
    return file;
}

} // namespace

inspect::UserFile wholeFile(const QString& path)
{
    return whole(inspect::readUserFile(path));
}

inspect::UserFile wholeDocument(const QString& path)
{
    return whole(inspect::readDocument(path));
}

inspect::UserFile liveFile(const Request& request)
{
    return wholeFile(inspect::livePath(request.strConfigDir));
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (file.error() != QFileDevice::NoError) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("%1: %2").arg(path, file.errorString()));
    }
    return content;
}
