#include "inspect/patch.h"

#include "inspect/optionvalues.h"
#include "inspect/plaintext.h"
#include "inspect/userdifferences.h"

#include <format/layouttemplates.h>

#include <QDomDocument>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <algorithm>

namespace inspect {

namespace {

constexpr int c_nVersion = 1;

const QVector<PatchPart>& allParts()
{
    static const QVector<PatchPart> s_parts { PatchPart::Option, PatchPart::Stocks,
                                              PatchPart::QuoteTemplate, PatchPart::TradeTemplate };
    return s_parts;
}

const QVector<KW::CLayoutTemplate>& templatesOf(PatchPart part, const UserRecords& records)
{
    return part == PatchPart::TradeTemplate ? records.layouts.m_tradeTemplates
                                            : records.layouts.m_quoteTemplates;
}

// As the file has it.
QString xmlOf(PatchPart part, const KW::CLayoutTemplate& layout)
{
    QDomDocument doc;
    QDomElement parent = doc.createElement(QStringLiteral("templates"));
    KW::writeTemplate(parent, doc,
                      part == PatchPart::TradeTemplate ? KW::tradeTemplateFormat()
                                                       : KW::quoteTemplateFormat(),
                      layout);
    doc.appendChild(parent);
    return withReferences(doc.toString(0));
}

QJsonArray arrayOf(const KW::CustomStockMap::mapped_type& list)
{
    QJsonArray array;
    for (const auto& pDetail : list) {
        array.append(QJsonObject { { "market", QString::fromStdString(pDetail->market) },
                                   { "code", QString::fromStdString(pDetail->code) },
                                   { "name", QString::fromStdString(pDetail->name) } });
    }
    return array;
}

// What is saved, and no secret.
bool isPortable(const KW::OptionRow& row)
{
    return row.saved == KW::OptionSaved::Yes && !isSecret(row.strAttribute);
}

// All that a user has of a part, by name. Of templates that share a name none can be told apart.
QMap<QString, QJsonValue> valuesOf(PatchPart part, const UserRecords& records)
{
    QMap<QString, QJsonValue> values;
    if (part == PatchPart::Option) {
        for (const KW::OptionRow& row : KW::optionTable()) {
            if (isPortable(row)) {
                values[row.strAttribute] = optionText(records.options, row);
            }
        }
    } else if (part == PatchPart::Stocks) {
        for (auto it = records.stocks.begin(); it != records.stocks.end(); ++it) {
            values[QString::number(it.key())] = arrayOf(*it);
        }
    } else {
        for (const KW::CLayoutTemplate& each : templatesOf(part, records)) {
            values[each.m_strName] = xmlOf(part, each);
        }
    }
    return values;
}

QVector<PatchChange> changesOf(PatchPart part, const UserRecords& left, const UserRecords& right)
{
    const QMap<QString, QJsonValue> before = valuesOf(part, left);
    const QMap<QString, QJsonValue> after = valuesOf(part, right);
    QStringList names = before.keys() + after.keys();
    names.removeDuplicates();
    QVector<PatchChange> changes;
    for (const QString& name : names) {
        const QJsonValue from = before.value(name, QJsonValue());
        const QJsonValue to = after.value(name, QJsonValue());
        if (from != to) {
            changes.append({ part, name, from, to });
        }
    }
    return changes;
}

QStringList leftOutOf(const UserRecords& left, const UserRecords& right)
{
    QVector<Difference> kept;
    const auto all = differences(left, right);
    for (const Difference& each : all) {
        const bool bOther
            = each.part == KW::UserPart::Layouts || each.part == KW::UserPart::Sections;
        if (bOther || isSecret(optionOf(each))) {
            kept.append(each);
        }
    }
    return kept.isEmpty() ? QStringList() : summary(kept).split(QStringLiteral(", "));
}

// Why a change cannot be one; empty for one that can.
QString errorOf(const QJsonObject& object, PatchChange& change)
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
    const KW::OptionRow* const pRow = findOption(change.strName);
    if (change.part == PatchPart::Option && (pRow == nullptr || !isPortable(*pRow))) {
        return QStringLiteral("no option that travels");
    }
    bool bNumber = false;
    const int nList = change.strName.toInt(&bNumber);
    return change.part == PatchPart::Stocks && (!bNumber || nList < 0)
        ? QStringLiteral("no number of a list")
        : QString();
}

QString stocksError(const PatchChange& change)
{
    const auto stocks = change.part == PatchPart::Stocks ? change.after.toArray() : QJsonArray();
    for (const auto& each : stocks) {
        const QJsonObject stock = each.toObject();
        const bool bTexts = stock["market"].isString() && stock["code"].isString()
            && stock["name"].isString() && !stock["code"].toString().isEmpty();
        const QString strError = textError(stock["market"].toString() + stock["code"].toString()
                                           + stock["name"].toString());
        if (!bTexts || !strError.isEmpty()) {
            return bTexts ? "a stock " + strError : QStringLiteral("no market, code and name");
        }
    }
    return {};
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
        patch.changes += changesOf(part, left, right);
    }
    patch.leftOut = leftOutOf(left, right);
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
        return { {}, error.errorString() };
    }
    if (object["patch"].toInt() != c_nVersion || !object["changes"].isArray()) {
        return { {}, QStringLiteral("it is no patch of version %1").arg(c_nVersion) };
    }
    PatchText read;
    const auto changes = object["changes"].toArray();
    for (const auto& each : changes) {
        PatchChange change;
        QString strError = errorOf(each.toObject(), change);
        strError = strError.isEmpty() ? stocksError(change) : strError;
        if (!strError.isEmpty()) {
            const int nChange = read.patch.changes.size() + 1;
            return { {}, QStringLiteral("change %1: %2").arg(QString::number(nChange), strError) };
        }
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
    const QJsonValue now = valuesOf(change.part, records).value(change.strName, QJsonValue());
    return now == change.after ? PatchFit::There
        : now == change.before ? PatchFit::Fits
                               : PatchFit::Conflict;
}

KW::CustomStockMap::mapped_type stocksOf(const PatchChange& change)
{
    KW::CustomStockMap::mapped_type list;
    const auto stocks = change.after.toArray();
    for (const auto& each : stocks) {
        const QJsonObject stock = each.toObject();
        const auto pDetail = std::make_shared<rxservice::CInstrumentDetail>();
        pDetail->market = stock["market"].toString().toStdString();
        pDetail->code = stock["code"].toString().toStdString();
        pDetail->name = stock["name"].toString().toStdString();
        list.append(pDetail);
    }
    return list;
}

} // namespace inspect
