#include "subjects.h"

#include <format/elementtree.h>
#include <indexuser/cpanelgrouplayoutconfig.h>
#include <platform/indexutil.h>
#include <standalone/standalone.h>

#include <QDir>
#include <QFile>

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

namespace bench {

namespace {

int threadCount()
{
    return static_cast<int>(QDir("/proc/self/task").count());
}

} // namespace

CLibrary::CLibrary(const Size& size)
    : m_size(size)
    , m_directory(QStringLiteral("bench-XXXXXX"))
    , m_nElements(KW::elementCount(buildDocument(size)))
    , m_nThreads(threadCount())
{
    require(m_directory.isValid(), "no temporary directory");
    require(m_nElements > size.nStocks + size.nWindows, "the user is not built");
    standalone::setConfigDir(m_directory.path());
    writeDurably(livePath(), userFile(size));
    renew();
}

QString CLibrary::livePath() const
{
    return m_directory.filePath(QStringLiteral("indexUserConfig.xml"));
}

KW::UserConfigInterface& CLibrary::service()
{
    return *KW::UserConfigFactory::getIndexUserConfig();
}

void CLibrary::renew()
{
    delete service().getLayoutConfig(); // it outlives its manager, which here would add up
    utils::CSingletonT<KW::CUserConfigManager>::release();
    standalone::forgetAll();
    service();
}

void CLibrary::waitForWorker() const
{
    while (threadCount() > m_nThreads) {
        ::usleep(200);
    }
}

void CLibrary::requireSaved() const
{
    QFile file(livePath());
    QDomDocument doc;
    require(file.open(QIODevice::ReadOnly) && doc.setContent(&file), "the file is not whole");
    require(KW::elementCount(doc) == m_nElements, "the file does not hold the user");
}

void CLibrary::requireLoaded()
{
    KW::CustomStockMap stocks;
    service().getCustomStockMap(stocks);
    int nStocks = 0;
    for (const auto& list : stocks) {
        nStocks += list.size();
    }
    require(nStocks == m_size.nStocks, "not all stocks were loaded");
}

bool readByQt(const QString& path, QDomDocument& doc)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && doc.setContent(QString::fromUtf8(file.readAll()));
}

void saveByQt(const QDomDocument& doc, const QString& path)
{
    saveBytes(doc.toString(4).toUtf8(), path);
}

void saveBytes(const QByteArray& content, const QString& path)
{
    const QString strCopy = path + ".copy";
    writeDurably(strCopy, content);
    QFile::remove(path);
    require(QFile::copy(strCopy, path), "not copied");
}

void writeDurably(const QString& path, const QByteArray& content)
{
    std::string strContent = content.toStdString();
    require(KW::stdWriteFile(path.toStdString(), strContent, "wb"), "cannot write");
}

void require(bool holds, const char* pszMessage)
{
    if (!holds) {
        std::fprintf(stderr, "bench: %s\n", pszMessage);
        std::exit(1);
    }
}

} // namespace bench
