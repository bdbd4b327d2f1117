#include "platform/indexutil.h"

#include "standalone/codepage_p.h"
#include "standalone/durablefile_p.h"

#include <QFile>

namespace KW {

bool stdReadFile(std::string path, std::string& content)
{
    content.clear();
    return standalone::readFile(QFile::decodeName(path.c_str()), content).cause
        == standalone::ReadCause::None;
}

bool stdWriteFile(std::string path, std::string& content, std::string mode)
{
    // Only whole files are written here: there is nobody who would append.
    return (mode == "wb" || mode == "w")
        && standalone::replaceFile(QFile::encodeName(standalone::fromGbk(path)), content);
}

bool QWriteFile(QString& path, QString& content)
{
    return standalone::replaceFile(QFile::encodeName(path), content.toStdString());
}

} // namespace KW
