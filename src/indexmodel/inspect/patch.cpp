#include "inspect/patch.h"

#include "inspect/entries_p.h"
#include "inspect/patchvalues_p.h"
#include "inspect/plaintext.h"
#include "inspect/userdifferences.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <algorithm>
#include <iterator>

namespace inspect {

namespace {

constexpr int c_nVersion = 1;

const QVector<PatchPart>& allParts()
{
    static const QVector<PatchPart> s_parts { PatchPart::Option, PatchPart::Stocks,
                                              PatchPart::QuoteTemplate, PatchPart::TradeTemplate };
    return s_parts;
}

// In the order in which apply leaves templates: those that the left user has stay where they are.
QStringList namesOf(PatchPart part, const UserRecords& left, const UserRecords& right)
{
    QStringList names = patchNames(part, left) + patchNames(part, right);
    names.removeDuplicates();
    return names;
}

QString leftOutText(const PatchChange& change, bool bSeveral)
{
    const QString strError = bSeveral ? change.strName + QStringLiteral(": several have this name")
                                      : changeError(change);
    return strError.isEmpty() ? strError : partName(change.part) + ' ' + strError;
}

void addChanges(PatchPart part, const UserRecords& left, const UserRecords& right, Patch& patch)
{
    const PatchValues before = patchValues(part, left);
    const PatchValues after = patchValues(part, right);
    const auto names = namesOf(part, left, right);
    for (const QString& name : names) {
        const auto from = before.value(name);
        const auto to = after.value(name);
        if (from == to) {
            continue;
        }
        const PatchChange change { part, name, from.value(0), to.value(0) };
        const QString strLeftOut = leftOutText(change, from.size() > 1 || to.size() > 1);
        if (strLeftOut.isEmpty()) {
            patch.changes.append(change);
        } else {
            patch.leftOut.append(strLeftOut);
        }
    }
}

// What is no option, list or template of a name.
bool isNeverCarried(const Difference& difference)
{
    switch (difference.part) {
    case KW::UserPart::Layouts:
    case KW::UserPart::Sections:
        return true;
    case KW::UserPart::Options:
        return !isPortable(findOption(optionOf(difference)));
    case KW::UserPart::Stocks:
    case KW::UserPart::Templates:
        break;
    }
    return false;
}

bool hasOrderOf(PatchPart part, const QVector<Difference>& differences)
{
    const QString strSection
        = templateSection(part == PatchPart::TradeTemplate ? LayoutSide::Trade : LayoutSide::Quote);
    return std::any_of(differences.begin(), differences.end(), [&](const Difference& each) {
        return each.part == KW::UserPart::Templates && each.strWhat == strSection
            && each.strField == c_szOrder;
    });
}

// Whether a user who is given all templates has them in another order.
bool losesOrder(PatchPart part, const UserRecords& left, const UserRecords& right)
{
    const QStringList wanted = patchNames(part, right);
    QStringList made = namesOf(part, left, right);
    const auto isGone = [&](const QString& name) { return !wanted.contains(name); };
    made.erase(std::remove_if(made.begin(), made.end(), isGone), made.end());
    return made != wanted;
}

void addNeverCarried(const UserRecords& left, const UserRecords& right, Patch& patch)
{
    const QVector<Difference> all = differences(left, right);
    QVector<Difference> kept;
    std::copy_if(all.begin(), all.end(), std::back_inserter(kept), isNeverCarried);
    if (!kept.isEmpty()) {
        patch.leftOut = summary(kept).split(QStringLiteral(", ")) + patch.leftOut;
    }
    for (const PatchPart part : { PatchPart::QuoteTemplate, PatchPart::TradeTemplate }) {
        if (hasOrderOf(part, all) || losesOrder(part, left, right)) {
            patch.leftOut.append("the order of " + partName(part) + 's');
        }
    }
}

// Why it says no change; empty where it does.
QString readChange(const QJsonObject& object, PatchChange& change)
{
    const auto isPart = [&](PatchPart part) { return partName(part) == object["part"].toString(); };
    const auto it = std::find_if(allParts().begin(), allParts().end(), isPart);
    if (it == allParts().end() || !object["name"].isString() || !object.contains("before")
        || !object.contains("after")) {
        return QStringLiteral("no part, name, before and after");
    }
    change = { *it, object["name"].toString(), object["before"], object["after"] };
    const auto wanted = change.part == PatchPart::Stocks ? QJsonValue::Array : QJsonValue::String;
    const bool bNull = change.after.isNull() && change.part != PatchPart::Option;
    if (change.after.type() != wanted && !bNull) {
        return QStringLiteral("a value of another kind");
    }
    const QString strError = changeError(change);
    change.before = patchValue(change.part, change.before);
    change.after = patchValue(change.part, change.after);
    return strError.isEmpty() ? strError : partName(change.part) + ' ' + strError;
}

QString labelOf(const PatchChange& change)
{
    return partName(change.part) + ' ' + change.strName;
}

// The names whose values differ.
QStringList unlike(PatchPart part, const PatchValues& left, const PatchValues& right)
{
    QStringList all = left.keys() + right.keys();
    all.removeDuplicates();
    QStringList names;
    for (const QString& name : qAsConst(all)) {
        if (left.value(name) != right.value(name)) {
            names.append(partName(part) + ' ' + name);
        }
    }
    return names;
}

} // namespace

QString partName(PatchPart part)
{
    static const QStringList s_names { "option", "stocks", "template", "trade template" };
    return s_names[static_cast<int>(part)];
}

Patch patchBetween(const UserRecords& left, const UserRecords& right)
{
    Patch patch;
    for (const PatchPart part : allParts()) {
        addChanges(part, left, right, patch);
    }
    addNeverCarried(left, right, patch);
    return patch;
}

QByteArray toJson(const Patch& patch)
{
    QJsonArray changes;
    for (const PatchChange& each : patch.changes) {
        changes.append(QJsonObject { { "part", partName(each.part) },
                                     { "name", each.strName },
                                     { "before", each.before },
                                     { "after", each.after } });
    }
    const QJsonObject object { { "patch", c_nVersion },
                               { "changes", changes },
                               { "leftOut", QJsonArray::fromStringList(patch.leftOut) } };
    return harmless(QString::fromUtf8(QJsonDocument(object).toJson()), LineEnds::Kept).toUtf8();
}

PatchText patchFromJson(const QByteArray& text)
{
    QJsonParseError error;
    const QJsonObject object = QJsonDocument::fromJson(text, &error).object();
    if (error.error != QJsonParseError::NoError) {
        return { {},
                 error.errorString(),
                 static_cast<int>(text.left(error.offset).count('\n')) + 1 };
    }
    if (object["patch"].toInt() != c_nVersion || !object["changes"].isArray()) {
        return { {}, QStringLiteral("it is no patch of version %1").arg(c_nVersion) };
    }
    PatchText read;
    QSet<QString> told;
    const auto changes = object["changes"].toArray();
    for (const auto& each : changes) {
        PatchChange change;
        QString strError = readChange(each.toObject(), change);
        if (strError.isEmpty() && told.contains(labelOf(change))) {
            strError = labelOf(change) + QStringLiteral(" once more");
        }
        if (!strError.isEmpty()) {
            const int nChange = read.patch.changes.size() + 1;
            return { {}, QStringLiteral("change %1: %2").arg(QString::number(nChange), strError) };
        }
        told.insert(labelOf(change));
        read.patch.changes.append(change);
    }
    return read;
}

QString fitName(PatchFit fit)
{
    static const QStringList s_names { "fits", "there already", "conflict" };
    return s_names[static_cast<int>(fit)];
}

PatchFit fitOf(const PatchChange& change, const UserRecords& records)
{
    const auto held = patchValues(change.part, records).value(change.strName);
    return held.size() > 1               ? PatchFit::Conflict
        : held.value(0) == change.after  ? PatchFit::There
        : held.value(0) == change.before ? PatchFit::Fits
                                         : PatchFit::Conflict;
}

QStringList otherwiseMade(const Patch& patch, const UserRecords& before, const UserRecords& after)
{
    QStringList names;
    for (const PatchPart part : allParts()) {
        PatchValues wanted = patchValues(part, before);
        for (const PatchChange& each : patch.changes) {
            if (each.part == part && each.after.isNull()) {
                wanted.remove(each.strName);
            } else if (each.part == part) {
                wanted[each.strName] = { each.after };
            }
        }
        names += unlike(part, wanted, patchValues(part, after));
    }
    return names;
}

} // namespace inspect
