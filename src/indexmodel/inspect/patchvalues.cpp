#include "inspect/patchvalues_p.h"

#include "inspect/plaintext.h"

#include <format/layouttemplates.h>
#include <format/userdocument.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>

namespace inspect {

namespace {

// --- options ---

PatchValues optionsOf(const KW::paramSettingForClient& options)
{
    PatchValues values;
    for (const KW::OptionRow& row : KW::optionTable()) {
        if (isPortable(&row)) {
            values[row.strAttribute] = { optionText(options, row) };
        }
    }
    return values;
}

QString optionError(const PatchChange& change)
{
    const KW::OptionRow* const pRow = findOption(change.strName);
    if (!isPortable(pRow)) {
        return change.strName + QStringLiteral(": no option that travels");
    }
    KW::paramSettingForClient options;
    const QString strError = setOption(options, change.strName, change.after.toString());
    return !strError.isEmpty() ? strError
        : change.after != optionText(options, *pRow)
        ? change.strName + QStringLiteral(": a value that is saved as another one")
        : QString();
}

// --- stocks ---

QJsonArray arrayOf(const KW::InstrumentList& list)
{
    QJsonArray array;
    for (const auto& pDetail : list) {
        array.append(QJsonObject { { "market", QString::fromStdString(pDetail->market) },
                                   { "code", QString::fromStdString(pDetail->code) },
                                   { "name", QString::fromStdString(pDetail->name) } });
    }
    return array;
}

PatchValues listsOf(const KW::CustomStockMap& stocks)
{
    PatchValues values;
    for (auto it = stocks.begin(); it != stocks.end(); ++it) {
        values[QString::number(it.key())] = { arrayOf(*it) };
    }
    return values;
}

QString stockError(const QJsonObject& stock)
{
    for (const char* pszField : { "market", "code", "name" }) {
        const QString strError = textError(stock[pszField].toString());
        if (!strError.isEmpty()) {
            return "a stock " + strError;
        }
    }
    return stock["code"].toString().isEmpty() ? QStringLiteral("a stock without code") : QString();
}

QString listError(const PatchChange& change)
{
    const int nList = change.strName.toInt();
    if (nList < 0 || QString::number(nList) != change.strName) {
        return QStringLiteral("no number of a list");
    }
    const auto stocks = change.after.toArray();
    for (const auto& each : stocks) {
        const QString strError = stockError(each.toObject());
        if (!strError.isEmpty()) {
            return strError;
        }
    }
    return change.after.isNull() || arrayOf(stocksOf(change)) == stocks
        ? QString()
        : QStringLiteral("a stock of more or less than market, code and name");
}

// --- templates ---

const KW::TemplateFormat& formatOf(PatchPart part)
{
    return part == PatchPart::TradeTemplate ? KW::tradeTemplateFormat() : KW::quoteTemplateFormat();
}

const QVector<KW::CLayoutTemplate>& templatesOf(PatchPart part, const UserRecords& records)
{
    return part == PatchPart::TradeTemplate ? records.layouts.m_tradeTemplates
                                            : records.layouts.m_quoteTemplates;
}

// By way of a tree, in which the order of attributes, which says nothing, is always the same.
QString xmlOf(PatchPart part, const KW::CLayoutTemplate& layout)
{
    QDomDocument doc;
    QDomElement parent = doc.createElement(QStringLiteral("templates"));
    KW::writeTemplate(parent, doc, formatOf(part), layout);
    QDomDocument plain;
    KW::appendTree(plain, plain, KW::elementTree(parent));
    return withReferences(plain.toString(0));
}

// A text of a patch, and what a user who is given it has.
struct TemplateText {
    QString strError;
    QString strName;
    QString strKept;
};

TemplateText readText(PatchPart part, const QString& xml)
{
    const KW::UserDocument read = KW::parseUserDocument(xml);
    if (!read.isValid()) {
        return { read.strError, {}, {} };
    }
    // The parser loses it without a word where it stands in a value.
    static const QRegularExpression s_entity(QStringLiteral("&(?!(amp|lt|gt|quot|apos);|#)"));
    if (s_entity.match(xml).hasMatch()) {
        return { QStringLiteral("it names an entity"), {}, {} };
    }
    const QDomElement container = read.document.documentElement();
    const auto templates = KW::readTemplates(container, formatOf(part));
    if (templates.size() != 1) {
        return { QStringLiteral("%1 templates in one").arg(templates.size()), {}, {} };
    }
    const QString strKept = xmlOf(part, templates.first());
    const KW::UserDocument kept = KW::parseUserDocument(strKept);
    const bool bWhole
        = KW::elementTree(container) == KW::elementTree(kept.document.documentElement());
    return { bWhole ? QString() : QStringLiteral("it holds what no template keeps"),
             templates.first().m_strName, strKept };
}

QString nameError(const QString& name)
{
    const QString strError = name.isEmpty() ? QStringLiteral("is empty") : textError(name);
    return strError.isEmpty() ? strError : "the name " + strError;
}

QString templateError(const PatchChange& change)
{
    const TemplateText text = readText(change.part, change.after.toString());
    return !text.strError.isEmpty()      ? text.strError
        : text.strName != change.strName ? QStringLiteral("a template of another name")
                                         : nameError(change.strName);
}

} // namespace

bool isPortable(const KW::OptionRow* pRow)
{
    return pRow != nullptr && pRow->saved == KW::OptionSaved::Yes && !isSecret(pRow->strAttribute);
}

PatchValues patchValues(PatchPart part, const UserRecords& records)
{
    if (part == PatchPart::Option) {
        return optionsOf(records.options);
    }
    if (part == PatchPart::Stocks) {
        return listsOf(records.stocks);
    }
    PatchValues values;
    for (const KW::CLayoutTemplate& each : templatesOf(part, records)) {
        values[each.m_strName].append(xmlOf(part, each));
    }
    return values;
}

QStringList patchNames(PatchPart part, const UserRecords& records)
{
    if (part == PatchPart::Option || part == PatchPart::Stocks) {
        return patchValues(part, records).keys();
    }
    QStringList names;
    for (const KW::CLayoutTemplate& each : templatesOf(part, records)) {
        names.append(each.m_strName);
    }
    names.removeDuplicates();
    return names;
}

QJsonValue patchValue(PatchPart part, const QJsonValue& value)
{
    const bool bTemplate = part == PatchPart::QuoteTemplate || part == PatchPart::TradeTemplate;
    if (!bTemplate || !value.isString()) {
        return value;
    }
    const TemplateText text = readText(part, value.toString());
    return text.strError.isEmpty() ? text.strKept : value;
}

QString changeError(const PatchChange& change)
{
    if (change.part == PatchPart::Option) {
        return optionError(change);
    }
    const QString strError = change.part == PatchPart::Stocks ? listError(change)
        : change.after.isNull()                               ? QString()
                                                              : templateError(change);
    return strError.isEmpty() ? strError : change.strName + ": " + strError;
}

KW::InstrumentList stocksOf(const PatchChange& change)
{
    KW::InstrumentList list;
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
