#pragma once

#include <mend/recovery.h>

#include <inspect/textencoding.h>

namespace mend {

/// Whether a file is not whole because it is written in an encoding that somebody can tell.
bool isConvertible(const inspect::FileError& error);

enum class ReencodeResult {
    NothingToDo, ///< the file is UTF-8
    Converted,
    OtherEncoding, ///< its bytes are not valid in the encoding: see error; nothing was touched
    NoUserFile, ///< read in the encoding it is no user's file: see error; nothing was touched
    Failed, ///< see write and error
};

struct Reencoding {
    ReencodeResult result = ReencodeResult::NothingToDo;
    inspect::FileError error;
    QDomDocument before; ///< what the service would read of the file; empty if nothing
    QDomDocument after; ///< what the file holds, or would hold
    QString strSetAside; ///< where the bytes as they were are kept, or would be
    WriteFailure write = WriteFailure::None;
    Receipt receipt;
};

/// Writes the user's file, which is in \a encoding, in UTF-8, and names that in its declaration.
/// The bytes as they were are kept beside it under a name with the time, and only then are they
/// replaced: at every moment there is a live file. Under the lock that \a transaction holds, which
/// a dry run does not need.
///
///     mend::reencode(transaction, inspect::TextEncoding::Gbk, mend::RunMode::DryRun);
Reencoding reencode(CTransaction& transaction, inspect::TextEncoding encoding, RunMode mode);

} // namespace mend
