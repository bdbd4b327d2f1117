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

std::vector<OptionRow> refreshRows()
{
    return {
        { "reportRefreshTime", &P::reportRefreshTime, Yes, OptionMeaning::Amount,
          "Refresh time of reports", "in the client's unit of time" },
        { "indexSortUpdate", &P::indexSortUpdate, Yes, OptionMeaning::Amount,
          "Update time of the index sorting", "in the client's unit of time" },
        { "riseCompareTime", &P::riseCompareTime, Yes, OptionMeaning::Amount,
          "Rise comparison time", "in the client's unit of time" },
        { "delayRefreshTime", &P::delayRefreshTime, Yes, OptionMeaning::Amount,
          "Delayed refresh time", "in the client's unit of time" },
        { "oMinDataRestorePeroid", &P::oMinDataRestorePeroid, Yes, OptionMeaning::Amount,
          "Restore period of minute data, o variant; spelt so", "in the client's unit of time" },
        { "fMinDataRestorePeroid", &P::fMinDataRestorePeroid, Yes, OptionMeaning::Amount,
          "Restore period of minute data, f variant; spelt so", "in the client's unit of time" },
        { "tickRestoreDay", &P::tickRestoreDay, Yes, OptionMeaning::Amount,
          "Days of tick data to restore", "days" },
        { "flashKeepDataPeriod", &P::flashKeepDataPeriod, Yes, OptionMeaning::Amount,
          "Keep period of flash data", "in the client's unit of time" },
        { "graphDisplay", &P::graphDisplay, Yes, OptionMeaning::Number, "Chart display setting" },
    };
}

std::vector<OptionRow> switchRows()
{
    return {
        { "monitorClipboard", &P::monitorClipboard, Yes, OptionMeaning::Flag,
          "Clipboard monitoring switch" },
        { "showAllQuoteData", &P::showAllQuoteData, Yes, OptionMeaning::Flag,
          "Show-all-quote-data switch" },
        { "formulaDebug", &P::formulaDebug, Yes, OptionMeaning::Flag, "Formula debug switch" },
        { "InitPopTaskCondition", &P::InitPopTaskCondition, No, OptionMeaning::Number,
          "Condition of the first pop-up task" },
        { "updateposition", &P::updateposition, No, OptionMeaning::Flag, "Position update switch" },
        { "groupSignalCondition", &P::groupSignalCondition, No, OptionMeaning::Number,
          "Condition of group signals" },
        { "groupSignalRunTime", &P::groupSignalRunTime, No, OptionMeaning::TimeOfDay,
          "Run time of group signals" },
        { "updateF10DateTime", &P::updateF10DateTime, Yes, OptionMeaning::Moment,
          "Date and time of the F10 update" },
        { "smartKeyConfig", &P::smartKeyConfig, Yes, OptionMeaning::Number,
          "Smart-key configuration; -1 for none" },
        { "qsSmartKeyConfig", &P::qsSmartKeyConfig, Yes, OptionMeaning::NumberList,
          "Category flags of the smart keys in the user's order, comma-separated" },
    };
}

std::vector<OptionRow> tableAndChartRows()
{
    return {
        { "oaAddress", &P::oaAddress, Yes, OptionMeaning::Address, "Address of the OA data table" },
        { "oaTableName", &P::oaTableName, Yes, OptionMeaning::Text, "Name of the OA data table" },
        { "oaUser", &P::oaUser, Yes, OptionMeaning::Text, "User of the OA data table" },
        { "oaPassword", &P::oaPassword, Yes, OptionMeaning::Secret,
          "Password of the OA data table, plain" },
        { "dividDataTime", &P::dividDataTime, Yes, OptionMeaning::Amount,
          "Divid data time; named so", "in the client's unit of time" },
        { "m_graphDisplay", &P::graphDisplay, Yes, OptionMeaning::Number,
          "Second name of graphDisplay; wins over it" },
        { "m_multiDaylines", &P::m_multiDaylines, Yes, OptionMeaning::Amount,
          "Count of the multi-day line chart", "lines" },
        { "m_multiHourlines", &P::m_multiHourlines, Yes, OptionMeaning::Amount,
          "Count of the multi-hour line chart", "lines" },
        { "m_multiMinutelines", &P::m_multiMinutelines, Yes, OptionMeaning::Amount,
          "Count of the multi-minute line chart", "lines" },
        { "m_multiTicklines", &P::m_multiTicklines, Yes, OptionMeaning::Amount,
          "Count of the multi-tick line chart", "lines" },
        { "showGradient", &P::showGradient, Yes, OptionMeaning::Flag, "Gradient display" },
        { "showParamRank", &P::showParamRank, Yes, OptionMeaning::Flag, "Parameter-rank display" },
        { "m_bFilterFutureOptCheck", &P::m_bFilterFutureOptCheck, Yes, OptionMeaning::Flag,
          "Filter-future-option check" },
        { "wholeQuoter", &P::wholeQuoter, Yes, OptionMeaning::Number, "Whole-quoter setting" },
    };
}

// The order says which of two rows for one field wins: m_graphDisplay comes behind graphDisplay.
std::vector<OptionRow> tableRows()
{
    std::vector<OptionRow> all = refreshRows();
    for (const std::vector<OptionRow>& rows : { switchRows(), tableAndChartRows() }) {
        all.insert(all.end(), rows.begin(), rows.end());
    }
    return all;
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

QString optionRange(const OptionRow& row)
{
    switch (row.meaning) {
    case OptionMeaning::Number:
        return QStringLiteral("-2147483648 to 2147483647");
    case OptionMeaning::Amount:
        return QStringLiteral("0 to 2147483647");
    case OptionMeaning::Flag:
        return QStringLiteral("0 or 1");
    case OptionMeaning::TimeOfDay:
        return QStringLiteral("00:00 to 23:59");
    case OptionMeaning::Moment:
        return QStringLiteral("a date, with a time or without, or nothing");
    case OptionMeaning::NumberList:
        return QStringLiteral("whole numbers with commas between them, or nothing");
    case OptionMeaning::Address:
        return QStringLiteral("a host or a URL, or nothing");
    case OptionMeaning::Text:
    case OptionMeaning::Secret:
        break;
    }
    return QStringLiteral("any text");
}

QString optionDescription(const OptionRow& row)
{
    const QString strUnit = row.strUnit.isEmpty() ? QString() : ' ' + row.strUnit;
    return row.strAbout + ": " + optionRange(row) + strUnit;
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
