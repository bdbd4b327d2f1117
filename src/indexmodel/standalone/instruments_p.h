#pragma once

#include "platform/marketdata.h"
#include "standalone/standalone.h"

#include <QHash>
#include <QList>
#include <QString>

#include <memory>

namespace standalone {

using InstrumentPtr = std::shared_ptr<rxservice::CInstrumentDetail>;

/// What the managers of the formula library have been told.
struct CInstruments {
    QHash<QString, InstrumentPtr> customDetails; ///< by market and code, joined
    QList<InstrumentPtr> customStocks;
    QString strSectorsFile; ///< empty for the one in the user's directory
    QString strReadFrom; ///< the file that \a catalogue comes from; empty before the first
    SectorCatalogue catalogue;
};

} // namespace standalone
