// A file of templates through import, export and import again.

#include "fuzzkit.h"

#include <format/readabletext.h>
#include <format/userdocument.h>
#include <indexuser/cpanelgrouplayoutconfig.h>

namespace {

QString exported(KW::CPanelGroupLayoutConfig& layouts)
{
    QDomDocument doc;
    QDomElement root = doc.createElement("LayoutTemplates");
    doc.appendChild(root);
    for (const QString& name : layouts.getQuoteLayoutTemplate()) {
        layouts.saveSingleLayoutTemplates(name, root, doc);
    }
    return QString::fromStdString(KW::userDocumentText(doc).strUtf8);
}

QString throughAStore(const QString& text)
{
    const KW::UserDocument file = KW::parseUserDocument(text);
    KW::CPanelGroupLayoutConfig layouts;
    QDomElement container = file.document.documentElement();
    layouts.loadSingleLayoutTemplates(QString(), container);
    return exported(layouts);
}

// A window in the panel tree of another is read as one more, each time.
bool isNested(const QString& text)
{
    const QDomDocument doc = KW::parseUserDocument(text).document;
    for (const char* pszTag : { "LayoutWindowTemplate", "LayoutTemplate" }) {
        const QDomNodeList all = doc.elementsByTagName(pszTag);
        for (int i = 0; i < all.size(); ++i) {
            if (!all.at(i).toElement().elementsByTagName(pszTag).isEmpty()) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // Names that differ only in what no file can hold are one name behind the first export.
    const QString strOnce = throughAStore(KW::readableText(
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<int>(size))));
    fuzzkit::require(isNested(strOnce) || throughAStore(strOnce) == strOnce, strOnce);
    return 0;
}
