// A tree written without Qt's writer: not at all, or as Qt writes it; and what becomes of it in the
// end can be read. The input is choices of what to build.

#include "fuzzchoices.h"
#include "fuzzkit.h"

#include <format/documentwriter_p.h>
#include <format/userdocument.h>
#include <tests/support/randomdocuments.h>

// The text of a tree as deep as the limit of files is a megabyte of blanks.
constexpr int c_nDepth = 20;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    qSetGlobalQHashSeed(-1);
    QDomDocument doc = randomdocuments::tree(fuzzkit::choices(data, size), c_nDepth - 10);
    const auto written = KW::writtenDocument(doc, c_nDepth);
    const KW::UserDocumentText text = KW::userDocumentText(doc);
    const QString strByQt = doc.toString(4);
    fuzzkit::require(!written || (*written == strByQt.toStdString() && text.strUtf8 == *written),
                     strByQt);
    const QString strRead = QString::fromStdString(text.strUtf8);
    fuzzkit::require(!strRead.contains(QChar(0)) && strRead.toStdString() == text.strUtf8, strByQt);
    return 0;
}
