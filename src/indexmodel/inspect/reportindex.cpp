#include "inspect/reportindex.h"

#include "inspect/report_p.h"
#include "inspect/scene_p.h"

#include <inspect/pagetexts_p.h>

#include <QUrl>

#include <algorithm>
#include <numeric>
#include <tuple>

namespace inspect {

namespace {

using Users = QVector<IndexedUser>;

struct RuleCounts {
    int nUsers = 0;
    int nFindings = 0;
};

int findingsOf(const IndexedUser& user)
{
    return std::accumulate(user.findings.begin(), user.findings.end(), 0);
}

// Those without a page, then those with the most findings.
Users sorted(Users users)
{
    std::sort(users.begin(), users.end(), [](const IndexedUser& left, const IndexedUser& right) {
        const auto key = [](const IndexedUser& user) {
            return std::make_tuple(user.strError.isEmpty(), -findingsOf(user), user.strName);
        };
        return key(left) < key(right);
    });
    return users;
}

QMap<QString, RuleCounts> rulesOf(const Users& users)
{
    QMap<QString, RuleCounts> rules;
    for (const IndexedUser& user : users) {
        for (auto it = user.findings.begin(); it != user.findings.end(); ++it) {
            RuleCounts& counts = rules[it.key()];
            ++counts.nUsers;
            counts.nFindings += it.value();
        }
    }
    return rules;
}

// The error of a file begins with its name, whose beginning stands beside it.
QString whatOf(const IndexedUser& user)
{
    QStringList parts;
    for (auto it = user.findings.begin(); it != user.findings.end(); ++it) {
        parts.append(it.value() == 1 ? it.key() : it.key() + " × " + grouped(it.value()));
    }
    const QString strFolder = user.strName + '/';
    const bool bBelow = user.strError.startsWith(strFolder);
    return user.strError.isEmpty() ? parts.join(QStringLiteral(", "))
                                   : user.strError.mid(bBelow ? strFolder.size() : 0);
}

void writeFact(CHtmlWriter& page, const QString& name, std::ptrdiff_t count)
{
    page.begin("div", { { "class", QStringLiteral("fact") } });
    page.element("dt", name);
    page.element("dd", grouped(static_cast<int>(count)));
    page.end();
}

void writeTop(CHtmlWriter& page, const Users& users, const QDateTime& now)
{
    const auto nFailed = std::count_if(users.begin(), users.end(), [](const IndexedUser& user) {
        return !user.strError.isEmpty();
    });
    const auto nFound = std::count_if(users.begin(), users.end(), [](const IndexedUser& user) {
        return user.strError.isEmpty() && !user.findings.isEmpty();
    });
    page.begin("header");
    page.element("h1", counted(users.size(), "user", "users"));
    page.element("p", QStringLiteral("As of ") + momentText(now),
                 { { "class", QStringLiteral("moment") } });
    page.begin("dl", { { "class", QStringLiteral("facts") } });
    writeFact(page, QStringLiteral("In order"), users.size() - nFailed - nFound);
    writeFact(page, QStringLiteral("With findings"), nFound);
    writeFact(page, QStringLiteral("Without a page"), nFailed);
    page.end();
    page.end();
}

void writeContents(CHtmlWriter& page)
{
    page.begin("nav", { { "aria-label", QStringLiteral("Contents") } });
    page.begin("ul");
    for (const char* pszTitle : { "Findings", "Users" }) {
        page.begin("li");
        page.element("a", pszTitle, { { "href", '#' + QString(pszTitle).toLower() } });
        page.end();
    }
    page.end();
    page.end();
}

void beginSection(CHtmlWriter& page, const QString& title)
{
    const QString strId = title.toLower();
    page.begin("section", { { "id", strId }, { "aria-labelledby", strId + "-heading" } });
    page.element("h2", title, { { "id", strId + "-heading" } });
}

void writeRules(CHtmlWriter& page, const Users& users)
{
    const QStringList headings { "rule", "users", "findings" };
    const QMap<QString, RuleCounts> rules = rulesOf(users);
    beginSection(page, QStringLiteral("Findings"));
    if (rules.isEmpty()) {
        writeNone(page);
    } else {
        page.beginTable(QStringLiteral("Findings by rule"), headings, "rules");
        for (auto it = rules.begin(); it != rules.end(); ++it) {
            page.row(headings,
                     { it.key(), QString::number(it->nUsers), QString::number(it->nFindings) });
        }
        page.endTable();
    }
    page.end();
}

void writeUser(CHtmlWriter& page, const IndexedUser& user)
{
    const bool bFailed = !user.strError.isEmpty();
    page.begin("tr", { { "class", bFailed ? QStringLiteral("amiss") : QStringLiteral("user") } });
    page.begin("th", { { "scope", QStringLiteral("row") } });
    if (bFailed) {
        page.text(user.strName);
    } else {
        page.element("a", user.strName,
                     { { "href", QString::fromLatin1(QUrl::toPercentEncoding(user.strPage)) } });
    }
    page.end();
    page.element("td", bFailed ? QString() : QString::number(findingsOf(user)));
    page.element("td", whatOf(user));
    page.end();
}

void writeUsers(CHtmlWriter& page, const Users& users)
{
    beginSection(page, QStringLiteral("Users"));
    page.beginTable(QStringLiteral("Findings by user"), { "user", "findings", "which" }, "users");
    const Users shown = sorted(users);
    for (const IndexedUser& user : shown) {
        writeUser(page, user);
    }
    page.endTable();
    page.end();
}

} // namespace

QByteArray reportIndex(const QVector<IndexedUser>& users, const QDateTime& now)
{
    QByteArray html;
    CHtmlWriter page(&html);
    writeHead(page, counted(users.size(), "user", "users"), c_szIndexScript);
    page.begin("body");
    page.element("a", QStringLiteral("Skip to the sections"),
                 { { "class", QStringLiteral("skip") }, { "href", QStringLiteral("#main") } });
    writeTop(page, users, now);
    writeContents(page);
    page.begin("main", { { "id", QStringLiteral("main") } });
    writeFilter(page, QStringLiteral("user or finding"));
    writeRules(page, users);
    writeUsers(page, users);
    page.end();
    page.raw("script", c_szIndexScript);
    page.end();
    page.end();
    return html;
}

} // namespace inspect
