// The bytes of a file through a load, a save and a load again: the records stay the same.

#include "fuzzkit.h"
#include "treemutator.h"

#include <indexuser/servicerecords.h>
#include <inspect/check.h>
#include <inspect/userdifferences.h>

#include <QFile>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray content(reinterpret_cast<const char*>(data), static_cast<int>(size));
    KW::UserConfigInterface& service = fuzzkit::load(content);
    const inspect::UserFile before = inspect::readDocument(fuzzkit::livePath());
    const inspect::UserRecords first
        = inspect::savedForm(KW::recordsOf(service, KW::otherSections(before.document)));
    fuzzkit::save(service);
    const inspect::CheckedFile saved = inspect::check(fuzzkit::livePath());
    fuzzkit::require(saved.file.state == inspect::FileState::Whole, toText(saved.file.error));
    const auto differences = inspect::differences(first, inspect::recordsOf(saved.file.document));
    fuzzkit::require(differences.isEmpty(),
                     differences.isEmpty() ? QString() : inspect::toText(differences.first()));
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed)
{
    return mutateTree(data, size, maxSize, seed);
}
