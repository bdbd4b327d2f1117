// The bytes of a file through a load, a save and a load again: the records stay the same. All in
// memory; what becomes of files is for the tests.

#include "fuzzkit.h"
#include "inlinethreads.h"
#include "memoryfiles.h"
#include "treemutator.h"

#include <indexuser/servicerecords.h>
#include <inspect/userdifferences.h>

#include <format/userdocument.h>

namespace {

KW::UserDocument parsed(const char* bytes, std::size_t size)
{
    return KW::parseUserDocument(QString::fromUtf8(bytes, static_cast<int>(size)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto* const pBytes = reinterpret_cast<const char*>(data);
    KW::UserConfigInterface& service
        = fuzzkit::loadServed(QByteArray(pBytes, static_cast<int>(size)));
    const KW::UserRecords first
        = KW::savedForm(KW::recordsOf(service, KW::otherSections(parsed(pBytes, size).document)));
    {
        const fuzzkit::CInlineThreads threads;
        fuzzkit::save(service);
    }
    const std::string& strSaved = fuzzkit::written();
    const KW::UserDocument saved = parsed(strSaved.data(), strSaved.size());
    fuzzkit::require(saved.isValid(), saved.strError);
    const KW::UserRecords second = KW::recordsOf(saved.document);
    if (!(first == second)) {
        const auto differences = inspect::differences(first, second);
        fuzzkit::require(differences.isEmpty(),
                         differences.isEmpty() ? QString() : inspect::toText(differences.first()));
    }
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed)
{
    return mutateTree(data, size, maxSize, seed);
}
