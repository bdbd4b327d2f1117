#include "platform/indexutil.h"

#include "platform/commonutil.h"
#include "standalone/codepage_p.h"
#include "standalone/durablefile_p.h"
#include "standalone/saveguard_p.h"
#include "standalone/standalone.h"

#include <QDir>
#include <QFile>

#include <optional>

namespace standalone {

namespace {

struct ServedFile {
    QString strPath;
    std::optional<QByteArray> bytes;
};

ServedFile& servedFile()
{
    return *utils::CManualSingletonT<ServedFile>::instance();
}

} // namespace

void serveOnce(const QString& path, const QByteArray& bytes)
{
    servedFile() = { QDir::cleanPath(path), bytes };
}

} // namespace standalone

namespace KW {

bool stdReadFile(std::string path, std::string& content)
{
    content.clear();
    const QString strPath = QFile::decodeName(path.c_str());
    standalone::ServedFile& served = standalone::servedFile();
    if (served.bytes && served.strPath == QDir::cleanPath(strPath)) {
        content = served.bytes->toStdString();
        served = {};
        return true;
    }
    return standalone::readFile(strPath, content).cause == standalone::ReadCause::None;
}

bool stdWriteFile(std::string path, std::string& content, std::string mode)
{
    // Only whole files are written here: there is nobody who would append.
    return (mode == "wb" || mode == "w")
        && standalone::replaceGuarded(QFile::encodeName(standalone::fromGbk(path)), content);
}

bool QWriteFile(QString& path, QString& content)
{
    return standalone::replaceFile(QFile::encodeName(path), content.toStdString());
}

} // namespace KW
