#include "platform/CamFile.h"

#include "platform/CamPropertyNodes.h"
#include "platform/LumexDocumentData.h"

#include <QBuffer>
#include <QFile>
#include <QRegularExpression>
#include <QSaveFile>

#include <libxml/SAX2.h>
#include <libxml/encoding.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlsave.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Lumex {

namespace {

const xmlChar* xml(const char* a_text)
{
    return reinterpret_cast<const xmlChar*>(a_text);
}

std::string utf8(const QString& a_text)
{
    return a_text.toUtf8().toStdString();
}

std::string trimmedText(std::string a_text)
{
    const char* const blanks = " \t\r\n";
    const std::size_t first = a_text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return std::string();
    a_text.erase(a_text.find_last_not_of(blanks) + 1);
    a_text.erase(0, first);
    return a_text;
}

// What one parse collects; reached from libxml2's callbacks through the parser context.
struct LoadSession
{
    Error diagnostics;
    QIODevice* device = nullptr;
    xmlParserCtxtPtr context = nullptr;
    // libxml2 keeps a name that is no qualified name ("a:1b", "a:b:c") after reporting it, but such a
    // name can never be written again, so a document holding one would load and then fail to save.
    bool invalidName = false;
    // libxml2 goes on without an entity it could not load; the document would read as if it had none.
    bool refusedExternal = false;
};

bool isLayoutSpace(const xmlChar* a_text)
{
    for (const xmlChar* character = a_text; character && *character; ++character) {
        if (*character != ' ' && *character != '\t' && *character != '\r' && *character != '\n')
            return false;
    }
    return true;
}

// An element that ended holding elements and no text but white space loses that white space, so that
// it never stands in memory beside the whole document.
void endDroppingLayoutSpace(void* a_context, const xmlChar* a_local, const xmlChar* a_prefix,
                            const xmlChar* a_uri)
{
    auto* context = static_cast<xmlParserCtxtPtr>(a_context);
    xmlNode* node = context->node;
    // libxml2's own handler, which the one replaced is: an entity's content is parsed in a context of
    // its own, which need not carry the session.
    xmlSAX2EndElementNs(a_context, a_local, a_prefix, a_uri);
    if (!node || node == context->node || node->type != XML_ELEMENT_NODE)
        return;
    for (const xmlNode* child = node->children; child; child = child->next) {
        if ((child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) &&
            !isLayoutSpace(child->content))
            return;
    }
    nodes::dropTextBesideElements(node);
}

std::atomic<LoadSession*> s_activeSession{nullptr};

std::string diagnosticName(const xmlError& a_error)
{
    const char* domain = "XML";
    switch (a_error.domain) {
    case XML_FROM_NAMESPACE:
        domain = "Namespace";
        break;
    case XML_FROM_DTD:
    case XML_FROM_VALID:
        domain = "DTD";
        break;
    case XML_FROM_IO:
        domain = "I/O";
        break;
    case XML_FROM_I18N:
        domain = "Encoding";
        break;
    case XML_FROM_MEMORY:
        domain = "Memory";
        break;
    default:
        break;
    }
    const char* level = "fatal error";
    if (a_error.level == XML_ERR_WARNING)
        level = "warning";
    else if (a_error.level == XML_ERR_ERROR)
        level = "error";
    return std::string(domain) + " " + level + " " + std::to_string(a_error.code);
}

// The source line around the parser's position, as libxml2's own reports show it.
std::string sourceExcerpt(const xmlParserCtxt* a_context)
{
    const xmlParserInput* input = a_context ? a_context->input : nullptr;
    if (!input || !input->base || !input->cur || !input->end || input->end <= input->base)
        return std::string();
    const xmlChar* const base = input->base;
    const xmlChar* const end = input->end;
    const xmlChar* cursor = input->cur < end ? input->cur : end;
    // An error found at the end of a line belongs to that line.
    while (cursor > base && (cursor == end || *cursor == '\n' || *cursor == '\r'))
        --cursor;
    const xmlChar* start = cursor;
    while (start > base && start[-1] != '\n' && start[-1] != '\r' && cursor - start < 80)
        --start;
    const xmlChar* stop = cursor;
    while (stop < end && *stop != '\n' && *stop != '\r' && stop - start < 160)
        ++stop;
    while (start < stop && (*start & 0xC0) == 0x80)
        ++start;
    while (stop > start && stop < end && (*stop & 0xC0) == 0x80)
        --stop;
    std::string excerpt(reinterpret_cast<const char*>(start), static_cast<std::size_t>(stop - start));
    for (char& character : excerpt) {
        if (static_cast<unsigned char>(character) < 0x20)
            character = ' ';
    }
    return trimmedText(excerpt);
}

void collectStructured(void* a_userData, xmlErrorPtr a_error)
{
    const auto* context = static_cast<xmlParserCtxtPtr>(a_userData);
    auto* session = context ? static_cast<LoadSession*>(context->_private) : nullptr;
    if (!session || !a_error)
        return;
    if (a_error->domain == XML_FROM_NAMESPACE && a_error->code == XML_NS_ERR_QNAME)
        session->invalidName = true;
    const std::string name = diagnosticName(*a_error);
    const std::string message = a_error->message ? trimmedText(a_error->message) : std::string();
    std::string comment;
    if (a_error->line > 0) {
        comment = "line " + std::to_string(a_error->line);
        if (a_error->int2 > 0)
            comment += ", column " + std::to_string(a_error->int2);
    }
    const std::string excerpt = a_error->ctxt == context ? sourceExcerpt(context) : std::string();
    if (!excerpt.empty())
        comment += (comment.empty() ? "" : ": ") + excerpt;
    session->diagnostics.append(name.c_str(), a_error->message ? message.c_str() : nullptr,
                                comment.empty() ? nullptr : comment.c_str());
}

// The few messages libxml2 sends straight to the SAX handlers instead of the structured channel.
void collectUnstructured(void* a_userData, const char* a_format, ...)
{
    const auto* context = static_cast<xmlParserCtxtPtr>(a_userData);
    auto* session = context ? static_cast<LoadSession*>(context->_private) : nullptr;
    if (!session || !a_format)
        return;
    char buffer[1024];
    va_list arguments;
    va_start(arguments, a_format);
    std::vsnprintf(buffer, sizeof buffer, a_format, arguments);
    va_end(arguments);
    session->diagnostics.append("XML error", trimmedText(buffer).c_str(), nullptr);
}

// The name of the entity declared in the document's own subset with a_resource as its system name.
const char* entityNamed(xmlParserCtxtPtr a_context, const char* a_resource)
{
    const xmlDtd* subset = a_context && a_context->myDoc ? a_context->myDoc->intSubset : nullptr;
    if (!subset || !a_resource)
        return nullptr;
    for (const xmlNode* node = subset->children; node; node = node->next) {
        const auto* entity = reinterpret_cast<const xmlEntity*>(node);
        if (node->type == XML_ENTITY_DECL && entity->SystemID &&
            (xmlStrEqual(entity->SystemID, xml(a_resource)) || xmlStrEqual(entity->URI, xml(a_resource))))
            return reinterpret_cast<const char*>(entity->name);
    }
    return nullptr;
}

// An external entity referred to in the content is refused by name and line: libxml2 itself goes on
// without it whenever the resource does not exist, and the document would read as if the text were empty.
xmlEntityPtr refusingGetEntity(void* a_context, const xmlChar* a_name)
{
    auto* context = static_cast<xmlParserCtxtPtr>(a_context);
    xmlEntityPtr entity = xmlSAX2GetEntity(a_context, a_name);
    auto* session = context ? static_cast<LoadSession*>(context->_private) : nullptr;
    if (session && entity && entity->etype == XML_EXTERNAL_GENERAL_PARSED_ENTITY && context->inSubset == 0) {
        session->refusedExternal = true;
        const std::string comment =
            "line " + std::to_string(context->input ? context->input->line : 0) + ": entity '" +
            reinterpret_cast<const char*>(a_name) + "' (" +
            (entity->SystemID ? reinterpret_cast<const char*>(entity->SystemID) : "") + ")";
        session->diagnostics.append("External resource refused",
                                    "The document refers to an external entity, which is never loaded.",
                                    comment.c_str());
    }
    return entity;
}

xmlParserInputPtr refuseExternal(const char* a_url, const char* a_id, xmlParserCtxtPtr a_context)
{
    LoadSession* session = s_activeSession.load();
    if (session && a_context == session->context) {
        const char* resource = a_url ? a_url : a_id;
        std::string comment = resource ? resource : "";
        if (const char* entity = entityNamed(a_context, resource)) {
            comment = std::string("entity '") + entity + "' (" + comment + ")";
            if (a_context->input)
                comment = "line " + std::to_string(a_context->input->line) + ": " + comment;
        }
        session->refusedExternal = true;
        session->diagnostics.append("External resource refused",
                                    "The document refers to an external resource, which is never loaded.",
                                    comment.c_str());
    }
    return nullptr;
}

int readFromDevice(void* a_context, char* a_buffer, int a_length)
{
    auto* session = static_cast<LoadSession*>(a_context);
    const qint64 count = session->device->read(a_buffer, a_length);
    if (count < 0) {
        session->diagnostics.append("File error", "The file could not be read.",
                                    utf8(session->device->errorString()).c_str());
        return -1;
    }
    return static_cast<int>(count);
}

// Swaps in the refusing entity loader for the time of one parse. The loader is process-wide in
// this libxml2, so parses through this class are serialised.
class RefusingLoaderScope
{
public:
    explicit RefusingLoaderScope(LoadSession* a_session)
        : m_lock(mutex()), m_previous(xmlGetExternalEntityLoader())
    {
        xmlSetExternalEntityLoader(refuseExternal);
        s_activeSession.store(a_session);
    }
    ~RefusingLoaderScope()
    {
        s_activeSession.store(nullptr);
        xmlSetExternalEntityLoader(m_previous);
    }
    RefusingLoaderScope(const RefusingLoaderScope&) = delete;
    RefusingLoaderScope& operator=(const RefusingLoaderScope&) = delete;

private:
    static std::mutex& mutex()
    {
        static std::mutex instance;
        return instance;
    }

