#pragma once

#include <roaming/connection.h>

#include <QByteArray>
#include <QString>
#include <QVector>

/// What was asked of a store, and what a server has: read by statements of its own, since the store
/// is what is judged.
namespace roamproof {

/// What a store has said, and for what.
struct Acknowledged {
    QString strDocument;
    qint64 nNumber = 0;
    bool bAside = false;
    QByteArray text;
};

/// A row of the server, with its text joined there.
struct Stored {
    QString strDocument;
    qint64 nNumber = 0;
    qint64 nBase = 0;
    bool bAside = false;
    bool bHead = false;
    QByteArray text;
};

QVector<Stored> storedIn(const roaming::ConnectionOptions& owner);

struct Verdict {
    int nAcknowledged = 0;
    int nAsides = 0;
    int nLost = 0; ///< acknowledged, and not there as it was acknowledged
    int nTwice = 0; ///< numbers given to two texts, texts under two numbers
    int nBroken = 0; ///< numbers that are missing, bases that were never a head, wrong heads

    bool isClean() const { return nLost == 0 && nTwice == 0 && nBroken == 0; }
};

/// Every text is asked for once.
Verdict judged(const QVector<Acknowledged>& said, const QVector<Stored>& there);

/// "812 acknowledged, 40 beside another's, 0 lost, 0 twice, chain unbroken".
QString told(const Verdict& verdict);

} // namespace roamproof
