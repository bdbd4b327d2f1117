#pragma once

#include "format/userrecords.h"
#include "indexuser/cpanelgrouplayoutconfig.h"
#include "indexuser/userconfiginterface.h"

namespace KW {

/// What \a service holds now, and \a sections, which are kept by other managers.
///
///     const KW::UserRecords held = KW::recordsOf(service, KW::otherSections(file));
inline UserRecords recordsOf(UserConfigInterface& service, const QVector<ElementTree>& sections)
{
    UserRecords records;
    records.options = service.getParamSettingForClient();
    service.getCustomStockMap(records.stocks);
    records.bFunctionTreeExpand = service.getFormulaFunctionTreeExpand();
    records.layouts = service.getLayoutConfig()->record();
    records.sections = sections;
    return records;
}

} // namespace KW
