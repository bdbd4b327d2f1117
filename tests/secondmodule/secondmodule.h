#pragma once

#include <QtCore/qglobal.h>

namespace KW {
class UserConfigInterface;
class CUserConfigManager;
class CSectorManager;
}

// What a second module of the process gets when it asks.
Q_DECL_EXPORT KW::UserConfigInterface* serviceOfSecondModule();
Q_DECL_EXPORT KW::CUserConfigManager* instanceOfSecondModule();
Q_DECL_EXPORT KW::CSectorManager* siblingOfSecondModule();
Q_DECL_EXPORT void releaseInSecondModule();
