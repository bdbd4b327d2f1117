#pragma once

#include "format/elementrule.h"
#include "format/layoutrecords.h"

namespace KW {

constexpr char c_szFormulaGroups[] = "FormulaPanelGroupLayout";
constexpr char c_szValueGroups[] = "ValuePanelGroupLayout";
constexpr char c_szPanelGroup[] = "itemLayout"; ///< one of either
constexpr char c_szGroupKey[] = "key";

/// The elements of both kinds, with what is read in them.
QVector<ElementRule> panelGroupRules();

/// Merges the groups of every section named \a tag below \a positionLayout into \a groups; a key
/// read later wins. An entry without windows is no group.
void readPanelGroups(const QDomElement& positionLayout, const QString& tag, PanelGroupMap& groups);

/// Appends one section named \a tag to \a positionLayout, also for no groups.
void writePanelGroups(QDomElement& positionLayout, QDomDocument& doc, const QString& tag,
                      const PanelGroupMap& groups);

} // namespace KW
