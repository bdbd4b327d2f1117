#include "platform/commonutil.h"
#include "platform/environment.h"
#include "platform/filenames.h"
#include "platform/strategybase.h"
#include "standalone/durablefile_p.h"
#include "standalone/saveguard_p.h"
#include "standalone/standalone.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>

#include <mutex>

namespace standalone {

namespace {

// Held while it is asked, so that nobody is told behind the end of the listening.
struct Listening {
    std::mutex mutex;
    StoredListener listener;
};

Listening& listening()
{
    return *utils::CManualSingletonT<Listening>::instance();
}

void tellStored(const QString& section, const QString& key)
{
    const std::lock_guard<std::mutex> lock(listening().mutex);
    if (listening().listener) {
        listening().listener(section, key);
    }
}

} // namespace

void onStored(const StoredListener& listener)
{
    const std::lock_guard<std::mutex> lock(listening().mutex);
    listening().listener = listener;
}

} // namespace standalone

namespace se {

namespace {

constexpr int c_nOk = 0;
constexpr int c_nFailed = -1;
constexpr int c_nLongestName = 120;

// File systems take names of 255 bytes; a longer text is told apart by its digest. A '%' before
// anything but two hexadecimal digits never comes out of the encoding.
QByteArray encoded(const std::string& text)
{
    const QByteArray bytes = QByteArray::fromStdString(text);
    const QByteArray name = bytes.toPercentEncoding();
    return name.size() <= c_nLongestName ? name
                                         : name.left(20) + "%~"
            + QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
}

QString storePath()
{
    return KW::getConfigDir() + '/' + KW::c_szSettingsFolder;
}

// One file a value, replaced as a whole: readers and writers on other threads need no lock.
QString valuePath(const std::string& section, const std::string& key)
{
    return storePath() + QLatin1Char('/')
        + QString::fromLatin1(encoded(section) + '=' + encoded(key));
}

int store(const std::string& section, const std::string& key, const std::string& value,
          standalone::Sync sync)
{
    const bool bStored = standalone::makeDirectory(storePath())
        && standalone::replaceGuarded(QFile::encodeName(valuePath(section, key)), value, sync);
    if (bStored) {
        standalone::tellStored(QString::fromStdString(section), QString::fromStdString(key));
    }
    return bStored ? c_nOk : c_nFailed;
}

} // namespace

int writeConfig(const std::string& section, const std::string& key, const std::string& value, bool)
{
    return store(section, key, value, standalone::Sync::Disk);
}

// The mirror of a document that its owner writes to the disk by itself.
int writeConfig(const std::string& key, const std::string& value)
{
    return store(std::string(), key, value, standalone::Sync::Never);
}

int readConfig(const std::string& section, const std::string& key, std::string& value, bool)
{
    const standalone::ReadFailure failure = standalone::readFile(valuePath(section, key), value);
    return failure.cause == standalone::ReadCause::None ? c_nOk : c_nFailed;
}

} // namespace se

namespace standalone {

QString settingFile(const QString& section, const QString& key)
{
    return se::valuePath(section.toStdString(), key.toStdString());
}

QString settingReadError(const QString& section, const QString& key)
{
    const QString strPath = settingFile(section, key);
    std::string strValue;
    const ReadFailure failure = readFile(strPath, strValue);
    return failure.cause == ReadCause::Unreadable ? strPath + ": " + failure.strReason : QString();
}

bool removeSetting(const QString& section, const QString& key)
{
    const bool bRemoved = removeFile(QFile::encodeName(settingFile(section, key)));
    if (bRemoved) {
        tellStored(section, key);
    }
    return bRemoved;
}

QVector<SettingName> settingNames()
{
    const auto decoded = [](const QByteArray& name) {
        return QString::fromUtf8(QByteArray::fromPercentEncoding(name));
    };
    QVector<SettingName> names;
    const auto files = QDir(se::storePath()).entryList(QDir::Files);
    for (const QString& file : files) {
        const QByteArray name = file.toLatin1();
        const int nEqual = name.indexOf('=');
        if (nEqual >= 0 && !name.contains("%~")) {
            names.append({ decoded(name.left(nEqual)), decoded(name.mid(nEqual + 1)) });
        }
    }
    return names;
}

QStringList settingKeys(const QString& section)
{
    QStringList keys;
    const auto names = settingNames();
    for (const SettingName& name : names) {
        if (name.strSection == section) {
            keys.append(name.strKey);
        }
    }
    return keys;
}

} // namespace standalone
