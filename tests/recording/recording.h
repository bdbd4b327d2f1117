#pragma once

#include "platform/formula.h"

#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <string>
#include <vector>

/// A set of siblings that notes every call, in order and with its arguments, and otherwise does
/// what the test has told it.
namespace recording {

/// What the siblings answer; a test changes what it needs.
struct Answers {
    QString configDir;
    QList<bool> writes; ///< results of stdWriteFile to come; all further ones really write
    /// Called by se::writeConfig and stdWriteFile with their name; it may throw.
    std::function<void(const QString&)> onWrite = [](const QString&) {};
    bool settingsStored = true;
    std::map<std::string, std::string> settings; ///< what se::readConfig finds, by key
    bool algoOmitted = false;
    int displaySwitch = 0; ///< what the ini file holds for the FN10 display
    std::vector<se::RPCSectorStock> sectorStocks;
    QMap<QString, std::shared_ptr<rxservice::CInstrumentDetail>> details;
    /// What MV::getSubElement finds; without it the first one in document order.
    std::function<QDomElement(const QDomElement&, const QString&)> subElement;
};

Answers& answers();

/// The calls so far, such as "CSectorManager::loadSettings(ICUserConfigFile)".
QStringList calls();
/// Those of calls() that begin with \a prefix.
QStringList callsOf(const QString& prefix);
void record(const QString& call);

/// How many docked-panel trees are alive.
int liveTrees();

/// Forgets all calls and answers.
void reset();

} // namespace recording
