#pragma once

#include <inspect/userfile.h>
#include <roaming/memorystore.h>
#include <roaming/prepare.h>
#include <roaming/roamingtext.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <map>
#include <mutex>

/// A desk of a trader: a directory of its own and settings, beside other desks of the same server.
class CTestDesk {
public:
    CTestDesk()
    {
        m_settings.write = [this](const auto& setting) { return put(setting); };
    }

    QString dir() const { return m_directory.path(); }
    QString livePath() const { return inspect::livePath(dir()); }

    roaming::Desk desk() const
    {
        roaming::Desk made { dir(), roaming::thisMachine(dir()) };
        made.settings = m_settings;
        made.settings.all
            = [this] { return m_bReadable ? std::make_optional(settings()) : std::nullopt; };
        made.arrangement = roaming::CArrangement(inspect::screensFromText(m_strScreens).screens);
        return made;
    }

    /// A whole user's file whose graphs say \a text, with \a password as the option of that name.
    static QByteArray user(const QByteArray& text, const QByteArray& password = "mine")
    {
        return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<ICUserConfigFile><Option><Settings "
               "oaPassword=\""
            + password + "\"/></Option><drawGraph><g text=\"" + text
            + "\"/></drawGraph></ICUserConfigFile>\n";
    }

    void write(const QByteArray& bytes) const
    {
        QFile file(livePath());
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
            qFatal("%s cannot be written", qPrintable(file.fileName()));
        }
    }

    QByteArray read() const
    {
        QFile file(livePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// What the graphs of the live file say, and its password.
    QString text() const { return attribute("drawGraph", "text"); }
    QString password() const { return attribute("Option", "oaPassword"); }

    bool put(const roaming::SharedSetting& setting)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto key = std::make_pair(setting.strSection, setting.strKey);
        m_values.erase(key);
        if (setting.value) {
            m_values[key] = *setting.value;
        }
        return true;
    }

    QVector<roaming::SharedSetting> settings() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        QVector<roaming::SharedSetting> all;
        for (const auto& [key, value] : m_values) {
            all.append({ key.first, key.second, value });
        }
        return all;
    }

    std::optional<QByteArray> setting(const QString& key) const
    {
        const auto all = settings();
        for (const roaming::SharedSetting& each : all) {
            if (each.strKey == key) {
                return each.value;
            }
        }
        return std::nullopt;
    }

    QString m_strScreens = QStringLiteral("1920x1080+0+0");
    roaming::SettingsAccess m_settings;
    bool m_bReadable = true; ///< its settings

private:
    QString attribute(const QString& section, const QString& name) const
    {
        QDomDocument doc;
        doc.setContent(read());
        return doc.documentElement().firstChildElement(section).firstChildElement().attribute(name);
    }

    QTemporaryDir m_directory;
    mutable std::mutex m_mutex;
    std::map<std::pair<QString, QString>, QByteArray> m_values;
};

/// Connects to \a pServer.
inline roaming::StoreMaker storeOn(const std::shared_ptr<roaming::CMemoryServer>& pServer)
{
    return [pServer] { return std::make_unique<roaming::CMemoryStore>(pServer); };
}
