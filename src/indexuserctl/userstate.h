#pragma once

#include <indexuser/cpanelgrouplayoutconfig.h>
#include <indexuser/userconfiginterface.h>

#include <QDomDocument>
#include <QString>
#include <QStringList>

/// All that the service holds of a user, as plain values.
struct CUserState {
    KW::paramSettingForClient options;
    KW::CustomStockMap stocks;
    bool bFunctionTreeExpand = false;
    QDomDocument layouts; ///< the six layout sections below one root
};

/// The document of a file; throws as readUserFile() does.
QDomDocument wholeFile(const QString& path);

/// The user's file of \a directory, read by itself; throws CFailure, with line and column, when it
/// is not there or damaged. Nothing is handed to the service.
QDomDocument readUserFile(const QString& directory);

/// What \a service holds now.
CUserState stateOf(KW::UserConfigInterface& service);

/// The text that an option has in a file; \a row counts in KW::optionTable().
QString optionText(const KW::paramSettingForClient& options, int row);

/// The same for people to see: a password is not.
QString shownOption(const KW::paramSettingForClient& options, int row);

/// One line that names the stocks of a list.
QString stockText(const KW::CustomStockMap::mapped_type& list);

/// The sections of \a file that other managers own, in the order of the file.
QStringList foreignSections(const QDomDocument& file);
