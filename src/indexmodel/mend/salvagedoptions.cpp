#include "mend/salvagedoptions_p.h"

#include "mend/marks_p.h"

#include <format/sections.h>
#include <format/xmlelements.h>

#include <QSet>

#include <algorithm>

namespace mend {

namespace {

using KW::OptionRow;

Mark tagOf(const Piece& piece)
{
    const MarkKind kind = piece.kind == PieceKind::Tear ? MarkKind::Tear : MarkKind::Begin;
    return { kind, piece.nBegin, piece.nEnd, piece.name.size() };
}

bool isOption(const QByteArray& name)
{
    const auto& table = KW::optionTable();
    return std::any_of(table.begin(), table.end(), [&](const OptionRow& row) {
        return row.strAttribute == QLatin1String(name);
    });
}

// Where something stands behind an option that is none, the option may end in another's value.
QByteArray optionsIn(const QByteArray& text, const QVector<AttributeSpan>& attributes)
{
    QByteArray found;
    QSet<QByteArray> seen;
    for (int i = 0; i < attributes.size(); ++i) {
        const auto nameAt = [&](int index) {
            const AttributeSpan& each = attributes[index];
            return text.mid(each.nBegin, each.nNameEnd - each.nBegin);
        };
        const bool bDoubtful = i + 1 < attributes.size() && !isOption(nameAt(i + 1));
        if (isOption(nameAt(i)) && !bDoubtful && !seen.contains(nameAt(i))) {
            seen.insert(nameAt(i));
            const AttributeSpan& each = attributes[i];
            found += ' ' + text.mid(each.nBegin, each.nEnd - each.nBegin);
        }
    }
    return found;
}

QByteArray settings(const QByteArray& options)
{
    return options.isEmpty() ? QByteArray() : QByteArray("<") + KW::c_szSettings + options + "/>";
}

// Child elements with what is left of the options, in their order.
QByteArray optionsLeft(const QByteArray& text, const QVector<Piece>& pieces)
{
    const QByteArray section = KW::c_szOption;
    QByteArray found;
    for (const Piece& piece : pieces) {
        const bool bAround = piece.around == section;
        const bool bFirst = bAround || piece.left == section
            || (piece.kind == PieceKind::Whole && piece.right == section);
        if (bFirst && piece.kind != PieceKind::End && !piece.name.isEmpty()) {
            found += settings(optionsIn(text, firstAttributes(text, tagOf(piece))));
        }
        if (piece.kind == PieceKind::Tear && (bAround || piece.right == section)) {
            found += settings(optionsIn(text, lastAttributes(text, tagOf(piece))));
        }
    }
    return found;
}

QSet<QString> attributesOf(const QDomElement& section)
{
    QSet<QString> names;
    for (QDomElement child = section.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        for (const QString& name : KW::attributeNames(child)) {
            names.insert(name);
        }
    }
    return names;
}

bool hasField(const OptionRow& row, const QSet<QString>& attributes)
{
    const auto& table = KW::optionTable();
    return std::any_of(table.begin(), table.end(), [&](const OptionRow& each) {
        return each.field == row.field && attributes.contains(each.strAttribute);
    });
}

QVector<SalvagedPart> rows(const QSet<QString>& found, PartSource rest)
{
    int nFile = 0;
    QStringList missing;
    for (const OptionRow& row : KW::optionTable()) {
        if (hasField(row, found)) {
            ++nFile;
        } else if (row.saved == KW::OptionSaved::Yes) {
            missing.append(row.strAttribute);
        }
    }
    const int nAll = nFile + missing.size();
    QVector<SalvagedPart> parts;
    if (nFile > 0) {
        parts.append({ KW::c_szOption, EntryKind::Option, PartSource::File, nFile, nAll, {} });
    }
    if (!missing.isEmpty()) {
        parts.append({ KW::c_szOption, EntryKind::Option, rest, missing.size(), nAll, missing });
    }
    return parts;
}

} // namespace

std::optional<QString> firstAttribute(const QByteArray& text, const Piece& piece,
                                      const QByteArray& name)
{
    for (const AttributeSpan& each : firstAttributes(text, tagOf(piece))) {
        if (text.mid(each.nBegin, each.nNameEnd - each.nBegin) == name) {
            const QByteArray attribute = text.mid(each.nBegin, each.nEnd - each.nBegin);
            const QDomDocument document = documentWithin({}, "<tag " + attribute + "/>");
            return document.documentElement().attribute(QString::fromUtf8(name));
        }
    }
    return std::nullopt;
}

QVector<SalvagedPart> salvageOptions(const QByteArray& text, const QVector<Piece>& pieces,
                                     const Piece* pWhole,
                                     const std::optional<KW::UserRecords>& candidate,
                                     KW::paramSettingForClient& options)
{
    const QDomDocument document = pWhole != nullptr
        ? pWhole->document
        : documentWithin({ KW::c_szRoot, KW::c_szOption }, optionsLeft(text, pieces));
    if (candidate) {
        options = KW::savedOptions(candidate->options);
    }
    const QDomElement root = document.documentElement();
    KW::readOptions(root, options);
    return rows(attributesOf(root.firstChildElement(KW::c_szOption)),
                candidate ? PartSource::Candidate : PartSource::Default);
}

} // namespace mend
