#include "commands/writing.h"

#include <mend/ownership.h>
#include <platform/filenames.h>

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

// What keeps a directory from being changed, in the system's words; empty if nothing does.
QString closedReason(const QString& directory)
{
    const QByteArray path = QFile::encodeName(directory);
    return ::faccessat(AT_FDCWD, path.constData(), W_OK | X_OK, AT_EACCESS) == 0
        ? QString()
        : QString::fromLocal8Bit(std::strerror(errno));
}

// The service does not tell what refused; the siblings know of files, the system of directories.
QString causeOf(const Request& request)
{
    const QString strClosed = closedReason(request.strConfigDir);
    if (!strClosed.isEmpty()) {
        return strClosed + ": " + request.strConfigDir;
    }
    const standalone::WriteFailure failure = standalone::lastWriteFailure();
    return failure.strReason.isEmpty() ? QString() : failure.strReason + ": " + failure.strPath;
}

// Of a lock that is somebody else's file nothing can be read, nor whether its holder has died.
QString lockHint(const Request& request)
{
    const QString strLock = QDir(request.strConfigDir).filePath(KW::c_szLockFile);
    const auto strangers = mend::strangersFiles(request.strConfigDir);
    for (const mend::StrangersFile& file : strangers) {
        if (file.strPath == strLock) {
            return QStringLiteral("; %1 belongs to %2%3")
                .arg(strLock, file.strOwner,
                     file.bRoots ? QStringLiteral(": an edit by root with --force gives it back")
                                 : QString());
        }
    }
    return {};
}

} // namespace

mend::WriteWish wishOf(const Request& request)
{
    mend::WriteWish wish { request.strCommand, 5000, request.isForced(), request.strAccount };
    if (request.wait) {
        bool bOk = false;
        const double nSeconds = request.wait->toDouble(&bOk);
        if (!bOk || !(nSeconds >= 0 && nSeconds <= 86400)) {
            throw CFailure(
                ExitStatus::Usage,
                QStringLiteral("--wait: '%1' is no number of seconds").arg(*request.wait));
        }
        wish.nWaitMs = static_cast<int>(nSeconds * 1000);
    }
    return wish;
}

QString busyText(const mend::LockHolder& holder)
{
    return QStringLiteral("busy: %1, process %2, since %3")
        .arg(holder.strProgram.isEmpty() ? QStringLiteral("a program") : holder.strProgram)
        .arg(holder.nProcess)
        .arg(holder.since.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
}

bool takeLock(const Request& request, mend::CTransaction& transaction)
{
    const mend::WriteFailure failure = transaction.lock();
    if (failure == mend::WriteFailure::Busy && !request.isForced()) {
        throw CFailure(ExitStatus::Busy, busyText(transaction.holder()) + lockHint(request));
    }
    if (failure == mend::WriteFailure::Busy) {
        printError(busyText(transaction.holder()) + "; its next save may undo this edit");
    }
    return failure != mend::WriteFailure::NoLock;
}

void requireLock(const Request& request, mend::CTransaction& transaction)
{
    if (!request.isDryRun() && !takeLock(request, transaction)) {
        throw writeFailure(request, mend::WriteFailure::NoLock, {});
    }
}

QString failedWrite(const Request& request, const QString& observed)
{
    const QString strCause = causeOf(request);
    return "the save failed: " + (strCause.isEmpty() ? observed : strCause) + recoverHint(request);
}

QString writeFailureText(const Request& request, mend::WriteFailure failure)
{
    switch (failure) {
    case mend::WriteFailure::None:
    case mend::WriteFailure::Busy:
        break;
    case mend::WriteFailure::NoLock:
        return failedWrite(request, QStringLiteral("the user's directory takes no lock"));
    case mend::WriteFailure::NoHistory:
        return failedWrite(request,
                           QStringLiteral("the state before cannot be kept in %1/%2")
                               .arg(request.strConfigDir, KW::c_szHistoryFolder));
    case mend::WriteFailure::Changed:
        return QStringLiteral("somebody else has changed the file meanwhile; nothing is written");
    case mend::WriteFailure::Refused:
        return failedWrite(request, QStringLiteral("the file cannot be written"));
    }
    return {};
}

CFailure writeFailure(const Request& request, mend::WriteFailure failure,
                      const mend::LockHolder& holder)
{
    return failure == mend::WriteFailure::Busy
        ? CFailure(ExitStatus::Busy, busyText(holder))
        : CFailure(ExitStatus::InputOutput, writeFailureText(request, failure));
}

// Where somebody may only look, nothing can be brought back either.
QString recoverHint(const Request& request)
{
    using mend::RecoveryResult;
    if (!closedReason(request.strConfigDir).isEmpty()) {
        return {};
    }
    const RecoveryResult result = mend::recover(request.strConfigDir, mend::RunMode::DryRun).result;
    const bool bHelps
        = result == RecoveryResult::Recovered || result == RecoveryResult::RecoveredWithLoss;
    return bHelps ? QStringLiteral("; 'recover' brings a dated copy back") : QString();
}

void printNothing(const Request& request, const QString& words)
{
    if (request.format == Format::Json) {
        print({ Table { "changes", {}, {} } }, request.format);
    } else {
        printLine(inspect::livePath(request.strConfigDir) + ": " + words);
    }
}

void printLogAside(const QString& path)
{
    if (!path.isEmpty()) {
        printError("the history's log was damaged; as it was it is kept as " + path);
    }
}

Table receiptTable(const mend::Receipt& receipt)
{
    const QString strDigest = QString::fromLatin1(receipt.digest);
    return { "receipt",
             "Saved",
             { "file", "sha256", "bytes", "durable", "edit" },
             { { receipt.strFile, strDigest.isEmpty() ? QJsonValue() : strDigest, receipt.nBytes,
                 receipt.bDurable, receipt.nEdit > 0 ? QJsonValue(receipt.nEdit) : QJsonValue() } },
             TableShape::One };
}

void requireDurable(const mend::Receipt& receipt)
{
    if (receipt.isWritten() && !receipt.bDurable) {
        throw CFailure(
            ExitStatus::InputOutput,
            QStringLiteral("%1 is written, but could not be synced: a power cut may take "
                           "it back; 'check' tells")
                .arg(receipt.strFile));
    }
}

void printReceipt(const QString& what, const mend::Receipt& receipt, const QString& wayBack)
{
    printDone(what);
    const QString strNow
        = QStringLiteral("%1 bytes, sha256 %2")
              .arg(QString::number(receipt.nBytes), QString::fromLatin1(receipt.digest.left(16)));
    printLine(QStringLiteral("  now: %1, %2")
                  .arg(receipt.digest.isEmpty() ? QStringLiteral("gone") : strNow,
                       receipt.bDurable ? "durable" : "NOT known to outlast a power cut"));
    printLogAside(receipt.strLogAside);
    if (receipt.nEdit == 0) {
        printError("the history takes nothing: what was there before is not in it");
        return;
    }
    const QString strWay
        = wayBack.isEmpty() ? QString() : QStringLiteral("; '%1' brings it back").arg(wayBack);
    printLine(QStringLiteral("  before: kept as edit %1 of the history%2")
                  .arg(QString::number(receipt.nEdit), strWay));
}
