#pragma once

#include "documents.h"

#include <indexuser/cuserconfigmanager.h>

#include <QTemporaryDir>

namespace bench {

/// The library with a user of some size in a directory of its own.
class CLibrary {
public:
    explicit CLibrary(const Size& size);

    const Size& size() const { return m_size; }
    int elementCount() const { return m_nElements; }
    QString livePath() const;
    KW::UserConfigInterface& service();
    /// A new service that has read nothing; the old one and all it held are destroyed.
    void renew();
    /// Until the thread of a save is gone: it destroys the document after it has ended the save.
    void waitForWorker() const;
    /// Stops unless the live file holds the user.
    void requireSaved() const;
    void requireLoaded();

private:
    const Size& m_size;
    QTemporaryDir m_directory;
    int m_nElements;
    int m_nThreads;
};

/// The manager with its worker laid open.
class COpenManager : public KW::CUserConfigManager {
public:
    using KW::CUserConfigManager::saveSync;
};

/// What a load does at the least, with Qt's parser.
bool readByQt(const QString& path, QDomDocument& doc);

/// What a save does at the least: a durable copy, and a copy of that as \a path.
void saveBytes(const QByteArray& content, const QString& path);
/// The same with Qt's writer.
void saveByQt(const QDomDocument& doc, const QString& path);

/// Writes \a content as the library's siblings do, once.
void writeDurably(const QString& path, const QByteArray& content);

/// Stops with a message: a benchmark that times something else is worse than none.
void require(bool holds, const char* pszMessage);

} // namespace bench
