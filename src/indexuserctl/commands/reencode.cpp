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
                   toText(reencoding.error) + strReason);
}

void printConversion(const Request& request, const mend::Reencoding& reencoding)
{
    const auto differences = inspect::differences(inspect::recordsOf(reencoding.before),
                                                  inspect::recordsOf(reencoding.after));
    const QString strName = inspect::encodingName(*request.encoding);
    print({ diffTable(request, differences, "the file read as utf-8", "read as " + strName) },
          request.format);
    printLine();
    if (request.isDryRun()) {
        printLine("would be kept as " + reencoding.strSetAside);
    } else {
        printLine("kept as " + reencoding.strSetAside);
        printReceipt("converted " + inspect::livePath(request.strConfigDir) + " from " + strName,
                     reencoding.receipt);
    }
}

} // namespace

ExitStatus reencodeUser(const Request& request)
{
    const CUserGuard guard(request);
    guard.requireReplaceable();
    const mend::Reencoding reencoding
        = mend::reencode(request.strConfigDir, *request.encoding, request.mode, wishOf(request));
    if (reencoding.write != mend::WriteFailure::None) {
        throw writeFailure(request, reencoding.write, reencoding.holder);
    }
    if (reencoding.result == mend::ReencodeResult::NothingToDo) {
        printLine(inspect::livePath(request.strConfigDir) + ": UTF-8, nothing to convert");
        return ExitStatus::Ok;
    }
    if (reencoding.result != mend::ReencodeResult::Converted) {
        refuse(request, reencoding);
    }
    guard.giveBack();
    printConversion(request, reencoding);
    return ExitStatus::Ok;
}
