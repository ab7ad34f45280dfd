#include "platform/LumexSource.h"

#include "platform/CamPropertyNodes.h"
#include "platform/LumexSourceMerge.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Lumex {

namespace {

bool isUtf8Name(const xmlChar* a_encoding)
{
    return !a_encoding || xmlStrcasecmp(a_encoding, reinterpret_cast<const xmlChar*>("UTF-8")) == 0 ||
           xmlStrcasecmp(a_encoding, reinterpret_cast<const xmlChar*>("UTF8")) == 0;
}

int offset(const xmlParserCtxt* a_context)
{
    const xmlParserInput* input = a_context->input;
    return int(input->consumed + static_cast<unsigned long>(input->cur - input->base));
}

} // namespace

struct LumexSource::Recorder
{
    LumexSource* source;
    // The document's own parse; an entity's content is parsed in a context of its own.
    const void* context;
    startElementNsSAX2Func start;
    endElementNsSAX2Func end;
    charactersSAXFunc characters;
    ignorableWhitespaceSAXFunc whitespace;
    commentSAXFunc comment;
    processingInstructionSAXFunc instruction;
    cdataBlockSAXFunc cdata;
    referenceSAXFunc reference;
    // The first text of the innermost element, not made yet: most values read as they are written and
    // would be dropped as their element ends (see dropText), and the text before an element's first
    // child always would. Made from the file's own bytes as soon as anything else comes first.
    xmlNode* pending = nullptr;
    int pendingLength = 0;
    charactersSAXFunc pendingMaker = nullptr;
    // The modes read without their content, and how often each name of a mode came.
    ModeSignatures* modes = nullptr;
    std::unordered_map<std::string, int> modeCounts = {};
    bool matchedTwice = false;

    static Recorder* of(void* a_context)
    {
        return static_cast<Recorder*>(static_cast<xmlParserCtxtPtr>(a_context)->_private);
    }

    // Makes the text held back for the element the document's own parse stands in, if any.
    void makePending(void* a_context)
    {
        const auto* parser = static_cast<xmlParserCtxtPtr>(a_context);
        if (!pending || a_context != context || pending != parser->node)
            return;
        xmlNode* node = std::exchange(pending, nullptr);
        const Place* place = source->place(node);
        pendingMaker(a_context, reinterpret_cast<const xmlChar*>(source->m_text.constData() + place->inner),
                     pendingLength);
    }

    // Holds back a_text when it is the first content of the current element and spelled in the file
    // exactly as it reads.
    bool holdBack(void* a_context, const xmlChar* a_text, int a_length, charactersSAXFunc a_maker)
    {
        const auto* parser = static_cast<xmlParserCtxtPtr>(a_context);
        xmlNode* node = parser->node;
        if (a_context != context || !node || node->children || pending || parser->inputNr != 1)
            return false;
        const Place* place = source->place(node);
        const QByteArray& text = source->m_text;
        if (!place || a_length <= 0 || a_length > text.size() - place->inner ||
            std::memcmp(text.constData() + place->inner, a_text, std::size_t(a_length)) != 0)
            return false;
        pending = node;
        pendingLength = a_length;
        pendingMaker = a_maker;
        return true;
    }

    // A mode that ended with the content expected of it keeps its place and its signature but not its
    // content, which the merge copies from the text as a whole: the content of every unchanged mode of a
    // large file never stands in memory at once, here nor in the document merged.
    void dropModeContent(xmlNode* a_node)
    {
        std::string name;
        if (!LumexSourceMerge::modeName(a_node, name))
            return;
        if (++modeCounts[name] > 1) {
            matchedTwice = matchedTwice || modes->matched.count(name) != 0;
            return;
        }
        const auto expected = modes->expected.find(name);
        const auto index = reinterpret_cast<std::uintptr_t>(a_node->_private);
        // The signature tells the source's own elements by their document, which is only handed over
        // once the parse is done.
        source->m_document = a_node->doc;
        if (expected == modes->expected.end() || !source->place(a_node) ||
            LumexSourceMerge(*source).elementSignature(a_node) != expected->second)
            return;
        xmlNode* content = a_node->children;
        a_node->children = nullptr;
        a_node->last = nullptr;
        xmlFreeNodeList(content);
        // The places after the mode's own are those of its content, all gone.
        source->m_places.resize(std::size_t(index));
        modes->matched.insert(name);
    }

