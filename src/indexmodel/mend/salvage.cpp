#include "mend/salvage.h"

#include "mend/holders_p.h"
#include "mend/salvagedoptions_p.h"

#include <format/sections.h>
#include <format/xmlelements.h>

#include <QSet>

#include <algorithm>

namespace mend {

namespace {

using KW::UserRecords;

// An entry among others: its name, and the how manieth of that name it is.
using EntryId = QPair<QString, int>;

class CNumbering {
public:
    explicit CNumbering(EntryKind kind)
        : m_bOnce(kind == EntryKind::Group || kind == EntryKind::List)
    {
    }

    EntryId next(const QString& name) { return { name, m_bOnce ? 0 : m_counts[name]++ }; }

private:
    bool m_bOnce;
    QHash<QString, int> m_counts;
};

QStringList namesOf(const QVector<EntryId>& ids)
{
    QStringList names;
    for (const EntryId& each : ids) {
        names.append(each.first);
    }
    return names;
}

bool mayHold(const KW::ElementRule& holder, const QString& tag)
{
    return std::any_of(
        holder.children.begin(), holder.children.end(),
        [&](const KW::ElementRule& each) { return each.strTag == tag || mayHold(each, tag); });
}

// Whether a whole element below \a holder may be \a tag.
bool mayHold(const QByteArray& holder, const QByteArray& tag)
{
    const KW::ElementRule* const pRule = KW::findRule(QString::fromUtf8(holder));
    return pRule != nullptr && mayHold(*pRule, QString::fromUtf8(tag));
}

// What is glued together of two elements mostly has attributes of both.
bool isOfThisFormat(const QDomElement& element)
{
    const KW::ElementRule* const pRule = KW::findRule(element.tagName());
    const QStringList names = KW::attributeNames(element);
    const bool bKnown = std::all_of(names.begin(), names.end(), [&](const QString& name) {
        return pRule->attribute(name) != nullptr;
    });
    bool bOk = bKnown;
    // The child of a window is a tree of others.
    for (QDomElement child = element.firstChildElement();
         bOk && pRule->kind != KW::ElementKind::Window && !child.isNull();
         child = child.nextSiblingElement()) {
        bOk = pRule->child(child.tagName()) != nullptr && isOfThisFormat(child);
    }
    return bOk;
}

struct Owner {
    QByteArray holder; // of entries of this tag; empty for none
    bool bUnknown = false; // nothing tells it
};

Owner ownerOfWhole(const Piece& piece)
{
    const bool bLeft = mayHold(piece.left, piece.name);
    const bool bRight = mayHold(piece.right, piece.name);
    if (bLeft && bRight && piece.left != piece.right) {
        return { {}, true };
    }
    const bool bAround = mayHold(piece.around, piece.name);
    const QByteArray holder = bLeft ? piece.left : bRight ? piece.right : piece.around;
    return { holdsEntries(holder, piece.name) ? holder : QByteArray(),
             !bLeft && !bRight && !bAround };
}

// Of a torn element the beginning is there, so that what stands in front of it decides.
QByteArray ownerOfTorn(const Piece& piece)
{
    const bool bRight = piece.kind == PieceKind::Tear && mayHold(piece.right, piece.name);
    return mayHold(piece.left, piece.name) ? piece.left : bRight ? piece.right : piece.around;
}

class CSalvager {
public:
    CSalvager(const QByteArray& bytes, const std::optional<UserRecords>& candidate)
        : m_bytes(bytes)
        , m_candidate(candidate)
        , m_pieces(piecesOf(bytes, allHolders()))
    {
        for (int i = 0; i < m_pieces.size(); ++i) {
            const Piece& piece = m_pieces[i];
            if (piece.kind == PieceKind::Whole && allHolders().contains(piece.name)
                && !m_whole.contains(piece.name)) {
                m_whole.insert(piece.name, i);
            } else if (piece.kind == PieceKind::Whole) {
                addEntry(i);
            } else if (piece.kind != PieceKind::End) {
                m_entries[ownerOfTorn(piece)].append(i);
            }
            m_torn += piece.kind == PieceKind::Whole ? QByteArray() : piece.name;
        }
    }

