// The bytes of a file through check(): what it finds nothing in is what a save holds, and what it
// finds has its place in the file. All in memory.

#include "fuzzkit.h"
#include "treemutator.h"

#include <inspect/check.h>
#include <inspect/userdifferences.h>

#include <format/userdocument.h>

namespace {

inspect::CheckedFile checked(const QByteArray& bytes)
{
    const inspect::FileBytes file { inspect::FileState::Whole, bytes, {} };
    return inspect::check(inspect::userFileOf(file, inspect::OtherBytes::Replaced));
}

void requirePositions(const inspect::CheckedFile& checked)
{
    const int nLines = checked.file.strText.count(QLatin1Char('\n')) + 1;
    for (const inspect::Finding& finding : checked.findings) {
        fuzzkit::require(finding.position.nLine >= 0 && finding.position.nLine <= nLines,
                         finding.strRule + ": " + finding.strText);
    }
}

void requireTold(const KW::UserRecords& records, const KW::UserRecords& saved,
                 const inspect::CheckedFile& checked)
{
    const auto differences = inspect::differences(records, saved);
    fuzzkit::require(differences.isEmpty() == (records == saved), checked.file.strText);
    fuzzkit::require(differences.isEmpty() || !checked.findings.isEmpty(), checked.file.strText);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const inspect::CheckedFile read
        = checked(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    requirePositions(read);
    if (read.file.state != inspect::FileState::Whole) {
        return 0;
    }
    const KW::UserRecords records = KW::recordsOf(read.file.document);
    requireTold(records, KW::savedForm(records), read);
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed)
{
    return mutateTree(data, size, maxSize, seed);
}