    // Text and white space alike: made by a_maker, libxml's own handler for the kind, unless it is
    // never needed or can wait.
    void text(void* a_context, const xmlChar* a_text, int a_length, charactersSAXFunc a_maker)
    {
        if (followsElement(a_context) || holdBack(a_context, a_text, a_length, a_maker))
            return;
        makePending(a_context);
        a_maker(a_context, a_text, a_length);
    }
};

void LumexSource::recordStart(void* a_context, const xmlChar* a_local, const xmlChar* a_prefix,
                              const xmlChar* a_uri, int a_namespaceCount, const xmlChar** a_namespaces,
                              int a_attributeCount, int a_defaultedCount, const xmlChar** a_attributes)
{
    Recorder* recorder = Recorder::of(a_context);
    auto* context = static_cast<xmlParserCtxtPtr>(a_context);
    // An element holding elements loses all its text as it ends.
    if (a_context == recorder->context && recorder->pending == context->node)
        recorder->pending = nullptr;
    recorder->start(a_context, a_local, a_prefix, a_uri, a_namespaceCount, a_namespaces, a_attributeCount,
                    a_defaultedCount, a_attributes);
    if (context->node && context->inputNr == 1) {
        const int at = offset(context);
        std::vector<Place>& places = recorder->source->m_places;
        const QByteArray& text = recorder->source->m_text;
        places.push_back({text.lastIndexOf('<', at), at, text.indexOf('>', at) + 1});
        context->node->_private = reinterpret_cast<void*>(std::uintptr_t(places.size()));
    }
}

// Text after a child element would only be dropped when its element ends (see dropText), so it is never
// made: about one text node in three of an indented file.
bool LumexSource::followsElement(void* a_context)
{
    const auto* context = static_cast<xmlParserCtxtPtr>(a_context);
    return a_context == Recorder::of(a_context)->context && context->node && context->node->last &&
           context->node->last->type == XML_ELEMENT_NODE;
}

void LumexSource::recordText(void* a_context, const xmlChar* a_text, int a_length)
{
    Recorder* recorder = Recorder::of(a_context);
    recorder->text(a_context, a_text, a_length, recorder->characters);
}

void LumexSource::recordWhitespace(void* a_context, const xmlChar* a_text, int a_length)
{
    Recorder* recorder = Recorder::of(a_context);
    recorder->text(a_context, a_text, a_length, recorder->whitespace);
}

void LumexSource::recordComment(void* a_context, const xmlChar* a_value)
{
    Recorder::of(a_context)->makePending(a_context);
    Recorder::of(a_context)->comment(a_context, a_value);
}

void LumexSource::recordInstruction(void* a_context, const xmlChar* a_target, const xmlChar* a_data)
{
    Recorder::of(a_context)->makePending(a_context);
    Recorder::of(a_context)->instruction(a_context, a_target, a_data);
}

void LumexSource::recordCData(void* a_context, const xmlChar* a_value, int a_length)
{
    Recorder::of(a_context)->makePending(a_context);
    Recorder::of(a_context)->cdata(a_context, a_value, a_length);
}

void LumexSource::recordReference(void* a_context, const xmlChar* a_name)
{
    Recorder::of(a_context)->makePending(a_context);
    Recorder::of(a_context)->reference(a_context, a_name);
}

void LumexSource::recordEnd(void* a_context, const xmlChar* a_local, const xmlChar* a_prefix,
                            const xmlChar* a_uri)
{
    Recorder* recorder = Recorder::of(a_context);
    auto* context = static_cast<xmlParserCtxtPtr>(a_context);
    xmlNode* node = context->node;
    const Place* place = node && context->inputNr == 1 ? recorder->source->place(node) : nullptr;
    if (place)
        const_cast<Place*>(place)->end = offset(context);
    // Text held back that is all the element holds stays unmade, as dropText would drop it.
    if (a_context == recorder->context && node && recorder->pending == node) {
        const int closing = place ? recorder->source->closingTag(*place) : -1;
        if (closing >= 0 && closing - place->inner == recorder->pendingLength)
            recorder->pending = nullptr;
        else
            recorder->makePending(a_context);
    }
    // Every element must be found where it was placed; anything else would splice at wrong places.
    // Checked as each ends, while its node is at hand.
    if (a_context == recorder->context && (!place || !recorder->source->holds(node, *place)))
        recorder->source->m_misplaced = true;
    recorder->end(a_context, a_local, a_prefix, a_uri);
    if (node && node != context->node && a_context == recorder->context) {
        recorder->source->dropText(node);
        if (recorder->modes)
            recorder->dropModeContent(node);
    }
}

