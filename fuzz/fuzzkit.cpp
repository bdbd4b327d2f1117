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

KW::UserConfigInterface& load(const QByteArray& content)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QFile file(livePath());
    require(file.open(QIODevice::WriteOnly) && file.write(content) == content.size()
                && file.flush(),
            file.errorString());
    utils::CSingletonT<KW::CUserConfigManager>::release();
    standalone::forgetAll();
    standalone::setConfigDir(userDir());
    KW::UserConfigInterface& service = *KW::UserConfigFactory::getIndexUserConfig();
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
