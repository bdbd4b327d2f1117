#pragma once

#include "exitstatus.h"

#include <QByteArray>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>

#include <sys/types.h>

/// Answers a command line as the tool does when these are its words.
using AnswerWords = ExitStatus (*)(const QStringList& words);

/// What came of a command line that was answered in a process of its own.
struct Heard {
    QString strName;
    ExitStatus status = ExitStatus::InputOutput;
    QJsonObject answer; ///< as of --json; empty where the process came to no end of its own
    QByteArray text; ///< what it printed
    QByteArray messages; ///< what it said on stderr
};

/// Command lines that are answered in processes of their own, several at once: copies of this one,
/// in which nothing of a user is left over from another, and whose end takes along only their own.
/// One thread, and no other children and threads. What they print is kept until they end; they are
/// waited for.
///
///     CChildren children(answer);
///     children.start("a", { "--config-dir=a", "check" });
///     const Heard heard = children.next();
class CChildren {
public:
    enum class Input { Shared, None };

    explicit CChildren(AnswerWords answer, Input input = Input::None);
    CChildren(const CChildren&) = delete;
    CChildren& operator=(const CChildren&) = delete;
    ~CChildren();

    int count() const { return m_running.size(); }
    /// Throws CFailure when there can be no further process.
    void start(const QString& name, const QStringList& words);
    /// Waits for one that ends; there has to be one. Throws CFailure when it cannot.
    Heard next();

private:
    struct Child {
        QString strName;
        int nText = -1;
        int nMessages = -1;
        int nAnswer = -1;
    };
    [[noreturn]] void live(const Child& child, const QStringList& words) const;
    static Child childNamed(const QString& name);
    static void close(const Child& child);

    AnswerWords m_answer;
    Input m_input;
    QMap<pid_t, Child> m_running;
};