bool LumexSource::holds(const xmlNode* a_node, const Place& a_place) const
{
    const std::string_view name(reinterpret_cast<const char*>(a_node->name));
    const std::string_view prefix(
        a_node->ns && a_node->ns->prefix ? reinterpret_cast<const char*>(a_node->ns->prefix) : "");
    const int size = int(name.size() + (prefix.empty() ? 0 : prefix.size() + 1));
    if (a_place.begin < 0 || a_place.end > m_text.size() || a_place.end - a_place.begin < size + 2 ||
        m_text.at(a_place.begin) != '<' || m_text.at(a_place.end - 1) != '>')
        return false;
    const char* at = m_text.constData() + a_place.begin + 1;
    if (!prefix.empty()) {
        if (std::memcmp(at, prefix.data(), prefix.size()) != 0 || at[prefix.size()] != ':')
            return false;
        at += prefix.size() + 1;
    }
    return std::memcmp(at, name.data(), name.size()) == 0;
}

const LumexSource::Place* LumexSource::place(const xmlNode* a_node) const
{
    const auto index = reinterpret_cast<std::uintptr_t>(a_node ? a_node->_private : nullptr);
    return index > 0 && index <= m_places.size() ? &m_places[index - 1] : nullptr;
}

void LumexSource::dropText(xmlNode* a_node) const
{
    xmlNode* only = a_node->children;
    if (only && !only->next && only->type == XML_TEXT_NODE) {
        // Equal bytes mean no reference, no CDATA and no line end the parser normalized.
        const Place* found = place(a_node);
        const int closing = found ? closingTag(*found) : -1;
        const std::size_t size =
            only->content ? std::strlen(reinterpret_cast<const char*>(only->content)) : 0;
        if (closing >= 0 && std::size_t(closing - found->inner) == size &&
            std::memcmp(m_text.constData() + found->inner, only->content, size) == 0) {
            xmlUnlinkNode(only);
            xmlFreeNode(only);
        }
        return;
    }
    nodes::dropTextBesideElements(a_node);
}

int LumexSource::closingTag(const Place& a_place) const
{
    if (a_place.inner <= a_place.begin)
        return -1;
    if (a_place.inner >= a_place.end)
        return a_place.inner;
    const int closing = m_text.lastIndexOf("</", a_place.end - 1);
    return closing >= a_place.inner ? closing : -1;
}

LumexSource::LumexSource(const QByteArray& a_text) : m_text(a_text)
{
}

LumexSource::~LumexSource()
{
    if (m_document)
        xmlFreeDoc(m_document);
}

std::shared_ptr<const LumexSource> LumexSource::read(const QByteArray& a_text)
{
    return readText(a_text, nullptr);
}

std::shared_ptr<const LumexSource> LumexSource::read(const QByteArray& a_text, ModeSignatures& a_modes)
{
    a_modes.matched.clear();
    std::shared_ptr<LumexSource> source = readText(a_text, &a_modes);
    if (!source)
        a_modes.matched.clear();
    return source;
}

bool LumexSource::mayHoldLayout(const QByteArray& a_text)
{
    int root = 0;
    if (a_text.startsWith("<?xml")) {
        const int end = a_text.indexOf("?>");
        const int encoding = a_text.indexOf("encoding", 5);
        if (end < 0)
            return false;
        if (encoding >= 0 && encoding < end) {
            const int open = a_text.indexOf('=', encoding) + 1;
            const QByteArray rest = a_text.mid(open, end - open).trimmed();
            const char quote = rest.isEmpty() ? 0 : rest.at(0);
            const int close = quote ? rest.indexOf(quote, 1) : -1;
            if (close < 0 ||
                !isUtf8Name(reinterpret_cast<const xmlChar*>(rest.mid(1, close - 1).constData())))
                return false;
        }
        root = end + 2;
    }
    // Past the prolog's declarations, comments and instructions (a "<" inside one only makes this
    // answer yes more often), the root element must reach another line.
    while ((root = a_text.indexOf('<', root)) >= 0 && root + 1 < a_text.size() &&
           (a_text.at(root + 1) == '?' || a_text.at(root + 1) == '!'))
        ++root;
    const int lineBreak = root >= 0 ? a_text.indexOf('\n', root) : -1;
    return lineBreak >= 0 && lineBreak < a_text.lastIndexOf('<');
}