    Salvage result()
    {
        for (const KW::Section& section : KW::sections()) {
            salvageSection(section);
        }
        addUnowned();
        addUnread();
        return m_result;
    }

private:
    const Piece* wholePiece(const QByteArray& name) const
    {
        return m_whole.contains(name) ? &m_pieces[m_whole.value(name)] : nullptr;
    }

    void addEntry(int index)
    {
        const Piece& piece = m_pieces[index];
        const Owner owner = ownerOfWhole(piece);
        if (!owner.holder.isEmpty()) {
            m_entries[owner.holder].append(index);
        } else if (owner.bUnknown && isEntry(piece.name)) {
            m_unowned.append(index);
        }
    }

    static bool isEntry(const QByteArray& tag)
    {
        return std::any_of(entryHolders().begin(), entryHolders().end(),
                           [&](const EntryHolder& each) { return each.tag == tag; });
    }

    void salvageSection(const KW::Section& section)
    {
        if (section.owner == KW::SectionOwner::Managers) {
            salvageForeign(section);
        } else if (section.strName == KW::c_szUserParams) {
            salvageParams(section);
        } else if (section.strName == KW::c_szOption) {
            m_result.table += salvageOptions(m_bytes, m_pieces, wholePiece(KW::c_szOption),
                                             m_candidate, m_result.records.options);
        }
        for (const EntryHolder& holder : entryHolders()) {
            if (holder.strSection == section.strName) {
                salvageHolder(section, holder);
            }
        }
    }

    void addRow(const QString& path, EntryKind kind, PartSource source, int count, int ofAll,
                const QStringList& names = {})
    {
        m_result.table.append({ path, kind, source, count, ofAll, names });
    }

    void salvageForeign(const KW::Section& section)
    {
        QVector<KW::ElementTree>& sections = m_result.records.sections;
        const auto row = [&](PartSource source, int count) {
            addRow(section.strName, EntryKind::Section, source, count, count,
                   count > 0 && source != PartSource::File ? QStringList { section.strName }
                                                           : QStringList());
        };
        if (const Piece* const pPiece = wholePiece(section.strName.toUtf8())) {
            sections.append(KW::elementTree(pPiece->document.documentElement().firstChild()));
            row(PartSource::File, 1);
        } else if (isLeftOut(section)) {
            row(PartSource::File, 0);
        } else if (const KW::ElementTree* const pOlder = olderSection(section.strName)) {
            sections.append(*pOlder);
            row(PartSource::Candidate, 1);
        } else if (m_torn.contains(section.strName.toUtf8())) {
            row(PartSource::Lost, 1);
        } else {
            row(PartSource::Default, 0);
        }
    }

    const KW::ElementTree* olderSection(const QString& name) const
    {
        if (!m_candidate) {
            return nullptr;
        }
        const auto it = std::find_if(m_candidate->sections.begin(), m_candidate->sections.end(),
                                     [&](const auto& each) { return each.strName == name; });
        return it == m_candidate->sections.end() ? nullptr : &*it;
    }

    // Of what a save need not write, its neighbours side by side tell that it is not missing.
    bool isLeftOut(const KW::Section& section) const
    {
        const auto& all = KW::sections();
        const auto nAt = &section - all.data();
        const Piece* const pBefore = wholePiece(all[nAt - 1].strName.toUtf8());
        return section.presence == KW::SectionPresence::Optional && pBefore != nullptr
            && pBefore + 1 == wholePiece(all[nAt + 1].strName.toUtf8());
    }

    void salvageParams(const KW::Section& section)
    {
        const Piece* const pPiece = wholePiece(KW::c_szUserParams);
        if (m_candidate) {
            m_result.records.bFunctionTreeExpand = m_candidate->bFunctionTreeExpand;
        }
        if (pPiece != nullptr) {
            section.read(pPiece->document.documentElement(), m_result.records);
        }
        addRow(section.strName, EntryKind::Section,
               pPiece != nullptr ? PartSource::File
                   : m_candidate ? PartSource::Candidate
                                 : PartSource::Default,
               1, 1, pPiece != nullptr ? QStringList() : QStringList { section.strName });
    }

