#include "indexuser/userconfiginterface.h"

namespace KW {

UserConfigInterface::UserConfigInterface() = default;

UserConfigInterface::~UserConfigInterface() = default;

} // namespace KW
