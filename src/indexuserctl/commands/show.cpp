#include "commands/shownuser.h"

#include "commands/wholefile.h"
#include "failure.h"

#include <format/sections.h>
#include <inspect/closest.h>
#include <inspect/optionvalues.h>

#include <QJsonArray>

#include <algorithm>

namespace {

using Tables = QVector<Table>;
using inspect::UserRecords;

struct ShownPart {
    QString strName;
    Tables (*tables)(const UserRecords& records, Secrets secrets);
};

Table templateTable(const UserRecords& records)
{
    using inspect::LayoutSide;
    return windowTable("templates", "Layout templates",
                       inspect::templatesOf(records, LayoutSide::Quote)
                           + inspect::templatesOf(records, LayoutSide::Trade));
}

Table sectionTable(const UserRecords& records)
{
    Table table { "sections", "Sections of other managers", { "section", "elements", "reader" } };
    for (const KW::ElementTree& section : records.sections) {
        table.rows.append(
            { section.strName, KW::elementCount(section),
              KW::findSection(section.strName) != nullptr ? "its manager" : "nobody" });
    }
    return table;
}

const QVector<ShownPart>& allParts()
{
    static const QVector<ShownPart> s_parts {
        { KW::partName(KW::UserPart::Options),
          [](const UserRecords& records, Secrets secrets) {
              return Tables { optionTable(records.options, secrets) };
          } },
        { KW::partName(KW::UserPart::Stocks),
          [](const UserRecords& records, Secrets) { return stockTables(records.stocks); } },
        { KW::partName(KW::UserPart::Layouts),
          [](const UserRecords& records, Secrets) {
              return Tables { windowTable("layouts", "Layouts", inspect::layoutsOf(records)) };
          } },
        { KW::partName(KW::UserPart::Templates),
          [](const UserRecords& records, Secrets) { return Tables { templateTable(records) }; } },
        { KW::partName(KW::UserPart::Sections),
          [](const UserRecords& records, Secrets) { return Tables { sectionTable(records) }; } },
    };
    return s_parts;
}

QString shownOption(const KW::paramSettingForClient& options, const KW::OptionRow& row,
                    Secrets secrets)
{
    const QString strText = inspect::optionText(options, row);
    const bool bHidden = secrets == Secrets::Masked && inspect::isSecret(row.strAttribute);
    return bHidden && !strText.isEmpty() ? QStringLiteral("(hidden)") : strText;
}

// An option as JSON has it: numbers and switches are no texts.
QJsonValue optionValue(const KW::paramSettingForClient& options, const KW::OptionRow& row,
                       Secrets secrets)
{
    const QString strText = shownOption(options, row, secrets);
    return inspect::kindOf(row) == inspect::OptionKind::Text ? QJsonValue(strText)
                                                             : QJsonValue(strText.toInt());
}

QVector<QJsonValue> windowRow(const QString& layout, const KW::CLayoutWindow& window)
{
    const QRectF area = inspect::areaOf(window);
    return { layout,
             window.m_nScreenId,
             window.m_bIsMain,
             window.m_bMaximized,
             area.x(),
             area.y(),
             area.width(),
             area.height(),
             window.m_nPanelGroupId,
             QJsonArray::fromStringList(inspect::panelNames(KW::panelTree(window))),
             window.m_strNavTree };
}

} // namespace

Table optionTable(const KW::paramSettingForClient& options, Secrets secrets)
{
    Table table { "options", "Options", { "option", "saved", "value", "default" } };
    const KW::paramSettingForClient defaults;
    for (const KW::OptionRow& row : KW::optionTable()) {
        table.rows.append({ row.strAttribute, row.saved == KW::OptionSaved::Yes,
                            optionValue(options, row, secrets),
                            optionValue(defaults, row, secrets) });
    }
    return table;
}

QVector<Table> stockTables(const KW::CustomStockMap& stocks)
{
    Table lists { "lists", "Custom stock lists", { "list", "stocks" } };
    Table all { "stocks", "Stocks", { "list", "market", "code", "name" } };
    for (auto it = stocks.begin(); it != stocks.end(); ++it) {
        lists.rows.append({ it.key(), it->size() });
        for (const auto& pDetail : *it) {
            all.rows.append({ it.key(), QString::fromStdString(pDetail->market),
                              QString::fromStdString(pDetail->code),
                              QString::fromStdString(pDetail->name) });
        }
    }
    return { lists, all };
}

Table windowTable(const QString& name, const QString& title,
                  const QVector<inspect::Layout>& layouts)
{
    Table table { name,
                  title,
                  { "layout", "screen", "main", "maximized", "left", "top", "width", "height",
                    "group", "panels", "navtree" } };
    for (const inspect::Layout& layout : layouts) {
        const QString strLabel = (layout.strSection + ' ' + layout.strName).trimmed();
        for (const KW::CLayoutWindow& window : layout.windows) {
            table.rows.append(windowRow(strLabel, window));
        }
        if (layout.windows.isEmpty()) {
            QVector<QJsonValue> row(table.columns.size(), QJsonValue(QString()));
            row[0] = strLabel;
            row[1] = "no windows";
            table.rows.append(row);
        }
    }
    return table;
}

ExitStatus showUser(const Request& request, const UserRecords& records, const QStringList& parts)
{
    for (const QString& part : parts) {
        if (!shownParts().contains(part)) {
            throw CFailure(ExitStatus::Usage,
                           QStringLiteral("there is no part '%1'%2; parts are %3")
                               .arg(part, inspect::didYouMean(part, shownParts()),
                                    shownParts().join(QStringLiteral(", "))));
        }
    }
    Tables tables;
    for (const ShownPart& part : allParts()) {
        if (parts.isEmpty() || parts.contains(part.strName)) {
            tables += part.tables(records, request.secrets);
        }
    }
    print(tables, request.format);
    return ExitStatus::Ok;
}

QStringList shownParts()
{
    QStringList names;
    for (const ShownPart& part : allParts()) {
        names.append(part.strName);
    }
    return names;
}

ExitStatus show(const Request& request)
{
    return showUser(request, inspect::recordsOf(liveFile(request).document), request.words);
}
