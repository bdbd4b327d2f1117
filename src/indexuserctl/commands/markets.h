#pragma once

#include "commands.h"

/// Tells, to stderr, of each of \a markets that neither \a stocks nor the sectors beside the file
/// have the one of theirs that it most likely misspells. Nothing is refused: a market may be new.
void suggestMarkets(const Request& request, const KW::CustomStockMap& stocks,
                    const QStringList& markets);
