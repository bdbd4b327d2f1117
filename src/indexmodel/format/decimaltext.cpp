#include "format/decimaltext.h"

#include "platform/mvcommon.h"

namespace KW {

QString decimalText(double value)
{
    return MV::formatDoubleNumber(value, 3, 0, false, QStringLiteral("非法值"));
}

} // namespace KW
