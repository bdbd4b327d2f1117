#include "inspect/optionvalues.h"

#include "inspect/closest.h"
#include "inspect/plaintext.h"

#include <algorithm>

namespace inspect {

namespace {

using Options = KW::paramSettingForClient;

QString textOf(const QString& value)
{
    return value;
}

QString textOf(int value)
{
    return QString::number(value);
}

class COptionSetter {
public:
    COptionSetter(Options& options, const QString& value)
        : m_options(options)
        , m_strValue(value)
    {
    }

    QString operator()(std::int32_t Options::*pField) const
    {
        bool bOk = false;
        const int nValue = m_strValue.toInt(&bOk);
        if (!bOk) {
            return QStringLiteral("'%1' is no whole number from -2147483648 to 2147483647")
                .arg(m_strValue);
        }
        m_options.*pField = nValue;
        return {};
    }

    QString operator()(bool Options::*pField) const
    {
        if (m_strValue != QLatin1String("0") && m_strValue != QLatin1String("1")) {
            return QStringLiteral("'%1' is neither 0 nor 1").arg(m_strValue);
        }
        m_options.*pField = m_strValue == QLatin1String("1");
        return {};
    }

    QString operator()(QString Options::*pField) const
    {
        const QString strError = textError(m_strValue);
        if (!strError.isEmpty()) {
            return "the text " + strError;
        }
        m_options.*pField = m_strValue;
        return {};
    }

private:
    Options& m_options;
    const QString& m_strValue;
};

} // namespace

const KW::OptionRow* findOption(const QString& name)
{
    const auto& rows = KW::optionTable();
    const auto it = std::find_if(rows.begin(), rows.end(), [&](const KW::OptionRow& row) {
        return row.strAttribute == name;
    });
    return it == rows.end() ? nullptr : &*it;
}

QStringList optionNames()
{
    QStringList names;
    for (const KW::OptionRow& row : KW::optionTable()) {
        names.append(row.strAttribute);
    }
    return names;
}

QString optionText(const KW::paramSettingForClient& options, const KW::OptionRow& row)
{
    return std::visit([&](auto pField) { return textOf(options.*pField); }, row.field);
}

bool isSecret(const QString& option)
{
    const KW::OptionRow* const pRow = findOption(option);
    return pRow != nullptr && pRow->meaning == KW::OptionMeaning::Secret;
}

QString setOption(KW::paramSettingForClient& options, const QString& name, const QString& value)
{
    const KW::OptionRow* const pRow = findOption(name);
    if (pRow == nullptr) {
        return QStringLiteral("there is no option '%1'").arg(name)
            + didYouMean(name, optionNames());
    }
    if (pRow->saved == KW::OptionSaved::No) {
        return QStringLiteral("%1 is read from a file, but never saved").arg(name);
    }
    const QString strError = std::visit(COptionSetter(options, value), pRow->field);
    return strError.isEmpty() ? strError : name + ": " + strError;
}

} // namespace inspect
