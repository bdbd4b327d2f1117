#include "inspect/doubts.h"

#include "inspect/optionmeaning_p.h"
#include "inspect/optionvalues.h"
#include "inspect/screens.h"
#include "inspect/windowchanges.h"

#include <QHash>
#include <QPair>
#include <QSet>

#include <algorithm>

namespace inspect {

namespace {

bool isPlain(const QString& text)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar c) {
        return c.unicode() < 0x80 && c.isLetterOrNumber();
    });
}

Doubt plainDoubt(const char* pszRule, const QString& text)
{
    if (isPlain(text)) {
        return {};
    }
    return { pszRule,
             text.isEmpty() ? QStringLiteral("a stock without a ") + pszRule
                            : QStringLiteral("the %1 '%2' is more than Latin letters and digits")
                                  .arg(QLatin1String(pszRule), text) };
}

void add(const Doubt& doubt, const QString& place, QVector<Doubt>& doubts)
{
    if (!doubt.isNull()) {
        doubts.append({ doubt.strRule, doubt.strText, place });
    }
}

void addOptions(const KW::paramSettingForClient& options, QVector<Doubt>& doubts)
{
    for (const KW::OptionRow& row : KW::optionTable()) {
        if (row.saved == KW::OptionSaved::Yes) {
            add(optionDoubt(row, optionText(options, row)), {}, doubts);
        }
    }
}

void addStocks(const KW::CustomStockMap& stocks, QVector<Doubt>& doubts)
{
    for (auto it = stocks.begin(); it != stocks.end(); ++it) {
        const QString strPlace = QStringLiteral("list %1").arg(it.key());
        QSet<QPair<QString, QString>> seen;
        for (const auto& pDetail : *it) {
            const QString strMarket = QString::fromStdString(pDetail->market);
            const QString strCode = QString::fromStdString(pDetail->code);
            add(marketDoubt(strMarket), strPlace, doubts);
            add(codeDoubt(strCode), strPlace, doubts);
            if (seen.contains({ strMarket, strCode })) {
                add(doubleDoubt(strMarket, strCode), strPlace, doubts);
            }
            seen.insert({ strMarket, strCode });
        }
    }
}

void addWindows(const QVector<Layout>& layouts, QVector<Doubt>& doubts)
{
    for (const Layout& layout : layouts) {
        const QString strPlace = (layout.strSection + ' ' + layout.strName).trimmed();
        for (const KW::CLayoutWindow& window : layout.windows) {
            add(windowDoubt(window), strPlace, doubts);
        }
    }
}

// Each of \a others takes one of its name away.
template <typename NameOf>
QVector<Doubt> without(QVector<Doubt> doubts, const QVector<Doubt>& others, NameOf nameOf)
{
    QHash<QStringList, int> rest;
    for (const Doubt& each : others) {
        ++rest[nameOf(each)];
    }
    const auto isTaken = [&](const Doubt& each) { return rest[nameOf(each)]-- > 0; };
    doubts.erase(std::remove_if(doubts.begin(), doubts.end(), isTaken), doubts.end());
    return doubts;
}

} // namespace

Doubt optionDoubt(const KW::OptionRow& row, const QString& value)
{
    const QString strError = meaningError(row, value);
    return strError.isEmpty()
        ? Doubt()
        : Doubt { meaningRule(row.meaning),
                  QStringLiteral("%1: '%2' %3").arg(row.strAttribute, value, strError) };
}

Doubt marketDoubt(const QString& market)
{
    return plainDoubt("market", market);
}

Doubt codeDoubt(const QString& code)
{
    return plainDoubt("code", code);
}

Doubt doubleDoubt(const QString& market, const QString& code)
{
    return { QStringLiteral("double-stock"),
             QStringLiteral("%1 stands twice in one list").arg(market + code) };
}

Doubt windowDoubt(const KW::CLayoutWindow& window)
{
    const QRectF area = areaOf(window);
    const bool bNoSize = area.isEmpty() && !window.m_bMaximized;
    if (!bNoSize && !isLargerThanAnyDesktop(area)) {
        return {};
    }
    return { QStringLiteral("window-size"),
             QStringLiteral("the window %1 %2")
                 .arg(geometryText(area),
                      bNoSize ? QStringLiteral("has no size")
                              : QStringLiteral("is larger than any desktop")) };
}

QVector<Doubt> doubtsOf(const UserRecords& records)
{
    QVector<Doubt> doubts;
    addOptions(records.options, doubts);
    addStocks(records.stocks, doubts);
    addWindows(layoutsOf(records) + templatesOf(records, LayoutSide::Quote)
                   + templatesOf(records, LayoutSide::Trade),
               doubts);
    return doubts;
}

// What stays where it was is crossed out first, so that of several the new one is named.
QVector<Doubt> newDoubts(const UserRecords& before, const UserRecords& after)
{
    const QVector<Doubt> old = doubtsOf(before);
    const QVector<Doubt> made = doubtsOf(after);
    const auto nameThere = [](const Doubt& each) {
        return QStringList { each.strRule, each.strText, each.strPlace };
    };
    const auto nameAnywhere = [](const Doubt& each) {
        return QStringList { each.strRule, each.strText };
    };
    return without(without(made, old, nameThere), without(old, made, nameThere), nameAnywhere);
}

QStringList marketsOf(const KW::CustomStockMap& stocks)
{
    QSet<QString> markets;
    for (const auto& list : stocks) {
        for (const auto& pDetail : list) {
            markets.insert(QString::fromStdString(pDetail->market));
        }
    }
    QStringList sorted(markets.begin(), markets.end());
    sorted.sort();
    return sorted;
}

} // namespace inspect
