#pragma once

#include "indexuser/cpanelgrouplayoutconfig.h"
#include "indexuser/cuserconfigmanager.h"

#include <QObject>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

/// Base of all tests: a directory of its own, a fresh service and a captured log for each test
/// function, which fails when an ERROR that it did not announce was logged.
class CLibraryTest : public QObject {
    Q_OBJECT

protected:
    static KW::UserConfigInterface& service();
    static KW::CUserConfigManager& manager();

    /// The user's directory of this test function, and the files in it.
    QString userDir() const;
    QString livePath() const;
    QString datedPath() const;

    void writeLive(const QByteArray& content) const;
    static void writeFile(const QString& path, const QByteArray& content);
    static QByteArray readFile(const QString& path);

    /// Saves and waits until the save has ended.
    static void saveAndWait(KW::UserConfigInterface& service);

protected Q_SLOTS:
    void init();
    void cleanup();

private:
    std::unique_ptr<QTemporaryDir> m_pDirectory;
};

/// The manager with its protected operations laid open; not the single instance.
class COpenManager : public KW::CUserConfigManager {
public:
    using KW::CUserConfigManager::loadCustomStock;
    using KW::CUserConfigManager::loadOptionSettings;
    using KW::CUserConfigManager::loadSectorFilterConfig;
    using KW::CUserConfigManager::loadUserParam;
    using KW::CUserConfigManager::saveCustomStock;
    using KW::CUserConfigManager::saveExtendData;
    using KW::CUserConfigManager::saveExternalData;
    using KW::CUserConfigManager::saveFormulaCatalog;
    using KW::CUserConfigManager::saveGroupSettings;
    using KW::CUserConfigManager::saveIndex;
    using KW::CUserConfigManager::saveOptionSettings;
    using KW::CUserConfigManager::saveSector;
    using KW::CUserConfigManager::saveSectorFilterConfig;
    using KW::CUserConfigManager::saveSync;
    using KW::CUserConfigManager::saveUserParam;
    using KW::CUserConfigManager::saveWindData;
    using KW::CUserConfigManager::userConfigFilePath;
};

/// The document of a text that must be well-formed.
QDomDocument parsed(const QString& xml);

/// What a set of siblings does for the tests; each set defines these two.
void useUserDir(const QString& directory);
void resetSiblings();
