#include "many/useranswer.h"

#include "commandtable.h"

#include <QJsonArray>

#include <algorithm>
#include <numeric>

namespace {

QMap<QString, int> countsOf(const QJsonArray& findings)
{
    QMap<QString, int> counts;
    for (const auto& each : findings) {
        ++counts[each.toObject()["rule"].toString()];
    }
    return counts;
}

QJsonObject toJson(const QMap<QString, int>& findings)
{
    QJsonObject object;
    for (auto it = findings.begin(); it != findings.end(); ++it) {
        object.insert(it.key(), it.value());
    }
    return object;
}

bool areCounts(const QJsonObject& object)
{
    return std::all_of(object.begin(), object.end(),
                       [](const QJsonValue& value) { return value.toInt() > 0; });
}

QMap<QString, int> countsFrom(const QJsonObject& object)
{
    QMap<QString, int> counts;
    for (auto it = object.begin(); it != object.end(); ++it) {
        counts.insert(it.key(), it.value().toInt());
    }
    return counts;
}

bool isStatus(const QJsonValue& value)
{
    const auto& all = statusTexts();
    return value.isDouble() && std::any_of(all.begin(), all.end(), [&](const StatusText& text) {
               return static_cast<int>(text.status) == value.toInt();
           });
}

} // namespace

UserAnswer userAnswer(const QString& user, ExitStatus status, const QJsonObject& answer)
{
    const QString strError = answer["error"].toObject()["message"].toString();
    const QString strUnchecked = answer["files"].toArray().first().toObject()["error"].toString();
    return { user, status, countsOf(answer["findings"].toArray()),
             strError.isEmpty() ? strUnchecked : strError,
             answer["output"].toObject()["file"].toString() };
}

QJsonObject toJson(const UserAnswer& answer)
{
    return { { "user", answer.strUser },
             { "status", static_cast<int>(answer.status) },
             { "findings", toJson(answer.findings) },
             { "error", answer.strError },
             { "page", answer.strPage } };
}

std::optional<UserAnswer> userAnswerFrom(const QJsonObject& object)
{
    if (object["user"].toString().isEmpty() || !isStatus(object["status"])
        || !areCounts(object["findings"].toObject())) {
        return {};
    }
    return UserAnswer { object["user"].toString(),
                        static_cast<ExitStatus>(object["status"].toInt()),
                        countsFrom(object["findings"].toObject()), object["error"].toString(),
                        object["page"].toString() };
}

void CUserCounts::add(const UserAnswer& answer)
{
    m_worst = graver(m_worst, answer.status);
    ++m_users[answer.status];
    for (auto it = answer.findings.begin(); it != answer.findings.end(); ++it) {
        Rule& rule = m_rules[it.key()];
        ++rule.nUsers;
        rule.nFindings += it.value();
    }
}

QString CUserCounts::title() const
{
    const int nUsers = std::accumulate(m_users.begin(), m_users.end(), 0);
    return nUsers == 1 ? QStringLiteral("1 user") : QString::number(nUsers) + " users";
}

// What concerns the most users stands first.
QVector<Table> CUserCounts::tables() const
{
    Table users { "users", title(), { "status", "users" } };
    for (auto it = m_users.begin(); it != m_users.end(); ++it) {
        users.rows.append({ statusName(it.key()), it.value() });
    }
    Table rules { "rules", QStringLiteral("By finding"), { "rule", "users", "findings" } };
    for (auto it = m_rules.begin(); it != m_rules.end(); ++it) {
        rules.rows.append({ it.key(), it->nUsers, it->nFindings });
    }
    std::stable_sort(rules.rows.begin(), rules.rows.end(), [](const auto& left, const auto& right) {
        return left[1].toInt() > right[1].toInt();
    });
    return rules.rows.isEmpty() ? QVector<Table> { users } : QVector<Table> { users, rules };
}