    void salvageHolder(const KW::Section& section, const EntryHolder& holder)
    {
        const Piece* pWhole = wholePiece(section.strName.toUtf8());
        pWhole = pWhole == nullptr ? wholePiece(holder.name) : pWhole;
        if (pWhole == nullptr) {
            salvageTorn(section, holder);
            return;
        }
        UserRecords found;
        section.read(pWhole->document.documentElement(), found);
        const int nAll = holder.names(found).size();
        holder.take(m_result.records, found, QVector<bool>(nAll, true));
        addRow(holder.path(), holder.kind, PartSource::File, nAll, nAll);
    }

    // What the file shows of a torn holder.
    struct Shown {
        QVector<EntryId> whole;
        QVector<EntryId> torn;
        int nNameless = 0;
    };

    void salvageTorn(const KW::Section& section, const EntryHolder& holder)
    {
        const Shown shown = takeWhole(section, holder);
        const QVector<EntryId> older = olderEntries(holder);
        const auto hasNot = [](const QVector<EntryId>& ids) {
            return [set = QSet<EntryId>(ids.begin(), ids.end())](const EntryId& id) {
                return !set.contains(id);
            };
        };
        QVector<EntryId> filled;
        std::copy_if(older.begin(), older.end(), std::back_inserter(filled), hasNot(shown.whole));
        QVector<EntryId> lost;
        std::copy_if(shown.torn.begin(), shown.torn.end(), std::back_inserter(lost),
                     hasNot(older + shown.whole));
        fill(holder, older, hasNot(shown.whole));
        addRows(holder, shown, filled, lost);
    }

    Shown takeWhole(const KW::Section& section, const EntryHolder& holder)
    {
        Shown shown;
        CNumbering numbering(holder.kind);
        const auto add = [&](QVector<EntryId>& ids, QSet<EntryId>& seen, const QString& name) {
            const EntryId id = numbering.next(name);
            if (!seen.contains(id)) {
                ids.append(id);
                seen.insert(id);
            }
        };
        QSet<EntryId> whole;
        QSet<EntryId> torn;
        for (const int nIndex : m_entries.value(holder.name)) {
            const Piece& piece = m_pieces[nIndex];
            if (piece.name != holder.tag) {
                continue;
            }
            if (const std::optional<QStringList> names = take(section, holder, piece)) {
                for (const QString& name : *names) {
                    add(shown.whole, whole, name);
                }
            } else if (const std::optional<QString> name = nameOfTorn(holder, piece)) {
                add(shown.torn, torn, *name);
            } else {
                ++shown.nNameless;
            }
        }
        return shown;
    }

    // The names of what the piece holds; nothing if it is torn.
    std::optional<QStringList> take(const KW::Section& section, const EntryHolder& holder,
                                    const Piece& piece)
    {
        const QByteArrayList around = allHolders()[holder.name] + QByteArrayList { holder.name };
        const QDomDocument document = piece.kind == PieceKind::Whole
            ? documentWithin(around, bytesOf(m_bytes, piece))
            : QDomDocument();
        QDomElement entry = document.documentElement();
        for (int i = 0; i < around.size(); ++i) {
            entry = entry.firstChildElement();
        }
        if (entry.isNull() || !isOfThisFormat(entry)) {
            return std::nullopt;
        }
        UserRecords found;
        section.read(document.documentElement(), found);
        const QStringList names = holder.names(found);
        holder.take(m_result.records, found, QVector<bool>(names.size(), true));
        return names;
    }

    std::optional<QString> nameOfTorn(const EntryHolder& holder, const Piece& piece) const
    {
        const std::optional<QString> name = firstAttribute(m_bytes, piece, holder.key);
        const bool bNumber = holder.kind == EntryKind::Window || holder.kind == EntryKind::List;
        return name && bNumber ? QString::number(name->toInt()) : name;
    }

    QVector<EntryId> olderEntries(const EntryHolder& holder) const
    {
        QVector<EntryId> ids;
        CNumbering numbering(holder.kind);
        for (const QString& name : m_candidate ? holder.names(*m_candidate) : QStringList()) {
            ids.append(numbering.next(name));
        }
        return ids;
    }

