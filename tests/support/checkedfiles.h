#pragma once

#include <inspect/check.h>

#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QVector>

/// User files that have every section and no defect, to put one into.
namespace checkedfiles {

/// The lines of such a file, one a section; the first section stands in line 3.
inline QStringList lines()
{
    return { "<?xml version=\"1.0\" encoding=\"utf-8\"?>",
             "<ICUserConfigFile>",
             "<DefaultLayout/>",
             "<IndexLayout><LayoutWindow screen_id='1' is_main='1' maximized='1' left='0' top='0' "
             "width='9' height='9' panelgroup_id='1'/></IndexLayout>",
             "<IndexPositionLayout><FormulaPanelGroupLayout/><ValuePanelGroupLayout/>"
             "</IndexPositionLayout>",
             "<LayoutTemplates/>",
             "<tradePanelGroup/>",
             "<tradeLayoutTemplates/>",
             "<ConfigVersion version_id='11'/>",
             "<CustomIndex/>",
             "<CustomSector/>",
             "<FormulaCatalog/>",
             "<Option><Settings/></Option>",
             "<GroupIndex/>",
             "<ExtendDataCatalog/>",
             "<CustomStock><Customs/></CustomStock>",
             "<externalDataCatalog/>",
             "<drawGraph/>",
             "<strategyTrade/>",
             "<strategyAlgoTrade/>",
             "<WindDataCatalog/>",
             "<interfaceTrade/>",
             "<specialstrategydata/>",
             "<UserParams m_bFormulaFunctionTreeExpand='0'/>",
             "</ICUserConfigFile>" };
}

inline QString file()
{
    return lines().join('\n') + '\n';
}

/// \a content instead of the section that its first tag names; as one more section if there is none
/// of that name.
inline QString fileWith(const QString& content)
{
    const QString strTag = content.mid(1, content.indexOf(QRegularExpression("[ />\\n]")) - 1);
    QStringList all = lines();
    int i = all.indexOf(QRegularExpression('<' + strTag + "[ />].*"));
    if (i < 0) {
        i = all.size() - 1;
        all.insert(i, QString());
    }
    all[i] = content;
    return all.join('\n') + '\n';
}

/// "changed number@14:11" for each finding.
inline QStringList texts(const QVector<inspect::Finding>& findings)
{
    QStringList texts;
    for (const inspect::Finding& finding : findings) {
        texts.append(QStringLiteral("%1 %2@%3:%4")
                         .arg(inspect::effectName(finding.effect), finding.strRule)
                         .arg(finding.position.nLine)
                         .arg(finding.position.nColumn));
    }
    return texts;
}

} // namespace checkedfiles
