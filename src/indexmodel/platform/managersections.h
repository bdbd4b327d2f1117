#pragma once

namespace KW {

// What the service and the modules that own them call the sections of other modules.
constexpr char c_szFormulaCatalog[] = "FormulaCatalog";
constexpr char c_szGroupIndex[] = "GroupIndex";
constexpr char c_szExtendDataCatalog[] = "ExtendDataCatalog";
constexpr char c_szExternalDataCatalog[] = "externalDataCatalog";
constexpr char c_szDrawGraph[] = "drawGraph";
constexpr char c_szStrategyTrade[] = "strategyTrade";
constexpr char c_szStrategyAlgoTrade[] = "strategyAlgoTrade";
constexpr char c_szWindDataCatalog[] = "WindDataCatalog";
constexpr char c_szInterfaceTrade[] = "interfaceTrade";
constexpr char c_szSpecialStrategyData[] = "specialstrategydata";

} // namespace KW