    template <typename IsMissing>
    void fill(const EntryHolder& holder, const QVector<EntryId>& older, IsMissing isMissing)
    {
        QVector<bool> chosen(older.size());
        std::transform(older.begin(), older.end(), chosen.begin(), isMissing);
        if (m_candidate) {
            holder.take(m_result.records, *m_candidate, chosen);
        }
    }

    void addRows(const EntryHolder& holder, const Shown& shown, const QVector<EntryId>& filled,
                 const QVector<EntryId>& lost)
    {
        const int nAll = shown.whole.size() + filled.size() + lost.size();
        const bool bLost = !lost.isEmpty() || shown.nNameless > 0;
        if (!shown.whole.isEmpty()) {
            addRow(holder.path(), holder.kind, PartSource::File, shown.whole.size(), nAll);
        }
        if (!filled.isEmpty() || (shown.whole.isEmpty() && !bLost)) {
            addRow(holder.path(), holder.kind,
                   m_candidate ? PartSource::Candidate : PartSource::Default, filled.size(), nAll,
                   namesOf(filled));
        }
        if (bLost) {
            addRow(holder.path(), holder.kind, PartSource::Lost, lost.size(), nAll, namesOf(lost));
            m_result.table.last().nNameless = shown.nNameless;
        }
    }

    void addUnowned()
    {
        for (const EntryHolder& holder : entryHolders()) {
            QStringList names;
            for (const int nIndex : qAsConst(m_unowned)) {
                if (m_pieces[nIndex].name == holder.tag) {
                    names.append(nameOfTorn(holder, m_pieces[nIndex]).value_or(QString()));
                }
            }
            const bool bTold
                = std::any_of(&entryHolders().front(), &holder,
                              [&](const EntryHolder& before) { return before.tag == holder.tag; });
            if (!names.isEmpty() && !bTold) {
                addRow({}, holder.kind, PartSource::Lost, names.size(), names.size(), names);
            }
        }
    }

    // Of the sections, and of the root itself.
    bool isBetweenSections(int index) const
    {
        const auto isSection = [&](int at) {
            return at >= 0 && at < m_pieces.size() && m_pieces[at].kind == PieceKind::Whole
                && KW::findSection(QString::fromUtf8(m_pieces[at].name)) != nullptr;
        };
        return isSection(index - 1) && isSection(index + 1);
    }

    // What stands between two whole sections is one, too; elsewhere it may be a part of anything.
    void addUnread()
    {
        for (int i = 0; i < m_pieces.size(); ++i) {
            const Piece& piece = m_pieces[i];
            const bool bKnown = allHolders().contains(piece.name) || isEntry(piece.name)
                || KW::findSection(QString::fromUtf8(piece.name)) != nullptr;
            if (piece.kind == PieceKind::Whole && !bKnown && isBetweenSections(i)) {
                const QString strName = QString::fromUtf8(piece.name);
                addRow(strName, EntryKind::Section, PartSource::Unread, 1, 1, { strName });
            }
        }
    }

    const QByteArray& m_bytes;
    const std::optional<UserRecords>& m_candidate;
    QVector<Piece> m_pieces;
    QHash<QByteArray, int> m_whole; // the first whole piece of each holder
    QHash<QByteArray, QVector<int>> m_entries; // by the holder that they belong to
    QSet<QByteArray> m_torn; // names of what is torn
    QVector<int> m_unowned;
    Salvage m_result;
};

} // namespace

Salvage salvage(const QByteArray& bytes, const std::optional<UserRecords>& candidate)
{
    return CSalvager(bytes, candidate).result();
}

KW::UserDocumentText salvagedText(const UserRecords& records)
{
    QDomDocument doc = KW::documentOf(records);
    doc.insertBefore(doc.createProcessingInstruction("xml", "version=\"1.0\" encoding=\"utf-8\""),
                     doc.documentElement());
    return KW::userDocumentText(doc);
}

QString kindName(EntryKind kind)
{
    static const QStringList s_names { "section",  "window",     "panel group",
                                       "template", "stock list", "option" };
    return s_names[static_cast<int>(kind)];
}

QString sourceName(PartSource source)
{
    static const QStringList s_names { "file", "older copy", "default", "lost", "nobody reads it" };
    return s_names[static_cast<int>(source)];
}

} // namespace mend
