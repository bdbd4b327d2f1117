#include "fuzzkit.h"

#include <indexuser/cuserconfigmanager.h>
#include <standalone/standalone.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTextCodec>

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

namespace fuzzkit {

QString userDir()
{
    static const QTemporaryDir s_directory(
        (QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm") : QDir::tempPath())
        + QStringLiteral("/fuzz-XXXXXX"));
    return s_directory.path();
}

QString livePath()
{
    return userDir() + QStringLiteral("/indexUserConfig.xml");
}

namespace {

// As a new process has it.
KW::UserConfigInterface& newService()
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    utils::CSingletonT<KW::CUserConfigManager>::release();
    standalone::forgetAll();
    standalone::setConfigDir(userDir());
    return *KW::UserConfigFactory::getIndexUserConfig();
}

} // namespace

KW::UserConfigInterface& load(const QByteArray& content)
{
    QFile file(livePath());
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size()
                && file.flush(),
            file.errorString());
    KW::UserConfigInterface& service = newService();
    service.loadSettings();
    return service;
}

KW::UserConfigInterface& loadServed(const QByteArray& content)
{
    KW::UserConfigInterface& service = newService();
    standalone::serveOnce(livePath(), content);
    service.loadSettings();
    return service;
}

void save(KW::UserConfigInterface& service)
{
    service.saveSettings();
    while (!service.getSaveSuccess()) {
        ::usleep(20);
    }
}

void require(bool holds, const QString& message)
{
    if (!holds) {
        std::fprintf(stderr, "%s\n", qPrintable(message));
        std::abort();
    }
}

} // namespace fuzzkit