    std::lock_guard<std::mutex> m_lock;
    xmlExternalEntityLoader m_previous;
};

// libxml2 writes a namespace name between quotes as it holds it, and holds an "&" of the file as
// "&#38;", so a name with "&", "<" or a line break would be written as markup that does not read back,
// or reads back changed. No URI holds them; the first such name, or null.
const xmlChar* unwritableNamespaceName(xmlDocPtr a_document)
{
    std::vector<xmlNodePtr> pending{xmlDocGetRootElement(a_document)};
    while (!pending.empty()) {
        const xmlNode* node = pending.back();
        pending.pop_back();
        for (const xmlNs* declaration = node ? node->nsDef : nullptr; declaration;
             declaration = declaration->next) {
            if (declaration->href &&
                std::strpbrk(reinterpret_cast<const char*>(declaration->href), "<&\t\n\r"))
                return declaration->href;
        }
        for (xmlNodePtr child = node ? node->children : nullptr; child; child = child->next) {
            if (child->type == XML_ELEMENT_NODE)
                pending.push_back(child);
        }
    }
    return nullptr;
}

Error parseDevice(QIODevice& a_device, const char* a_url, bool a_expandEntities, bool a_dropLayoutSpace,
                  xmlDocPtr& a_document)
{
    a_document = nullptr;
    xmlInitParser();
    xmlParserCtxtPtr context = xmlNewParserCtxt();
    if (!context || !context->sax)
        return Error("Out of memory", "The XML parser could not be created.", nullptr);
    LoadSession session;
    session.device = &a_device;
    session.context = context;
    context->_private = &session;
    context->sax->serror = collectStructured;
    context->sax->error = collectUnstructured;
    context->sax->warning = collectUnstructured;
    context->sax->fatalError = collectUnstructured;
    if (a_expandEntities)
        context->sax->getEntity = refusingGetEntity;
    if (a_dropLayoutSpace && context->sax->endElementNs == xmlSAX2EndElementNs)
        context->sax->endElementNs = endDroppingLayoutSpace;
    xmlDocPtr document = nullptr;
    bool wellFormed = false;
    {
        RefusingLoaderScope scope(&session);
        // No DTD loading, no huge-document relief: libxml2's entity amplification limits stay on and
        // external resources are never read. Substituted, internal entities become the text they stand
        // for; an external one is refused.
        document = xmlCtxtReadIO(context, readFromDevice, nullptr, &session, a_url, nullptr,
                                 XML_PARSE_NONET | XML_PARSE_BIG_LINES | XML_PARSE_COMPACT |
                                     (a_expandEntities ? XML_PARSE_NOENT : 0));
        wellFormed = document && context->wellFormed && !session.invalidName && !session.refusedExternal;
    }
    context->_private = nullptr;
    xmlFreeParserCtxt(context);
    if (wellFormed) {
        if (const xmlChar* name = unwritableNamespaceName(document)) {
            session.diagnostics.append("Namespace error",
                                       "A namespace name holds \"&\", \"<\" or a line break, which no URI "
                                       "holds and which could not be written back.",
                                       reinterpret_cast<const char*>(name));
            wellFormed = false;
        }
    }
    if (wellFormed) {
        a_document = document;
        return Error();
    }
    if (document)
        xmlFreeDoc(document);
    Error result = session.diagnostics;
    if (result)
        result.append("XML error", "The document could not be read.", a_url);
    return result;
}

bool isValidQName(const char* a_name)
{
    return a_name && *a_name && xmlValidateQName(xml(a_name), 0) == 0;
}

Error createDocument(const char* a_rootName, xmlDocPtr& a_document)
{
    a_document = nullptr;
    if (!isValidQName(a_rootName))
        return Error("Invalid name", "The root element name is not a valid XML name.", a_rootName);
    xmlInitParser();
    xmlDocPtr document = xmlNewDoc(xml("1.0"));
    if (!document)
        return Error("Out of memory", "The document could not be created.", a_rootName);
    // Names are interned as in loaded documents, so renaming never frees a name handed out.
    document->dict = xmlDictCreate();
    xmlNodePtr root = xmlNewDocNode(document, nullptr, xml(a_rootName), nullptr);
    if (!document->dict || !root) {
        xmlFreeNode(root);
        xmlFreeDoc(document);
        return Error("Out of memory", "The document could not be created.", a_rootName);
    }
    xmlDocSetRootElement(document, root);
    a_document = document;
    return Error();
}

struct Declaration
{
    std::string text;
    std::string encoding;
};

bool isUtf8(const std::string& a_encoding)
{
    const QString name = QString::fromStdString(a_encoding);
    return name.compare(QLatin1String("UTF-8"), Qt::CaseInsensitive) == 0 ||
           name.compare(QLatin1String("UTF8"), Qt::CaseInsensitive) == 0;
}

// True when libxml2 knows the encoding and writes ASCII in it unchanged, so that a declaration
// written ahead of the converted document reads correctly.
bool isAsciiCompatible(const std::string& a_encoding)
{
    if (isUtf8(a_encoding))
        return true;
    xmlCharEncodingHandlerPtr handler = xmlFindCharEncodingHandler(a_encoding.c_str());
    if (!handler)
        return false;
    static const char probe[] = "<?xml version=\"1.0\"?>";
    xmlBufferPtr in = xmlBufferCreate();
    xmlBufferPtr out = xmlBufferCreate();
    bool compatible = false;
    if (in && out && xmlBufferCat(in, xml(probe)) == 0 && xmlCharEncOutFunc(handler, out, in) >= 0) {
        const int length = xmlBufferLength(out);
        compatible = length == static_cast<int>(sizeof probe - 1) &&
                     std::memcmp(xmlBufferContent(out), probe, sizeof probe - 1) == 0;
    }
    xmlBufferFree(in);
    xmlBufferFree(out);
    xmlCharEncCloseFunc(handler);
    return compatible;
}

Error makeDeclaration(const std::optional<std::string>& a_setting, Declaration& a_declaration)
{
    if (!a_setting) {
        a_declaration = {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>", "UTF-8"};
        return Error();
    }
    QString text = QString::fromUtf8(a_setting->c_str()).trimmed();
    if (text.isEmpty()) {
        a_declaration = {std::string(), "UTF-8"};
        return Error();
    }
    if (!text.startsWith(QLatin1String("<?")))
        text = QLatin1String("<?xml ") + text + QLatin1String("?>");
    static const QRegularExpression pattern(QStringLiteral(
        R"(^<\?xml\s+version\s*=\s*(["'])1\.[0-9]+\1(?:\s+encoding\s*=\s*(["'])([A-Za-z][A-Za-z0-9._-]*)\2)?)"
        R"((?:\s+standalone\s*=\s*(["'])(?:yes|no)\4)?\s*\?>$)"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return Error("Invalid declaration", "The XML declaration is not well formed.", a_setting->c_str());
    const std::string encoding = match.captured(3).isEmpty() ? "UTF-8" : match.captured(3).toStdString();
    if (!isAsciiCompatible(encoding))
        return Error("Unsupported encoding", "The declared encoding cannot be written.", encoding.c_str());
    a_declaration = {text.toStdString(), encoding};
    return Error();
}

