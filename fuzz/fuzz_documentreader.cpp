// A text read without Qt's parser: not at all, or as Qt reads it. The input is the text, or choices
// of what to write.

#include "fuzzchoices.h"
#include "fuzzkit.h"

#include <format/documentreader_p.h>
#include <platform/limits.h>
#include <tests/support/randomdocuments.h>
#include <tests/support/treecomparison.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    qSetGlobalQHashSeed(-1);
    const QString strText = size > 0 && data[0] == '<'
        ? QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<int>(size))
        : randomdocuments::text(fuzzkit::choices(data, size));
    const auto read = KW::readDocument(strText, KW::c_nMaxDepth);
    QDomDocument byQt;
    fuzzkit::require(!read || byQt.setContent(strText), "Qt refuses " + strText);
    const QString strDifference = read ? treeDifference(*read, byQt) : QString();
    fuzzkit::require(strDifference.isEmpty(), strDifference + '\n' + strText);
    return 0;
}
