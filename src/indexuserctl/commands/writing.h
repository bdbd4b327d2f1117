#pragma once

#include "failure.h"
#include "terminal/output.h"

#include <mend/recovery.h>

// What all commands that change a user's file share.

/// How \a request asks for the right to write; throws CFailure for a --wait that is no number.
mend::WriteWish wishOf(const Request& request);

/// "busy: indexuserctl, process 123, since 2024-01-31 09:30:00".
QString busyText(const mend::LockHolder& holder);

/// Takes the lock, or with --force warns of who has it. Throws CFailure when it is busy. False
/// where the directory takes none, and then nothing can be written there either.
bool takeLock(const Request& request, mend::CTransaction& transaction);

/// The same, or CFailure where the directory takes none; nothing for a dry run.
void requireLock(const Request& request, mend::CTransaction& transaction);

/// Why the last write was refused, in the system's words, behind \a observed where it tells
/// nothing; and whether a dated copy would help.
QString failedWrite(const Request& request, const QString& observed);

/// What the causes before a write say, for people.
QString writeFailureText(const Request& request, mend::WriteFailure failure);

/// A write that was not done, by its cause, as it ends a command.
CFailure writeFailure(const Request& request, mend::WriteFailure failure,
                      const mend::LockHolder& holder);

/// "; 'recover' brings a dated copy back", where it does.
QString recoverHint(const Request& request);

/// That there is nothing to do: for people in words, as JSON without any change.
void printNothing(const Request& request, const QString& words);

/// To stderr, that a damaged log of the history is kept as \a path; nothing for an empty one.
void printLogAside(const QString& path);

/// What is in the file now, as a table for JSON.
Table receiptTable(const mend::Receipt& receipt);

/// Throws CFailure for a write that is there, while the system could not be brought to say that it
/// stays: "saved" means that it outlasts a power cut. After the receipt.
void requireDurable(const mend::Receipt& receipt);

/// The same as lines for people, and the command that takes it back.
void printReceipt(const QString& what, const mend::Receipt& receipt,
                  const QString& wayBack = QStringLiteral("undo"));