int writeToFile(void* a_context, const char* a_buffer, int a_length)
{
    auto* file = static_cast<QSaveFile*>(a_context);
    return file->write(a_buffer, a_length) == a_length ? a_length : -1;
}

// A file written beside its final place and put there only once every byte has gone out, so that a
// failed write leaves the previous file as it was. No direct-write fallback: a folder that refuses
// the temporary file fails the write rather than overwriting the previous file in place.
class SafeWrite
{
public:
    explicit SafeWrite(const char* a_path) : m_path(a_path), m_file(QFile::decodeName(a_path)) {}

    QSaveFile* file() { return &m_file; }

    bool open() { return m_file.open(QIODevice::WriteOnly); }
    bool write(const char* a_data, qint64 a_size) { return m_file.write(a_data, a_size) == a_size; }

    Error failure(const char* a_message) const
    {
        // Qt loses the system's reason for a failed flush ("Unknown error"); errno still holds it.
        const int reason = errno;
        const std::string comment =
            m_path + ": " + utf8(m_file.errorString()) +
            (reason ? std::string(" (") + std::strerror(reason) + ")" : std::string());
        return Error("Write error", a_message, comment.c_str());
    }

    // The reason is read before cancelling, which puts its own text in its place.
    Error cancelled()
    {
        const Error error = failure("The file could not be written.");
        m_file.cancelWriting();
        return error;
    }

