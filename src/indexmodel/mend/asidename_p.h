#pragma once

#include <QString>

namespace mend {

/// A free name beside \a live for what it holds now: with the reason and the time.
///
///     nameAside(live, "damaged") // ".../indexUserConfig.xml.damaged-20240131-093000"
QString nameAside(const QString& live, const char* pszWhy);

} // namespace mend
