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

bool isOurs(const xmlError& error)
{
    return error.code == XML_ERR_NO_MEMORY || error.code == XML_ERR_INTERNAL_ERROR
        || error.code == XML_SCHEMAV_INTERNAL;
}

void note(void* pAnswer, xmlErrorPtr pError)
{
    auto& answer = *static_cast<SchemaAnswer*>(pAnswer);
    const QString strText = QString::fromUtf8(pError->message).trimmed();
    const bool bMemory = pError->code == XML_ERR_NO_MEMORY;
    if (!isOurs(*pError)) {
        // The service reads without namespaces.
        if (pError->domain != XML_FROM_NAMESPACE) {
            answer.errors.append({ pError->line, strText });
        }
    } else if (bMemory || answer.errors.isEmpty()) {
        // Behind another error the parser's own troubles only follow from that.
        answer.strFailure = bMemory ? QStringLiteral("out of memory") : strText;
    }
}

struct ReadSchema {
    Schema pSchema;
    QString strFailure; ///< empty if there is a schema
};

ReadSchema readSchema(const char* pszText, int size)
{
    SchemaAnswer answer;
    const SchemaParser pParser(xmlSchemaNewMemParserCtxt(pszText, size));
    ReadSchema read;
    if (pParser) {
        xmlSchemaSetParserStructuredErrors(pParser.get(), note, &answer);
        read.pSchema.reset(xmlSchemaParse(pParser.get()));
    }
    if (!read.pSchema) {
        read.strFailure = QStringLiteral("the schema cannot be read");
        read.strFailure
            += answer.errors.isEmpty() ? QString() : ": " + answer.errors.first().strText;
    }
    return read;
}

// Without a document type nothing expands, and the limits of the parser, such as 256 levels, only
// stand in the way.
int parseOptions(const QByteArray& content)
{
    const int nLimits = content.contains("<!DOCTYPE") ? 0 : XML_PARSE_HUGE;
    return XML_PARSE_NONET | XML_PARSE_BIG_LINES | nLimits;
}

Document parse(const QByteArray& content, SchemaAnswer& answer)
{
    const Parser pParser(xmlNewParserCtxt());
    xmlSetStructuredErrorFunc(&answer, note);
    Document pDocument(pParser
                           ? xmlCtxtReadMemory(pParser.get(), content.constData(), content.size(),
                                               nullptr, "UTF-8", parseOptions(content))
                           : nullptr);
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    return pDocument;
}

// A validator that found nothing to say and yet does not call it valid has failed.
void validate(xmlSchema* pSchema, xmlDoc* pDocument, SchemaAnswer& answer)
{
    const Validator pValidator(xmlSchemaNewValidCtxt(pSchema));
    int nResult = -1;
    if (pValidator) {
        xmlSchemaSetValidStructuredErrors(pValidator.get(), note, &answer);
        nResult = xmlSchemaValidateDoc(pValidator.get(), pDocument);
    }
    if (answer.strFailure.isEmpty() && (nResult < 0 || (nResult > 0 && answer.errors.isEmpty()))) {
        answer.strFailure = QStringLiteral("the validator failed");
    }
}

SchemaAnswer ask(const QByteArray& content, const ReadSchema& schema)
{
    SchemaAnswer answer;
    answer.strFailure = schema.strFailure;
    const Document pDocument = schema.pSchema ? parse(content, answer) : Document();
    if (pDocument) {
        validate(schema.pSchema.get(), pDocument.get(), answer);
    } else if (answer.strFailure.isEmpty() && answer.errors.isEmpty()) {
        answer.strFailure = QStringLiteral("the parser failed");
    }
    std::stable_sort(answer.errors.begin(), answer.errors.end(),
                     [](const auto& left, const auto& right) { return left.nLine < right.nLine; });
    return answer;
}

} // namespace

SchemaAnswer askSchema(const QByteArray& content)
{
    // Read once: it is the same for every file, and validating does not change it.
    static const ReadSchema s_schema
        = readSchema(c_szSchema, static_cast<int>(sizeof c_szSchema - 1));
    return ask(content, s_schema);
}

SchemaAnswer askSchema(const QByteArray& content, const QByteArray& schema)
{
    return ask(content, readSchema(schema.constData(), schema.size()));
}

} // namespace inspect