    Error commit()
    {
        // Qt 5's commit() ignores a failed flush of what is still buffered (a disk filling up at the
        // end), and would put the cut-off file in place of the previous one.
        if (!m_file.flush())
            return cancelled();
        if (!m_file.commit())
            return failure("The file could not be written.");
        return Error();
    }

private:
    std::string m_path;
    QSaveFile m_file;
};

} // namespace

CamFile::CamFile() = default;

CamFile::CamFile(const char* a_text, SourceBufferType a_type)
{
    if (a_text || a_type != SourcePath)
        m_status = load(a_text, a_type);
}

CamFile::CamFile(const char* a_text, int a_type) : CamFile(a_text, static_cast<SourceBufferType>(a_type))
{
}

CamFile::CamFile(CamFile&& a_other) noexcept
    : m_document(std::exchange(a_other.m_document, nullptr)), m_declaration(std::move(a_other.m_declaration)),
      m_status(a_other.m_status)
{
}

CamFile& CamFile::operator=(CamFile&& a_other) noexcept
{
    if (this != &a_other) {
        replaceDocument(std::exchange(a_other.m_document, nullptr));
        m_declaration = std::move(a_other.m_declaration);
        m_status = a_other.m_status;
    }
    return *this;
}

CamFile::~CamFile()
{
    replaceDocument(nullptr);
}

