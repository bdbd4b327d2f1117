#include "inspect/report.h"

#include "inspect/check.h"
#include "inspect/picture_p.h"
#include "inspect/optionvalues.h"
#include "inspect/snapshots.h"
#include "inspect/userdifferences.h"

#include <QXmlStreamWriter>

namespace inspect {

namespace {

constexpr char c_szStyle[]
    = "body{font:15px 'Noto Sans CJK SC','Microsoft YaHei',sans-serif;color:#1d2733;"
      "max-width:1232px;margin:2em auto;padding:0 1em}"
      "h1{font-size:1.5em}h2{font-size:1.2em;margin-top:2em;border-bottom:1px solid #c6ced8}"
      "table{border-collapse:collapse}td,th{text-align:left;padding:.2em .9em .2em 0;"
      "vertical-align:top;overflow-wrap:anywhere}td:first-child{white-space:nowrap}th{color:#"
      "5b6878;font-weight:normal}"
      "tr.changed td{font-weight:bold}p.none{color:#5b6878}svg{max-width:100%;height:auto}";

class CPage {
public:
    explicit CPage(QByteArray* pPage)
        : m_xml(pPage)
    {
    }

    QXmlStreamWriter& xml() { return m_xml; }

    void begin(const QString& title)
    {
        m_xml.writeDTD("<!DOCTYPE html>");
        m_xml.writeStartElement("html");
        m_xml.writeStartElement("head");
        m_xml.writeEmptyElement("meta");
        m_xml.writeAttribute("charset", "utf-8");
        m_xml.writeTextElement("title", title);
        m_xml.writeTextElement("style", c_szStyle);
        m_xml.writeEndElement();
        m_xml.writeStartElement("body");
        m_xml.writeTextElement("h1", title);
    }

    void heading(const QString& text) { m_xml.writeTextElement("h2", text); }

    void paragraph(const QString& text, const QString& cssClass = {})
    {
        m_xml.writeStartElement("p");
        if (!cssClass.isEmpty()) {
            m_xml.writeAttribute("class", cssClass);
        }
        m_xml.writeCharacters(text);
        m_xml.writeEndElement();
    }

    void row(const char* pszCell, const QStringList& cells, const QString& cssClass = {})
    {
        m_xml.writeStartElement("tr");
        if (!cssClass.isEmpty()) {
            m_xml.writeAttribute("class", cssClass);
        }
        for (const QString& cell : cells) {
            m_xml.writeTextElement(pszCell, cell);
        }
        m_xml.writeEndElement();
    }

    void table(const QStringList& headings, const QVector<QStringList>& rows)
    {
        if (rows.isEmpty()) {
            paragraph(QStringLiteral("none"), QStringLiteral("none"));
            return;
        }
        m_xml.writeStartElement("table");
        row("th", headings);
        for (const QStringList& cells : rows) {
            row("td", cells);
        }
        m_xml.writeEndElement();
    }

private:
    QXmlStreamWriter m_xml;
};

void writeFindings(CPage& page, const CheckedFile& checked)
{
    page.heading(QStringLiteral("What the next load and save would not keep"));
    QVector<QStringList> rows;
    for (const Finding& finding : checked.findings) {
        rows.append(
            { QStringLiteral("%1:%2").arg(finding.position.nLine).arg(finding.position.nColumn),
              effectName(finding.effect), finding.strRule, finding.strText });
    }
    page.table({ "line:column", "effect", "rule", "what" }, rows);
    if (!checked.strFailure.isEmpty()) {
        page.paragraph(checked.strFailure);
    }
}

void writeOptions(CPage& page, const KW::paramSettingForClient& options)
{
    page.heading(QStringLiteral("Options (bold: not the default)"));
    page.xml().writeStartElement("table");
    page.row("th", { "option", "value", "default" });
    const KW::paramSettingForClient defaults;
    for (const KW::OptionRow& row : KW::optionTable()) {
        const QString strDefault = optionText(defaults, row);
        const QString strValue = optionText(options, row);
        const bool bHidden = isSecret(row.strAttribute) && !strValue.isEmpty();
        page.row("td",
                 { row.strAttribute, bHidden ? QStringLiteral("(hidden)") : strValue, strDefault },
                 strValue == strDefault ? QString() : QStringLiteral("changed"));
    }
    page.xml().writeEndElement();
}

void writeStocks(CPage& page, const KW::CustomStockMap& stocks)
{
    page.heading(QStringLiteral("Custom stock lists"));
    QVector<QStringList> rows;
    for (auto it = stocks.begin(); it != stocks.end(); ++it) {
        QStringList names;
        for (const auto& pDetail : *it) {
            names.append(
                QString::fromStdString(pDetail->market + pDetail->code + ' ' + pDetail->name));
        }
        rows.append({ QString::number(it.key()), QString::number(it->size()), names.join(", ") });
    }
    page.table({ "list", "count", "stocks" }, rows);
}

void writeDrawings(CPage& page, const QString& heading, const QVector<Layout>& layouts,
                   const QVector<Screen>& screens)
{
    page.heading(heading);
    for (const Layout& layout : layouts) {
        const QString strTitle = (layout.strSection + ' ' + layout.strName).trimmed();
        if (layout.windows.isEmpty()) {
            page.paragraph(strTitle + QStringLiteral(": no windows"), QStringLiteral("none"));
        } else {
            writePicture(page.xml(), sceneOf({ strTitle, layout.windows, screens }), strTitle);
        }
    }
}

void writeSections(CPage& page, const UserRecords& records)
{
    page.heading(QStringLiteral("Sections of other managers"));
    QVector<QStringList> rows;
    for (const KW::ElementTree& section : records.sections) {
        rows.append({ section.strName, QString::number(KW::elementCount(section)),
                      KW::findSection(section.strName) != nullptr ? "kept" : "read by nobody" });
    }
    page.table({ "section", "elements", "" }, rows);
}

void writeSnapshots(CPage& page, const QString& configDir, const UserRecords& records)
{
    page.heading(QStringLiteral("Dated copies"));
    QVector<QStringList> rows;
    const auto copies = snapshots(configDir);
    for (const Snapshot& snapshot : copies) {
        const UserFile file = readUserFile(snapshot.strPath);
        const bool bWhole = file.state == FileState::Whole;
        rows.append({ snapshot.date.toString(Qt::ISODate), QString::number(snapshot.nBytes),
                      bWhole ? summary(differences(recordsOf(file.document), records))
                             : toText(file.error) });
    }
    page.table({ "date", "bytes", "changed since" }, rows);
}

} // namespace

QByteArray report(const QString& configDir, const QDateTime& now)
{
    const CheckedFile checked = check(livePath(configDir));
    const UserRecords records = recordsOf(checked.file.document);
    const QVector<Screen> screens = screensOf(windowsOf(records));
    QByteArray html;
    CPage page(&html);
    page.begin(livePath(configDir));
    page.paragraph(now.toString(Qt::ISODate));
    writeFindings(page, checked);
    writeOptions(page, records.options);
    writeStocks(page, records.stocks);
    writeDrawings(page, QStringLiteral("Layouts"), layoutsOf(records), screens);
    writeDrawings(page, QStringLiteral("Templates"),
                  templatesOf(records, LayoutSide::Quote) + templatesOf(records, LayoutSide::Trade),
                  screens);
    writeSections(page, records);
    writeSnapshots(page, configDir, records);
    page.xml().writeEndDocument();
    return html;
}

} // namespace inspect