std::size_t LumexSource::signature(const CamProperty& a_element)
{
    const LumexSource none{QByteArray()};
    return a_element.m_node ? LumexSourceMerge(none).elementSignature(a_element.m_node) : 0;
}

std::shared_ptr<LumexSource> LumexSource::readText(const QByteArray& a_text, ModeSignatures* a_modes)
{
    if (a_text.isEmpty())
        return nullptr;
    xmlInitParser();
    xmlParserCtxtPtr context = xmlCreateMemoryParserCtxt(a_text.constData(), a_text.size());
    if (!context || !context->sax) {
        xmlFreeParserCtxt(context);
        return nullptr;
    }
    // Entities are not substituted, so that a reference is a node of its own whose text is kept; no
    // external resource is read, and libxml2's amplification limits stay on.
    // The document is only read once made, so short texts may live inside their nodes.
    xmlCtxtUseOptions(context, XML_PARSE_NONET | XML_PARSE_BIG_LINES | XML_PARSE_NOERROR |
                                   XML_PARSE_NOWARNING | XML_PARSE_COMPACT);
    std::shared_ptr<LumexSource> source(new LumexSource(a_text));
    // Each element has a start tag, most an end tag as well: growing the places as they come copied
    // them about as often as the document holds elements.
    source->m_places.reserve(std::size_t(std::count(a_text.begin(), a_text.end(), '<')) / 2 + 1);
    // libxml2's own record of places loses where elements with content begin, so the places are taken
    // as each tag is read: at the start of an element the parser stands at the end of its start tag, and
    // a start tag holds no "<" of its own; at its end, just past its end tag.
    Recorder recorder{source.get(),
                      context,
                      context->sax->startElementNs,
                      context->sax->endElementNs,
                      context->sax->characters,
                      context->sax->ignorableWhitespace,
                      context->sax->comment,
                      context->sax->processingInstruction,
                      context->sax->cdataBlock,
                      context->sax->reference};
    recorder.modes = a_modes;
    context->_private = &recorder;
    context->sax->startElementNs = recordStart;
    context->sax->endElementNs = recordEnd;
    // Text is held back only where every other kind of content makes it first.
    if (recorder.characters && recorder.comment && recorder.instruction && recorder.cdata &&
        recorder.reference) {
        context->sax->characters = recordText;
        if (recorder.whitespace)
            context->sax->ignorableWhitespace =
                recorder.whitespace == recorder.characters ? recordText : recordWhitespace;
        context->sax->comment = recordComment;
        context->sax->processingInstruction = recordInstruction;
        context->sax->cdataBlock = recordCData;
        context->sax->reference = recordReference;
    }
    xmlParseDocument(context);
    source->m_document = context->myDoc;
    context->myDoc = nullptr;
    const bool wellFormed = context->wellFormed && source->m_document;
    xmlFreeParserCtxt(context);
    if (!wellFormed || !isUtf8Name(source->m_document->encoding))
        return nullptr;

    const xmlNode* root = xmlDocGetRootElement(source->m_document);
    if (source->m_misplaced || !source->place(root) || recorder.matchedTwice)
        return nullptr;
    const Place& place = *source->place(root);
    const int lineBreak = a_text.indexOf('\n', place.begin);
    if (lineBreak < 0 || lineBreak >= place.end)
        return nullptr;
    return source;
}

Error LumexSource::merge(const CamFile& a_document, QByteArray& a_result,
                         const Placeholders& a_placeholders) const
{
    return LumexSourceMerge(*this).merge(a_document, a_result, a_placeholders);
}

Error LumexSource::merge(const CamFile& a_document, QByteArray& a_result) const
{
    return merge(a_document, a_result, Placeholders());
}

} // namespace Lumex
