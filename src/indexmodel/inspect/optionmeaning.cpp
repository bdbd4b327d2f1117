#include "inspect/optionmeaning_p.h"

#include <QDate>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>

namespace inspect {

namespace {

bool fits(const char* pszForm, const QString& value)
{
    const QRegularExpression form(QRegularExpression::anchoredPattern(QLatin1String(pszForm)));
    return form.match(value).hasMatch();
}

// A year first, as the client writes it; nothing says which signs stand between the numbers.
bool isMoment(const QString& value)
{
    static const QRegularExpression s_form(QStringLiteral(
        "^(\\d{4})(?:([-/.])(\\d{1,2})\\2(\\d{1,2})|(\\d{2})(\\d{2}))"
        "(?:[T ]?([01]?\\d|2[0-3]):?([0-5]\\d)(:?[0-5]\\d([.,]\\d+)?)?(Z|[-+]\\d{2}:?\\d{2})?)?$"));
    const QRegularExpressionMatch match = s_form.match(value);
    // Of either form one of two is there, and the other one counts nothing.
    const auto number = [&](int i) { return match.captured(i).toInt(); };
    return match.hasMatch()
        && QDate::isValid(number(1), number(3) + number(5), number(4) + number(6));
}

// What looks like four bytes is no name.
bool isHost(const QString& host)
{
    const QStringList bytes = host.split('.');
    const auto isTooLarge = [](const QString& byte) { return byte.toInt() > 255; };
    return !host.isEmpty()
        && !(fits("[0-9]+([.][0-9]+){3}", host)
             && std::any_of(bytes.begin(), bytes.end(), isTooLarge));
}

bool isAddress(const QString& value)
{
    const QString strUrl
        = value.contains(QLatin1String("://")) ? value : QStringLiteral("host://") + value;
    const QUrl url(strUrl, QUrl::StrictMode);
    return url.isValid() && isHost(url.host());
}

bool makesSense(KW::OptionMeaning meaning, const QString& value)
{
    switch (meaning) {
    case KW::OptionMeaning::Amount:
        return value.toInt() >= 0;
    case KW::OptionMeaning::Flag:
        return fits("[01]", value);
    case KW::OptionMeaning::TimeOfDay:
        return fits("([01]?[0-9]|2[0-3]):[0-5][0-9](:[0-5][0-9])?", value);
    case KW::OptionMeaning::Moment:
        return value.isEmpty() || isMoment(value);
    case KW::OptionMeaning::NumberList:
        return fits("(-?[0-9]{1,19}( *, *-?[0-9]{1,19})*)?", value);
    case KW::OptionMeaning::Address:
        return value.isEmpty() || isAddress(value);
    case KW::OptionMeaning::Number:
    case KW::OptionMeaning::Text:
    case KW::OptionMeaning::Secret:
        break;
    }
    return true;
}

} // namespace

QString meaningError(const KW::OptionRow& row, const QString& value)
{
    return makesSense(row.meaning, value) ? QString() : "is not " + KW::optionRange(row);
}

QString meaningRule(KW::OptionMeaning meaning)
{
    switch (meaning) {
    case KW::OptionMeaning::Amount:
        return QStringLiteral("negative");
    case KW::OptionMeaning::Flag:
        return QStringLiteral("flag");
    case KW::OptionMeaning::TimeOfDay:
        return QStringLiteral("time-of-day");
    case KW::OptionMeaning::Moment:
        return QStringLiteral("date");
    case KW::OptionMeaning::NumberList:
        return QStringLiteral("number-list");
    case KW::OptionMeaning::Address:
        return QStringLiteral("address");
    case KW::OptionMeaning::Number:
    case KW::OptionMeaning::Text:
    case KW::OptionMeaning::Secret:
        break;
    }
    return {};
}

} // namespace inspect
