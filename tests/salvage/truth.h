#pragma once

#include "flatuser.h"

#include <mend/salvage.h>

#include <QByteArray>
#include <QSet>
#include <QStringList>

namespace truth {

/// What happened to a file.
struct Damage {
    enum class Kind { Cut, Zeros, Garbage, Copied, Missing };

    Kind kind;
    int nAt; ///< in bytes
    int nLength; ///< of what is replaced
    QByteArray block; ///< what stands there now
    int nSource = 0; ///< of a copied block, where it was taken from

    bool isUnmistakable() const { return kind != Kind::Copied && kind != Kind::Missing; }
    bool leaves(int begin, int end) const; ///< all from one offset up to another as it was
    QString text() const; ///< "zeros, 64 at 4096"
};

QByteArray damaged(const QByteArray& text, const Damage& damage);

/// Knows what a salvage of a damaged file has to give, by another parser and from the file as it
/// was before: where each element of it stood, and so which of them the damage left alone.
class CTruth {
public:
    CTruth(const QByteArray& text, const KW::UserRecords& older);

    /// What is wrong with \a salvage; nothing when it is right. Where the damage shows by itself,
    /// everything is compared: all that the user has and the whole table. A copied or a missing
    /// block may leave elements that are well-formed and false; they may be taken, and nothing else
    /// that was neither in the file nor in the older copy. What the damage left alone has to be
    /// there, unless it stands beside a seam that does not show, where nothing tells whose it is.
    QStringList faults(const Damage& damage, const mend::Salvage& salvage);

    int falseElements() const { return m_nFalse; } ///< of all calls, that were taken
    int unowned() const { return m_nUnowned; } ///< of all calls, that were not taken

private:
    struct Span {
        int nBegin;
        int nEnd;
    };

    struct Element {
        QByteArray tag;
        Span all;
        int nTagEnd;
        int nParent;
    };

    struct Entry {
        QString strName;
        int nNumber;
        int nElement; ///< -1 for an option
        Span all;
        int nKnown; ///< where what tells the name ends
    };

    struct Holder {
        int nSection; ///< elements
        int nElement;
        bool bOnce;
        QString strKind;
        QVector<Entry> entries;
    };

    struct Expected {
        QVector<FlatEntry> entries;
        QStringList rows;
    };

    // What a damage leaves of a holder.
    struct Left {
        QVector<FlatEntry> entries;
        QSet<QPair<QString, int>> whole;
        QSet<QPair<QString, int>> torn;
        int nNameless = 0;
    };

    void readElements();
    void readHolders();
    void addHolder(const QString& path, const char* pszKind, const char* pszKey, int element);
    void addOptions(int section);
    Left left(const QString& path, const Damage& damage) const;
    Expected filled(const QString& path, Left left) const;
    Expected expected(const QString& path, const Damage& damage) const;
    Expected expectedOptions(const Damage& damage) const;
    QStringList exactFaults(const Damage& damage, const mend::Salvage& salvage) const;
    QStringList looseFaults(const Damage& damage, const mend::Salvage& salvage);
    QVector<int> falseBegins(const Damage& damage) const;
    QSet<QString> falseContents(const Damage& damage) const;
    QStringList looseFaults(const QString& path, const Damage& damage,
                            const QVector<FlatEntry>& found, const QSet<QString>& falseOnes);
    bool isKnown(const QString& path, const QString& content) const;
    bool isExempt(const QString& path, const Entry& entry, const Damage& damage) const;

    QByteArray m_text;
    FlatUser m_user;
    FlatUser m_older;
    QVector<Element> m_elements;
    QMap<QString, Holder> m_holders;
    int m_nFalse = 0;
    int m_nUnowned = 0;
};

} // namespace truth
