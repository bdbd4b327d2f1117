#include "userstate.h"

#include "failure.h"

#include <indexuser/optionsettings.h>
#include <indexuser/userdocument.h>

#include <QDir>
#include <QFile>
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

QDomDocument readUserFile(const QString& directory)
{
    const QString strPath = QDir(directory).filePath(QStringLiteral("indexUserConfig.xml"));
    QFile file(strPath);
    if (!file.open(QIODevice::ReadOnly)) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("%1: %2").arg(strPath, file.errorString()));
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("%1: %2").arg(strPath, file.errorString()));
    }
    const KW::UserDocument parsed = KW::parseUserDocument(QString::fromUtf8(bytes));
    if (!parsed.isValid()) {
        throw CFailure(ExitStatus::Damaged,
                       QStringLiteral("%1:%2:%3: %4")
                           .arg(strPath, QString::number(parsed.nLine),
                                QString::number(parsed.nColumn), parsed.strError));
    }
    return parsed.document;
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
