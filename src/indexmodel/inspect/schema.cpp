#include "inspect/schema.h"

#include "inspect/schematext_p.h"

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <algorithm>
#include <memory>

namespace inspect {

namespace {

template <auto free> struct Deleter {
    template <typename T> void operator()(T* p) const { free(p); }
};

template <typename T, auto free> using Owned = std::unique_ptr<T, Deleter<free>>;

using Schema = Owned<xmlSchema, xmlSchemaFree>;
using SchemaParser = Owned<xmlSchemaParserCtxt, xmlSchemaFreeParserCtxt>;
using Validator = Owned<xmlSchemaValidCtxt, xmlSchemaFreeValidCtxt>;
using Document = Owned<xmlDoc, xmlFreeDoc>;
using Parser = Owned<xmlParserCtxt, xmlFreeParserCtxt>;

void note(void* pErrors, xmlErrorPtr pError)
{
    static_cast<QVector<SchemaError>*>(pErrors)->append(
        { pError->line, QString::fromUtf8(pError->message).trimmed() });
}

// Read once: it is the same for every file, and validating does not change it.
xmlSchema* schema()
{
    static const Schema s_pSchema = [] {
        const SchemaParser parser(
            xmlSchemaNewMemParserCtxt(c_szSchema, static_cast<int>(sizeof c_szSchema - 1)));
        return Schema(xmlSchemaParse(parser.get()));
    }();
    return s_pSchema.get();
}

Document parse(const QByteArray& content, QVector<SchemaError>& errors)
{
    const Parser parser(xmlNewParserCtxt());
    xmlSetStructuredErrorFunc(&errors, note);
    Document document(xmlCtxtReadMemory(parser.get(), content.constData(), content.size(), nullptr,
                                        "UTF-8", XML_PARSE_NONET | XML_PARSE_BIG_LINES));
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    return document;
}

} // namespace

QVector<SchemaError> schemaErrors(const QByteArray& content)
{
    QVector<SchemaError> errors;
    const Document document = parse(content, errors);
    if (document) {
        const Validator validator(xmlSchemaNewValidCtxt(schema()));
        xmlSchemaSetValidStructuredErrors(validator.get(), note, &errors);
        xmlSchemaValidateDoc(validator.get(), document.get());
    }
    std::stable_sort(errors.begin(), errors.end(),
                     [](const auto& left, const auto& right) { return left.nLine < right.nLine; });
    return errors;
}

} // namespace inspect
