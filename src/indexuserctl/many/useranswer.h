#pragma once

#include "exitstatus.h"
#include "terminal/table.h"

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QVector>

#include <optional>

/// What is kept of the answer of a command for one of many users.
struct UserAnswer {
    QString strUser; ///< his directory
    ExitStatus status = ExitStatus::Ok;
    QMap<QString, int> findings; ///< how many of which rule
    QString strError; ///< why the command, or the check of a file, came to nothing
    QString strPage; ///< the file that was written for him

    bool isFailed() const { return !strError.isEmpty(); }
};

/// \a answer is that of --json.
UserAnswer userAnswer(const QString& user, ExitStatus status, const QJsonObject& answer);

QJsonObject toJson(const UserAnswer& answer);
/// None for what toJson() has not made.
std::optional<UserAnswer> userAnswerFrom(const QJsonObject& object);

/// Counts answers; what it holds does not grow with their number.
class CUserCounts {
public:
    void add(const UserAnswer& answer);

    ExitStatus worst() const { return m_worst; }
    /// The users by status and, if there are any, by finding.
    QVector<Table> tables() const;

private:
    struct Rule {
        int nUsers = 0;
        int nFindings = 0;
    };
    QString title() const;

    ExitStatus m_worst = ExitStatus::Ok;
    QMap<ExitStatus, int> m_users;
    QMap<QString, Rule> m_rules;
};
