#include "commands/templateoperations.h"

const TemplateOperations& operations(inspect::LayoutSide side)
{
    static const TemplateOperations s_quote {
        &Layouts::getQuoteLayoutTemplate,
        &Layouts::saveLayoutToTemplate,
        &Layouts::loadLayoutFromTemplate,
        &Layouts::renameTemplate,
        &Layouts::deleteTemplate,
        &Layouts::loadSingleLayoutTemplates,
        &Layouts::saveSingleLayoutTemplates,
    };
    static const TemplateOperations s_trade {
        &Layouts::getTradeLayoutTemplate,
        &Layouts::saveTradeLayoutToTemplate,
        &Layouts::loadTradeLayoutFromTemplate,
        &Layouts::renameTradeTemplate,
        &Layouts::deleteTradeTemplate,
        &Layouts::loadSingleTradeLayoutTemplates,
        &Layouts::saveSingleTradeLayoutTemplates,
    };
    return side == inspect::LayoutSide::Quote ? s_quote : s_trade;
}
