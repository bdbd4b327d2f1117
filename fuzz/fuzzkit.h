#pragma once

#include <indexuser/userconfiginterface.h>
#include <inspect/userrecords.h>

#include <QByteArray>
#include <QString>

/// What the harnesses share: a directory in memory where there is one, siblings that log nowhere.
namespace fuzzkit {

/// The user's directory of this process; removed at its end.
QString userDir();
QString livePath();

/// Writes \a content as the live file and loads it into a new service.
KW::UserConfigInterface& load(const QByteArray& content);

/// The same, but no file is written: \a content is what the service is told to have read.
KW::UserConfigInterface& loadServed(const QByteArray& content);

/// Saves and waits until the save has ended.
void save(KW::UserConfigInterface& service);

/// Stops with a message: libFuzzer keeps the input.
void require(bool holds, const QString& message);

} // namespace fuzzkit
