#pragma once

#include "platform/declspec.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>
#include <string>

/// What a host tells these stand-ins for the client's libraries before it asks for the service.
///
///     standalone::setConfigDir(QStringLiteral("/home/user/quotes"));
///     standalone::logToStderr(standalone::LogLines::All);
namespace standalone {

/// The user's directory; empty for the application's own below the user's configuration location.
/// Any thread.
PLATFORM_API void setConfigDir(const QString& directory);

enum class LogLines { Problems, All };

/// Where log lines go; nowhere until one of these is called, before any load or save. Problems are
/// warnings and errors. logToFile() appends all lines, and answers false when the file cannot be
/// written.
PLATFORM_API void logToStderr(LogLines lines);
PLATFORM_API bool logToFile(const QString& path);

/// Why the last file that was to be written was not; both are empty when it was. Any thread.
struct WriteFailure {
    QString strPath; ///< the file, or the directory that took no new one
    QString strReason; ///< in the system's words
};
PLATFORM_API WriteFailure lastWriteFailure();

/// Files in a user's directory, and in Temp and Settings, that a write which was cut short has left
/// more than an hour ago. They may hold secrets. Any thread.
PLATFORM_API QStringList leftovers(const QString& configDir);

/// Removes those that belong to the account of this process, as the next write into the same folder
/// would. What cannot be removed stays for another time. Any thread.
PLATFORM_API void removeLeftovers(const QString& configDir);

/// Why a value of the settings store that is there cannot be read, behind the name of its file;
/// empty where it can be read, or where there is none.
PLATFORM_API QString settingReadError(const QString& section, const QString& key);

/// The file of a value of the settings store, whether it is there or not.
PLATFORM_API QString settingFile(const QString& section, const QString& key);

/// Removes a value of the settings store, durably; true if it is gone or never was there.
/// lastWriteFailure() tells why not.
PLATFORM_API bool removeSetting(const QString& section, const QString& key);

/// The keys of a section of the settings store, those too long to be kept in clear left out.
PLATFORM_API QStringList settingKeys(const QString& section);

/// A value of the settings store by its names.
struct SettingName {
    QString strSection;
    QString strKey;
};

/// Those of all sections, with those too long to be kept in clear left out.
PLATFORM_API QVector<SettingName> settingNames();

/// Told of each value of the settings store once it is stored or removed, the mirror of the user's
/// file too, which is stored before the file is; on the thread that stores, which waits for it.
using StoredListener = std::function<void(const QString& section, const QString& key)>;

/// From now on all of them are told to \a listener; an empty one ends that, and waits until it is
/// not asked any more. It must store nothing itself. Any thread but the one that asks it.
PLATFORM_API void onStored(const StoredListener& listener);

/// One stock of a sector.
struct SectorConstituent {
    QString market;
    QString code;
    QString name;
    double absoluteWeight = 0.0; ///< as a fraction: 0.05 is five per cent
    double previousClose = 0.0;
};

struct Sector {
    QString code;
    QString name;
    QVector<SectorConstituent> constituents;
};

enum class SectorsError {
    None,
    Unread, ///< the file is missing, or the system does not let it be read
    Damaged, ///< it was read, and is no catalogue
};

/// All sectors of a file, or what is wrong with it: never a part of them.
struct SectorCatalogue {
    QVector<Sector> sectors;
    SectorsError error = SectorsError::None;
    QString strError; ///< names the file and the line and column, or the path of the value
    int nLine = 0; ///< where the file is no JSON
};

/// Reads a file of at most c_nMaxSectorsBytes such as
///
///     {"sectors": [{"code": "801010", "name": "Banks", "constituents": [
///         {"market": "SH", "code": "600000", "name": "SPDB",
///          "absoluteWeight": 0.05, "previousClose": 10.21}]}]}
constexpr qint64 c_nMaxSectorsBytes = 32LL * 1024 * 1024; ///< a tree of it takes four times that
PLATFORM_API SectorCatalogue readSectors(const QString& path);

/// Where sectors come from; empty for sectors.json in the user's directory. Takes effect at once.
PLATFORM_API void setSectorsFile(const QString& path);
PLATFORM_API QString sectorsFile();

/// The next read of the file \a path answers \a bytes, whatever is in it then: who has looked at a
/// file hands on what it saw. Not while a load or a save runs.
PLATFORM_API void serveOnce(const QString& path, const QByteArray& bytes);

/// Asked by a save before it replaces a file by \a content, and again when the dated copy is
/// durable and nothing but the removal of the live file is next. False ends the save: the live file
/// stays, and what the save has replaced is put back. What the guard writes itself is not guarded,
/// and no more is asked behind that.
using SaveGuard = std::function<bool(const std::string& content)>;

/// From now on all saves ask \a guard, on their own threads, one at a time; an empty one ends that.
/// A save that still goes on with the guard before is ended.
///
/// Who writes the live file between the last answer and its removal, some microseconds, is not
/// seen.
PLATFORM_API void guardSaves(const SaveGuard& guard);

/// Forgets setSectorsFile() and all that loads and saves have handed over, as a new process would.
/// Not while any runs.
PLATFORM_API void forgetAll();

} // namespace standalone
