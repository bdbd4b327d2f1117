#include "mend/durable_p.h"

#include <platform/commonutil.h>
#include <platform/indexutil.h>

#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace mend {

bool syncPath(const QString& path)
{
    const int nFile = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (nFile < 0) {
        return false;
    }
    const bool bSynced = ::fsync(nFile) == 0;
    return ::close(nFile) == 0 && bSynced;
}

bool makeDurableDirectory(const QString& path)
{
    const bool bMade = ::mkdir(QFile::encodeName(path).constData(), S_IRWXU) == 0;
    // Whoever made it before may not have come to the end of this.
    return (bMade || errno == EEXIST) && QFileInfo(path).isDir()
        && syncPath(QFileInfo(path).absolutePath());
}

bool writeDurably(const QString& path, const QByteArray& content)
{
    std::string strContent = content.toStdString();
    std::string strPath = path.toStdString();
    return utils::safeUtf82Gbk(strPath) == 0 && KW::stdWriteFile(strPath, strContent, "wb");
}

} // namespace mend
