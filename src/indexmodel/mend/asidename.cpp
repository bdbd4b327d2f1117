#include "mend/asidename_p.h"

#include <QDateTime>
#include <QFileInfo>

namespace mend {

QString nameAside(const QString& live, const char* pszWhy)
{
    const QString strStem = live + QLatin1Char('.') + pszWhy + QLatin1Char('-')
        + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString strName = strStem;
    for (int i = 2; QFileInfo::exists(strName); ++i) {
        strName = QStringLiteral("%1-%2").arg(strStem).arg(i);
    }
    return strName;
}

} // namespace mend
