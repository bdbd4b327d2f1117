#pragma once

#include <roaming/store.h>

#include <QStringList>

/// Saves as tests ask for them, and answers as one line each.
namespace roamwishes {

inline const roaming::Machine c_deskA { QUuid("{a0000000-0000-4000-8000-000000000000}"), "desk-a" };
inline const roaming::Machine c_deskB { QUuid("{b0000000-0000-4000-8000-000000000000}"), "desk-b" };

/// A save of the user's document.
inline roaming::SaveWish wish(const QByteArray& text, qint64 base,
                              const roaming::Machine& machine = c_deskA)
{
    roaming::SaveWish wish;
    wish.nBase = base;
    wish.text = text;
    wish.machine = machine;
    wish.id = roaming::saveId(wish);
    return wish;
}

inline roaming::SaveWish wishOf(const QString& document, const QByteArray& text, qint64 base,
                                const roaming::Machine& machine = c_deskA)
{
    roaming::SaveWish made = wish(text, base, machine);
    made.strDocument = document;
    made.id = roaming::saveId(made);
    return made;
}

/// Its cause, of one that nobody has thought of also its words; or nothing.
inline QString told(const roaming::StoreError& error)
{
    static const QStringList names { "",      "Away", "Late",    "Unsure", "Refused", "OtherSchema",
                                     "Quota", "Gone", "Damaged", "Failed" };
    const QString strName = names[static_cast<int>(error.cause)];
    const bool bFailed = error.cause == roaming::StoreCause::Failed;
    return bFailed ? strName + QStringLiteral(": ") + error.strDetail : strName;
}

/// "saved 3, head 3".
inline QString told(const roaming::SaveAnswer& answer)
{
    static const QStringList names { "saved", "aside", "behind" };
    return QStringLiteral("%1 %2, head %3")
        .arg(names[static_cast<int>(answer.outcome)])
        .arg(answer.nRevision)
        .arg(answer.nHead);
}

/// All answers, or the cause of the error.
inline QString told(const roaming::Answer<QVector<roaming::SaveAnswer>>& answer)
{
    QStringList all;
    for (const roaming::SaveAnswer& each : answer.value) {
        all.append(told(each));
    }
    return answer.error ? told(answer.error) : all.join(QStringLiteral("; "));
}

/// "3 on 2 aside resolved" and all the rest but the author and the time.
inline QString told(const roaming::Revision& revision)
{
    return QStringLiteral("%1 on %2%3%4%5, %6 bytes %7 by %8 %9, ")
               .arg(revision.nNumber)
               .arg(revision.nBase)
               .arg(QLatin1String(revision.bAside ? " aside" : ""),
                    QLatin1String(revision.bResolved ? " resolved" : ""),
                    QLatin1String(revision.bThinned ? " thinned" : ""))
               .arg(revision.nBytes)
               .arg(QString::fromLatin1(revision.digest), revision.machine.id.toString(),
                    revision.machine.strName)
        + revision.strArrangement + QStringLiteral(", ") + revision.strReason;
}

} // namespace roamwishes
