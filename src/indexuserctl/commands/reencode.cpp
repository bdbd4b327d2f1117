#include "commands/difftable.h"
#include "commands/userguard.h"
#include "commands/writing.h"
#include "failure.h"

#include <mend/reencode.h>

namespace {

[[noreturn]] void refuse(const Request& request, const mend::Reencoding& reencoding)
{
    const QString strName = inspect::encodingName(*request.encoding);
    const bool bOther = reencoding.result == mend::ReencodeResult::OtherEncoding;
    const bool bRead = reencoding.result != mend::ReencodeResult::Failed;
    const QString strReason = bOther ? "; its bytes are not valid in " + strName
        : bRead                      ? "; read in " + strName
                                     : QString();
    throw CFailure(bRead ? ExitStatus::Damaged : ExitStatus::InputOutput,
                   toText(reencoding.error) + strReason, placeOf(reencoding.error));
}

void printConversion(const Request& request, const mend::Reencoding& reencoding)
{
    const auto differences = inspect::differences(inspect::recordsOf(reencoding.before),
                                                  inspect::recordsOf(reencoding.after));
    const QString strName = inspect::encodingName(*request.encoding);
    const Table changes
        = diffTable(request, differences, "the file read as utf-8", "read as " + strName);
    const bool bWritten = reencoding.receipt.nEdit > 0;
    print({ changes }, request.format);
    printLine();
    if (bWritten) {
        record({ receiptTable(reencoding.receipt) });
        printLine("kept as " + reencoding.strSetAside);
        printReceipt("converted " + inspect::livePath(request.strConfigDir) + " from " + strName,
                     reencoding.receipt, "undo --force");
    } else {
        printLine("would be kept as " + reencoding.strSetAside);
    }
}

} // namespace

ExitStatus reencodeUser(const Request& request)
{
    requireOwner(request);
    mend::CTransaction transaction(request.strConfigDir, wishOf(request));
    requireLock(request, transaction);
    const CUserGuard guard(request);
    guard.requireReplaceable();
    const mend::Reencoding reencoding
        = mend::reencode(transaction, *request.encoding, request.mode);
    if (reencoding.write != mend::WriteFailure::None) {
        throw writeFailure(request, reencoding.write, {});
    }
    if (reencoding.result == mend::ReencodeResult::NothingToDo) {
        printNothing(request, "UTF-8, nothing to convert");
        return ExitStatus::Ok;
    }
    if (reencoding.result != mend::ReencodeResult::Converted) {
        refuse(request, reencoding);
    }
    guard.giveBack();
    printConversion(request, reencoding);
    requireDurable(reencoding.receipt);
    return ExitStatus::Ok;
}
