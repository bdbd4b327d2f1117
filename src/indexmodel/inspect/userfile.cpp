#include "inspect/userfile.h"

#include "indexuser/userdocument.h"

#include <QDir>
#include <QFile>

namespace inspect {

UserFile readUserFile(const QString& path)
{
    QFile file(path);
    const bool bOpen = file.open(QIODevice::ReadOnly);
    if (bOpen && file.size() > c_nMaxFileBytes) {
        return { FileState::Damaged,
                 {},
                 path + QStringLiteral(": larger than %1 bytes").arg(c_nMaxFileBytes),
                 {} };
    }
    const QByteArray bytes = bOpen ? file.readAll() : QByteArray();
    if (file.error() != QFileDevice::NoError) {
        const bool bThere = file.exists();
        return { bThere ? FileState::Unreadable : FileState::Missing,
                 {},
                 path + ": " + file.errorString(),
                 {} };
    }
    const QString strText = QString::fromUtf8(bytes.constData(), bytes.size());
    const KW::UserDocument parsed = KW::parseUserDocument(strText);
    if (!parsed.isValid()) {
        return { FileState::Damaged,
                 {},
                 path + QStringLiteral(":%1:%2: ").arg(parsed.nLine).arg(parsed.nColumn)
                     + parsed.strError,
                 {} };
    }
    return { FileState::Whole, parsed.document, {}, strText };
}

QString livePath(const QString& configDir)
{
    return QDir(configDir).filePath(QStringLiteral("indexUserConfig.xml"));
}

} // namespace inspect
