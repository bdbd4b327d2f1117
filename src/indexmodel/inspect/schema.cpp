#include "inspect/schema.h"

#include "inspect/schematext_p.h"

#include <libxml/SAX2.h>
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

constexpr int c_nMaxExpansion = 4 * 1024 * 1024;
constexpr int c_nMaxNesting = 40;

struct Reading {
    SchemaAnswer& answer;
    int nLeft = c_nMaxExpansion; // below 0: entities stand for too much
};

// All that a reference stands for, as deep as it goes; a loop ends as the deepest does.
void spend(void* pParser, const xmlEntity* pEntity, int levels, int& nLeft)
{
    if (pEntity == nullptr || pEntity->content == nullptr || nLeft < 0) {
        return;
    }
    nLeft = levels > 0 ? nLeft - pEntity->length - 1 : -1;
    const auto content
        = QByteArray::fromRawData(reinterpret_cast<const char*>(pEntity->content), pEntity->length);
    for (int i = content.indexOf('&'); i >= 0 && nLeft >= 0; i = content.indexOf('&', i + 1)) {
        const QByteArray name = content.mid(i + 1, content.indexOf(';', i) - i - 1);
        const auto* const pszName = reinterpret_cast<const xmlChar*>(name.constData());
        spend(pParser, xmlSAX2GetEntity(pParser, pszName), levels - 1, nLeft);
    }
}

// Nothing outside of the file is read: the service does not either.
void empty(xmlEntity& entity)
{
    if (entity.content == nullptr) {
        const bool bParameter = entity.etype == XML_EXTERNAL_PARAMETER_ENTITY;
        entity.etype = bParameter ? XML_INTERNAL_PARAMETER_ENTITY : XML_INTERNAL_GENERAL_ENTITY;
        entity.content = xmlStrdup(reinterpret_cast<const xmlChar*>(""));
    }
}

template <auto find> xmlEntity* boundedEntity(void* pContext, const xmlChar* pszName)
{
    auto* const pParser = static_cast<xmlParserCtxt*>(pContext);
    auto& reading = *static_cast<Reading*>(pParser->_private);
    xmlEntity* const pEntity = find(pContext, pszName);
    if (pEntity != nullptr) {
        empty(*pEntity);
    }
    spend(pContext, pEntity, c_nMaxNesting, reading.nLeft);
    if (reading.nLeft < 0) {
        reading.answer.strFailure
            = QStringLiteral("its entities stand for more than %1 bytes").arg(c_nMaxExpansion);
        xmlStopParser(pParser);
    }
    const bool bHere = pEntity != nullptr && pEntity->content != nullptr && reading.nLeft >= 0;
    return bHere ? pEntity : nullptr;
}

// The parser has one switch for all its limits. Its depth of 256 levels would refuse what the
// service reads, so it is off, and what entities multiply to is counted here.
constexpr int c_nOptions = XML_PARSE_NONET | XML_PARSE_BIG_LINES | XML_PARSE_HUGE | XML_PARSE_NOENT;

Document parse(const QByteArray& content, SchemaAnswer& answer)
{
    const Parser pParser(xmlNewParserCtxt());
    if (!pParser) {
        return {};
    }
    Reading reading { answer };
    pParser->_private = &reading;
    pParser->sax->getEntity = boundedEntity<xmlSAX2GetEntity>;
    pParser->sax->getParameterEntity = boundedEntity<xmlSAX2GetParameterEntity>;
    xmlSetStructuredErrorFunc(&answer, note);
    Document pDocument(xmlCtxtReadMemory(pParser.get(), content.constData(), content.size(),
                                         nullptr, "UTF-8", c_nOptions));
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
