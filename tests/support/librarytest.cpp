#include "librarytest.h"

#include "logcapture.h"

#include <QDate>
#include <QFile>
#include <QTextCodec>

KW::UserConfigInterface& CLibraryTest::service()
{
    return *KW::UserConfigFactory::getIndexUserConfig();
}

KW::CUserConfigManager& CLibraryTest::manager()
{
    return *utils::CSingletonT<KW::CUserConfigManager>::instance();
}

QString CLibraryTest::userDir() const
{
    return m_pDirectory->path();
}

QString CLibraryTest::livePath() const
{
    return userDir() + "/indexUserConfig.xml";
}

QString CLibraryTest::datedPath() const
{
    return userDir() + "/Temp/indexUserConfig.xml_" + QDate::currentDate().toString("yyyyMMdd");
}

void CLibraryTest::writeLive(const QByteArray& content) const
{
    writeFile(livePath(), content);
}

void CLibraryTest::writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(file.errorString()));
    QCOMPARE(file.write(content), static_cast<qint64>(content.size()));
    QVERIFY(file.flush());
}

QByteArray CLibraryTest::readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

void CLibraryTest::saveAndWait(KW::UserConfigInterface& service)
{
    service.saveSettings();
    QTRY_VERIFY_WITH_TIMEOUT(service.getSaveSuccess(), 60000);
}

void CLibraryTest::init()
{
    // In a bare locale Qt would lose every character of a path that is not ASCII.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    m_pDirectory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_pDirectory->isValid());
    utils::CSingletonT<KW::CUserConfigManager>::release();
    resetSiblings();
    useUserDir(userDir());
    logcapture::start();
}

void CLibraryTest::cleanup()
{
    QVERIFY2(logcapture::unexpectedErrors() == 0,
             qPrintable(logcapture::messages().join(QLatin1Char('\n'))));
    utils::CSingletonT<KW::CUserConfigManager>::release();
}

QDomDocument parsed(const QString& xml)
{
    QDomDocument doc;
    QString strError;
    if (!doc.setContent(xml, &strError)) {
        qFatal("test data: %s", qPrintable(strError));
    }
    return doc;
}