void CamFile::replaceDocument(_xmlDoc* a_document)
{
    if (m_document == a_document)
        return;
    if (m_document) {
        LumexDocumentData::detach(m_document);
        xmlFreeDoc(m_document);
    }
    m_document = a_document;
    LumexDocumentData::attach(m_document);
}

Error CamFile::load(const char* a_text, SourceBufferType a_type)
{
    xmlDocPtr document = nullptr;
    Error result;
    switch (a_type) {
    case SourcePath: {
        if (!a_text || !*a_text)
            return Error("File error", "No file name was given.", nullptr);
        QFile file(QFile::decodeName(a_text));
        if (!file.open(QIODevice::ReadOnly)) {
            const std::string comment = std::string(a_text) + ": " + utf8(file.errorString());
            return Error("File error", "The file could not be opened for reading.", comment.c_str());
        }
        result = parseDevice(file, a_text, m_expandEntities, m_dropLayoutSpace, document);
        break;
    }
    case SourceText: {
        if (!a_text)
            return Error("XML error", "No document text was given.", nullptr);
        QByteArray bytes = QByteArray::fromRawData(a_text, static_cast<int>(std::strlen(a_text)));
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        result = parseDevice(buffer, nullptr, m_expandEntities, m_dropLayoutSpace, document);
        break;
    }
    case SourceRootName:
        result = createDocument(a_text, document);
        break;
    default:
        return Error("Unknown source", "The source type is not known.", std::to_string(a_type).c_str());
    }
    if (result)
        replaceDocument(document);
    return result;
}

