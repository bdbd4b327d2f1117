#include "format/optionsettings.h"

#include "format/sections.h"
#include "format/xmlelements.h"

#include <algorithm>

namespace KW {

namespace {

using P = paramSettingForClient;

class COptionReader {
public:
    COptionReader(const QDomElement& element, const QString& attribute, P& param)
        : m_element(element)
        , m_strAttribute(attribute)
        , m_param(param)
    {
    }

    void operator()(std::int32_t P::*pField) const
    {
        m_param.*pField = intAttribute(m_element, m_strAttribute);
    }

    void operator()(bool P::*pField) const
    {
        m_param.*pField = intAttribute(m_element, m_strAttribute) != 0;
    }

    void operator()(QString P::*pField) const
    {
        m_param.*pField = m_element.attribute(m_strAttribute);
    }

private:
    const QDomElement& m_element;
    const QString& m_strAttribute;
    P& m_param;
};

constexpr auto Yes = OptionSaved::Yes;
constexpr auto No = OptionSaved::No;

std::vector<OptionRow> tableRows()
{
    return {
        { QStringLiteral("reportRefreshTime"), &P::reportRefreshTime, Yes },
        { QStringLiteral("indexSortUpdate"), &P::indexSortUpdate, Yes },
        { QStringLiteral("riseCompareTime"), &P::riseCompareTime, Yes },
        { QStringLiteral("delayRefreshTime"), &P::delayRefreshTime, Yes },
        { QStringLiteral("oMinDataRestorePeroid"), &P::oMinDataRestorePeroid, Yes },
        { QStringLiteral("fMinDataRestorePeroid"), &P::fMinDataRestorePeroid, Yes },
        { QStringLiteral("tickRestoreDay"), &P::tickRestoreDay, Yes },
        { QStringLiteral("flashKeepDataPeriod"), &P::flashKeepDataPeriod, Yes },
        { QStringLiteral("graphDisplay"), &P::graphDisplay, Yes },
        { QStringLiteral("monitorClipboard"), &P::monitorClipboard, Yes },
        { QStringLiteral("showAllQuoteData"), &P::showAllQuoteData, Yes },
        { QStringLiteral("formulaDebug"), &P::formulaDebug, Yes },
        { QStringLiteral("InitPopTaskCondition"), &P::InitPopTaskCondition, No },
        { QStringLiteral("updateposition"), &P::updateposition, No },
        { QStringLiteral("groupSignalCondition"), &P::groupSignalCondition, No },
        { QStringLiteral("groupSignalRunTime"), &P::groupSignalRunTime, No },
        { QStringLiteral("updateF10DateTime"), &P::updateF10DateTime, Yes },
        { QStringLiteral("smartKeyConfig"), &P::smartKeyConfig, Yes },
        { QStringLiteral("qsSmartKeyConfig"), &P::qsSmartKeyConfig, Yes },
        { QStringLiteral("oaAddress"), &P::oaAddress, Yes },
        { QStringLiteral("oaTableName"), &P::oaTableName, Yes },
        { QStringLiteral("oaUser"), &P::oaUser, Yes },
        { QStringLiteral("oaPassword"), &P::oaPassword, Yes },
        { QStringLiteral("dividDataTime"), &P::dividDataTime, Yes },
        // The second name of graphDisplay.
        { QStringLiteral("m_graphDisplay"), &P::graphDisplay, Yes },
        { QStringLiteral("m_multiDaylines"), &P::m_multiDaylines, Yes },
        { QStringLiteral("m_multiHourlines"), &P::m_multiHourlines, Yes },
        { QStringLiteral("m_multiMinutelines"), &P::m_multiMinutelines, Yes },
        { QStringLiteral("m_multiTicklines"), &P::m_multiTicklines, Yes },
        { QStringLiteral("showGradient"), &P::showGradient, Yes },
        { QStringLiteral("showParamRank"), &P::showParamRank, Yes },
        { QStringLiteral("m_bFilterFutureOptCheck"), &P::m_bFilterFutureOptCheck, Yes },
        { QStringLiteral("wholeQuoter"), &P::wholeQuoter, Yes },
    };
}

void readRows(const QDomElement& element, P& param)
{
    for (const OptionRow& row : optionTable()) {
        if (element.hasAttribute(row.strAttribute)) {
            std::visit(COptionReader(element, row.strAttribute, param), row.field);
        }
    }
}

void setAttribute(QDomElement& element, const QString& name, const QString& value)
{
    element.setAttribute(name, value);
}

void setAttribute(QDomElement& element, const QString& name, int value)
{
    element.setAttribute(name, value);
}

} // namespace

const std::vector<OptionRow>& optionTable()
{
    static const std::vector<OptionRow> s_table = tableRows();
    return s_table;
}

ValueKind kindOf(const OptionRow& row)
{
    // In the order of the variant's alternatives.
    return static_cast<ValueKind>(row.field.index());
}

bool operator==(const paramSettingForClient& left, const paramSettingForClient& right)
{
    const auto isSame = [&](const OptionRow& row) {
        return std::visit([&](auto pField) { return left.*pField == right.*pField; }, row.field);
    };
    return std::all_of(optionTable().begin(), optionTable().end(), isSame);
}

paramSettingForClient savedOptions(const paramSettingForClient& param)
{
    paramSettingForClient saved;
    for (const OptionRow& row : optionTable()) {
        if (row.saved == OptionSaved::Yes) {
            std::visit([&](auto pField) { saved.*pField = param.*pField; }, row.field);
        }
    }
    return saved;
}

ElementRule settingsRule()
{
    ElementRule rule { c_szSettings, ElementKind::Options };
    for (const OptionRow& row : optionTable()) {
        rule.attributes.append({ row.strAttribute, kindOf(row), Presence::Optional });
    }
    return rule;
}

OptionsFound readOptions(const QDomElement& root, paramSettingForClient& param)
{
    const QVector<QDomElement> sections = descendants(root, c_szOption);
    if (sections.isEmpty()) {
        return OptionsFound::No;
    }
    for (QDomElement child = sections.first().firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        readRows(child, param);
    }
    return OptionsFound::Yes;
}

void writeOptions(QDomElement& parent, QDomDocument& doc, const paramSettingForClient& param)
{
    QDomElement settings = doc.createElement(c_szSettings);
    for (const OptionRow& row : optionTable()) {
        if (row.saved == OptionSaved::Yes) {
            std::visit(
                [&](auto pField) { setAttribute(settings, row.strAttribute, param.*pField); },
                row.field);
        }
    }
    parent.appendChild(settings);
}

} // namespace KW
