#include "inspect/report_p.h"

#include "inspect/scene_p.h"
#include "inspect/userdifferences.h"

#include <inspect/pagetexts_p.h>

#include <QDir>
#include <QFileInfo>
#include <QLocale>

#include <algorithm>

namespace inspect {

namespace {

const char* const c_szNoNetwork = "default-src 'none'; style-src %1; script-src %2";

QString findingsFact(const ReportUser& user)
{
    const int nCount = user.checked.findings.size();
    return !user.checked.strFailure.isEmpty() ? QStringLiteral("not all was checked")
        : nCount == 0                         ? QStringLiteral("in order")
                                              : counted(nCount, "finding", "findings");
}

QString optionsFact(const ReportUser& user)
{
    return QStringLiteral("%1 of %2 not default")
        .arg(changedOptions(user.records))
        .arg(KW::optionTable().size());
}

QString stocksFact(const ReportUser& user)
{
    int nStocks = 0;
    for (const KW::InstrumentList& list : user.records.stocks) {
        nStocks += list.size();
    }
    return counted(user.records.stocks.size(), "list", "lists") + QStringLiteral(", ")
        + grouped(nStocks) + (nStocks == 1 ? " stock" : " stocks");
}

QString windowsFact(const ReportUser& user)
{
    int nWindows = 0;
    const auto layouts = layoutsOf(user.records);
    for (const Layout& layout : layouts) {
        nWindows += layout.windows.size();
    }
    return counted(nWindows, "window", "windows") + QStringLiteral(" on ")
        + counted(screensOf(windowsOf(user.records)).size(), "screen", "screens");
}

QString templatesFact(const ReportUser& user)
{
    const int nCount = user.records.layouts.m_quoteTemplates.size()
        + user.records.layouts.m_tradeTemplates.size();
    return counted(nCount, "template", "templates");
}

QString copiesFact(const ReportUser& user)
{
    return user.copies.isEmpty() ? QStringLiteral("none")
                                 : QStringLiteral("%1, last of %2")
                                       .arg(QString::number(user.copies.size()),
                                            user.copies.first().date.toString(Qt::ISODate));
}

QString historyFact(const ReportUser& user)
{
    return user.facts.edits.isEmpty() ? QStringLiteral("no edits")
                                      : QStringLiteral("%1, last %2")
                                            .arg(counted(user.facts.edits.size(), "edit", "edits"),
                                                 momentText(user.facts.edits.last().time));
}

QVector<ReportSection> sectionsOf(const ReportUser& user)
{
    using KW::UserPart;
    const bool bAmiss = !user.checked.findings.isEmpty() || !user.checked.strFailure.isEmpty();
    QVector<ReportSection> sections {
        { "findings", "Findings", findingsFact(user), bAmiss, writeFindings },
        { "options", "Options", optionsFact(user), false, writeOptions },
        { "stocks", "Stock lists", stocksFact(user), false, writeStocks },
        { "layouts", "Layouts", windowsFact(user), false, writeLayouts },
        { "templates", "Templates", templatesFact(user), false, writeTemplates },
        { "sections", "Sections of other managers",
          counted(user.records.sections.size(), "section", "sections"), false, writeSections },
        { "copies", "Dated copies", copiesFact(user), false, writeCopies },
        { "history", "History", historyFact(user), false, writeHistory },
    };
    const QVector<UserPart> parts { UserPart::Options, UserPart::Stocks, UserPart::Layouts,
                                    UserPart::Templates, UserPart::Sections };
    for (int i = 0; user.facts.before && i < parts.size(); ++i) {
        sections[i + 1].strFact = changesText(user, { parts[i] });
    }
    return sections;
}

void writeFact(CHtmlWriter& page, const QString& name, const QString& fact, const QString& id,
               bool amiss)
{
    page.begin("div", { { "class", amiss ? QStringLiteral("amiss") : QStringLiteral("fact") } });
    page.element("dt", name);
    page.begin("dd");
    if (id.isEmpty()) {
        page.text(fact);
    } else {
        page.element("a", fact, { { "href", QLatin1Char('#') + id } });
    }
    page.end();
    page.end();
}

// What one looks for first.
void writeTop(CHtmlWriter& page, const ReportUser& user, const QVector<ReportSection>& sections)
{
    const QFileInfo file(livePath(user.strConfigDir));
    page.begin("header");
    page.element("h1", QFileInfo(file.absolutePath()).fileName());
    page.element("p", file.absoluteFilePath(), { { "class", QStringLiteral("path") } });
    page.element("p",
                 user.facts.before
                     ? QStringLiteral("What changed since %1, as of %2")
                           .arg(user.facts.before->strName, momentText(user.facts.now))
                     : QStringLiteral("As of ") + momentText(user.facts.now),
                 { { "class", QStringLiteral("moment") } });
    page.begin("dl", { { "class", QStringLiteral("facts") } });
    for (const ReportSection& section : sections) {
        writeFact(page, section.strTitle, section.strFact, QLatin1String(section.pszId),
                  section.bAmiss);
    }
    writeFact(page, QStringLiteral("Last save"), momentText(file.lastModified()), {}, false);
    page.end();
    page.end();
}

void writeContents(CHtmlWriter& page, const QVector<ReportSection>& sections)
{
    page.begin("nav", { { "aria-label", QStringLiteral("Contents") } });
    page.begin("ul");
    for (const ReportSection& section : sections) {
        page.begin("li");
        page.element("a", section.strTitle, { { "href", QString("#") + section.pszId } });
        page.end();
    }
    page.end();
    page.end();
}

void writeBody(CHtmlWriter& page, const ReportUser& user)
{
    const QVector<ReportSection> sections = sectionsOf(user);
    page.begin("body");
    page.element("a", QStringLiteral("Skip to the sections"),
                 { { "class", QStringLiteral("skip") }, { "href", QStringLiteral("#main") } });
    writeTop(page, user, sections);
    writeContents(page, sections);
    page.begin("main", { { "id", QStringLiteral("main") } });
    writeFilter(page, QStringLiteral("stock, option or window"));
    for (const ReportSection& section : sections) {
        const QString strHeading = QString(section.pszId) + "-heading";
        page.begin("section", { { "id", section.pszId }, { "aria-labelledby", strHeading } });
        page.element("h2", section.strTitle, { { "id", strHeading } });
        section.write(page, user);
        page.end();
    }
    page.end();
    page.raw("script", c_szPageScript);
    page.end();
}

ReportUser readUser(const QString& configDir, const ReportFacts& facts)
{
    ReportUser user;
    user.strConfigDir = configDir;
    user.facts = facts;
    user.checked = check(livePath(configDir));
    user.checked.findings += facts.findings;
    user.records = recordsOf(user.checked.file.document);
    user.copies = snapshots(configDir);
    QVector<KW::CLayoutWindow> windows = windowsOf(user.records);
    if (facts.before) {
        user.differences = differences(facts.before->records, user.records);
        windows += windowsOf(facts.before->records);
    }
    user.screens = screensOf(windows);
    return user;
}

} // namespace

void writeHead(CHtmlWriter& page, const QString& title, const QByteArray& script)
{
    const QByteArray style = QByteArray(c_szPageCss) + c_szPictureCss;
    page.xml().writeDTD(QStringLiteral("<!DOCTYPE html>"));
    page.begin("html", { { "lang", QStringLiteral("en") } });
    page.begin("head");
    page.single("meta", { { "charset", QStringLiteral("utf-8") } });
    page.single("meta",
                { { "http-equiv", QStringLiteral("Content-Security-Policy") },
                  { "content",
                    QString(c_szNoNetwork)
                        .arg(CHtmlWriter::sourceOf(style), CHtmlWriter::sourceOf(script)) } });
    page.single("meta",
                { { "name", QStringLiteral("viewport") },
                  { "content", QStringLiteral("width=device-width, initial-scale=1") } });
    page.single("meta",
                { { "name", QStringLiteral("color-scheme") },
                  { "content", QStringLiteral("light dark") } });
    page.element("title", title);
    page.raw("style", style);
    page.end();
}

// Of no use without the script, which shows it.
void writeFilter(CHtmlWriter& page, const QString& wanted)
{
    page.begin("div", { { "class", QStringLiteral("tools") }, { "hidden", QString() } });
    page.element("label", QStringLiteral("Filter"), { { "for", QStringLiteral("filter") } });
    page.single("input",
                { { "id", QStringLiteral("filter") },
                  { "type", QStringLiteral("search") },
                  { "autocomplete", QStringLiteral("off") },
                  { "spellcheck", QStringLiteral("false") },
                  { "placeholder", wanted } });
    page.element("output", {},
                 { { "id", QStringLiteral("found") }, { "for", QStringLiteral("filter") } });
    page.end();
}

QString grouped(int number)
{
    return QLocale(QLocale::English).toString(number);
}

QString momentText(const QDateTime& time)
{
    return time.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

QString changesText(const ReportUser& user, const QVector<KW::UserPart>& parts)
{
    const auto nCount = std::count_if(
        user.differences.begin(), user.differences.end(),
        [&](const Difference& difference) { return parts.contains(difference.part); });
    return nCount == 0 ? QStringLiteral("nothing changed")
                       : counted(static_cast<int>(nCount), "change", "changes");
}

void beginFold(CHtmlWriter& page, const QString& id, const QString& title, const QString& fact,
               Fold fold)
{
    CHtmlWriter::Attributes attributes { { "id", id }, { "aria-label", title } };
    if (fold == Fold::Open) {
        attributes.append({ "open", QString() });
    }
    if (fold == Fold::Long) {
        attributes.append({ "class", QStringLiteral("long") });
    }
    page.begin("details", attributes);
    page.begin("summary");
    page.element("h3", title);
    page.text(QStringLiteral(" "));
    page.element("span", fact);
    page.end();
}

void writeNone(CHtmlWriter& page)
{
    page.element("p", QStringLiteral("none"), { { "class", QStringLiteral("none") } });
}

QByteArray report(const QString& configDir, const ReportFacts& facts)
{
    const ReportUser user = readUser(configDir, facts);
    QByteArray html;
    CHtmlWriter page(&html);
    const QString strUser = QFileInfo(QFileInfo(livePath(configDir)).absolutePath()).fileName();
    writeHead(page,
              facts.before ? QStringLiteral("%1 since %2").arg(strUser, facts.before->strName)
                           : strUser,
              c_szPageScript);
    writeBody(page, user);
    page.end();
    return html;
}

} // namespace inspect
