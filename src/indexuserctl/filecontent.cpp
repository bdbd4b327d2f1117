#include "filecontent.h"

#include "failure.h"

#include <QFile>

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
