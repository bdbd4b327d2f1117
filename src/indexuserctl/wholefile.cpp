#include "wholefile.h"

#include "failure.h"

#include <QFile>

inspect::UserFile wholeFile(const QString& path)
{
    inspect::UserFile file = inspect::readUserFile(path);
    if (file.state == inspect::FileState::Damaged) {
        throw CFailure(ExitStatus::Damaged, file.strError);
    }
    if (file.state != inspect::FileState::Whole) {
        throw CFailure(ExitStatus::InputOutput, file.strError);
    }
    return file;
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
