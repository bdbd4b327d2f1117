#include "userstate.h"

#include "failure.h"

#include <indexuser/optionsettings.h>
#include <inspect/userfile.h>

#include <QSet>

namespace {

QString valueText(const QString& value)
{
    return value;
}

QString valueText(int value)
{
    return QString::number(value);
}

const QSet<QString>& ownSections()
{
    static const QSet<QString> s_names { "DefaultLayout",       "IndexLayout",
                                         "IndexPositionLayout", "LayoutTemplates",
                                         "tradePanelGroup",     "tradeLayoutTemplates",
                                         "ConfigVersion",       "CustomIndex",
                                         "CustomSector",        "Option",
                                         "CustomStock",         "UserParams" };
    return s_names;
}

} // namespace

QDomDocument wholeFile(const QString& path)
{
    const inspect::UserFile file = inspect::readUserFile(path);
    if (file.state == inspect::FileState::Damaged) {
        throw CFailure(ExitStatus::Damaged, file.strError);
    }
    if (file.state != inspect::FileState::Whole) {
        throw CFailure(ExitStatus::InputOutput, file.strError);
    }
    return file.document;
}

QDomDocument readUserFile(const QString& directory)
{
    return wholeFile(inspect::livePath(directory));
}

CUserState stateOf(KW::UserConfigInterface& service)
{
    CUserState state;
    state.options = service.getParamSettingForClient();
    service.getCustomStockMap(state.stocks);
    state.bFunctionTreeExpand = service.getFormulaFunctionTreeExpand();
    QDomElement root = state.layouts.createElement(QStringLiteral("layouts"));
    service.getLayoutConfig()->saveSetting(root, state.layouts);
    state.layouts.appendChild(root);
    return state;
}

QString optionText(const KW::paramSettingForClient& options, int row)
{
    return std::visit([&](auto pField) { return valueText(options.*pField); },
                      KW::optionTable()[static_cast<std::size_t>(row)].field);
}

QString shownOption(const KW::paramSettingForClient& options, int row)
{
    const QString strText = optionText(options, row);
    const bool bSecret = KW::optionTable()[static_cast<std::size_t>(row)].strAttribute
        == QLatin1String("oaPassword");
    return bSecret && !strText.isEmpty() ? QStringLiteral("(hidden)") : strText;
}

QString stockText(const KW::CustomStockMap::mapped_type& list)
{
    QStringList stocks;
    for (const auto& pDetail : list) {
        stocks.append(
            QString::fromStdString(pDetail->market + pDetail->code + ' ' + pDetail->name));
    }
    return stocks.join(QStringLiteral(", "));
}

QStringList foreignSections(const QDomDocument& file)
{
    QStringList names;
    for (QDomElement section = file.documentElement().firstChildElement(); !section.isNull();
         section = section.nextSiblingElement()) {
        if (!ownSections().contains(section.tagName())) {
            names.append(section.tagName());
        }
    }
    return names;
}