Error CamFile::load(const char* a_text, int a_type)
{
    return load(a_text, static_cast<SourceBufferType>(a_type));
}

Error CamFile::status() const
{
    return m_status;
}

bool CamFile::isEmpty() const
{
    return !m_document || !xmlDocGetRootElement(m_document);
}

CamProperty CamFile::root()
{
    return CamProperty(m_document ? xmlDocGetRootElement(m_document) : nullptr);
}

ConstCamProperty CamFile::root() const
{
    if (isEmpty())
        return ConstCamProperty(Error("Empty document", "The document has no root element.", nullptr));
    return ConstCamProperty(CamProperty(xmlDocGetRootElement(m_document)));
}

void CamFile::setDeclaration(const char* a_declaration)
{
    if (a_declaration)
        m_declaration = std::string(a_declaration);
    else
        m_declaration.reset();
}

Error CamFile::write(const char* a_path) const
{
    if (!a_path || !*a_path)
        return Error("Write error", "No file name was given.", nullptr);
    if (isEmpty())
        return Error("Empty document", "There is no document to write.", a_path);
    Declaration declaration;
    Error result = makeDeclaration(m_declaration, declaration);
    if (!result)
        return result;
    SafeWrite out(a_path);
    if (!out.open())
        return out.failure("The file could not be opened for writing.");
    if (!declaration.text.empty()) {
        const std::string line = declaration.text + "\n";
        if (!out.write(line.data(), static_cast<qint64>(line.size())))
            return out.cancelled();
    }
    xmlSaveCtxtPtr save =
        xmlSaveToIO(writeToFile, nullptr, out.file(), declaration.encoding.c_str(), XML_SAVE_NO_DECL);
    if (!save) {
        out.file()->cancelWriting();
        return Error("Unsupported encoding", "The declared encoding cannot be written.",
                     declaration.encoding.c_str());
    }
    const long saved = xmlSaveDoc(save, m_document);
    const int closed = xmlSaveClose(save);
    if (saved < 0 || closed < 0)
        return out.cancelled();
    return out.commit();
}

Error CamFile::writeBytes(const char* a_path, const char* a_data, long long a_size)
{
    if (!a_path || !*a_path)
        return Error("Write error", "No file name was given.", nullptr);
    SafeWrite out(a_path);
    if (!out.open())
        return out.failure("The file could not be opened for writing.");
    if (!out.write(a_data, a_size))
        return out.cancelled();
    return out.commit();
}

} // namespace Lumex
