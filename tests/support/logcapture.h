#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

/// One record of the shared logger, as it arrived.
struct LoggedLine {
    int nLevel;
    QString strMessage;
    QString strFile;
    QString strFunction;
    int nLine;
};

/// Makes the shared logger, at level INFO, and keeps what it logs.
namespace logcapture {

void start();
QVector<LoggedLine> lines();
QStringList messages();
void clear();
void setLevel(int level);
/// Called with every message, on the thread that logs it, until the next start().
void onMessage(const std::function<void(const QString&)>& hook);

/// What init() of a test announces: an ERROR line that is not a defect.
void expectErrors(int count);
/// ERROR lines so far, less the expected ones.
int unexpectedErrors();

} // namespace logcapture
