#pragma once

#include "platform/CamProperty.h"
#include "platform/Error.h"

#include <QByteArray>

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

struct _xmlDoc;
struct _xmlNode;

namespace Lumex {

class CamFile;

// The text a document was read from, with the place of every element in it. A document built anew from
// the same content is written back into that text (see merge), so that a file under version control
// changes only where its content changed: comments, processing instructions, the document type, white
// space, entity and character references and the quoting of attributes all keep their bytes wherever
// the content around them is unchanged.
class LumexSource
{
public:
    LumexSource(const LumexSource&) = delete;
    LumexSource& operator=(const LumexSource&) = delete;
    ~LumexSource();

    // Null when a_text is no well-formed document, holds no layout to keep (its root element on one
    // line), or is not UTF-8, where the places libxml2 reports would not be places in the text.
    static std::shared_ptr<const LumexSource> read(const QByteArray& a_text);

    // False when a_text surely holds no layout read() would keep: its root element on one line, or an
    // encoding other than UTF-8 declared. Reads no more than the declaration and the line breaks.
    static bool mayHoldLayout(const QByteArray& a_text);

    // The modes a document to be merged holds as the text does, by name, with the signature of their
    // content (see signature), and, once read, the names of those the text holds alike.
    struct ModeSignatures
    {
        std::unordered_map<std::string, std::size_t> expected;
        std::unordered_set<std::string> matched;
    };
    // Reads as read(a_text), but without the content of every mode whose content has the signature
    // a_modes expects: such a mode stands in the text as a whole, and the document merged into this
    // source must hold a placeholder for it (see merge). Null as read() is, and when a mode of a name
    // the text holds twice would be left without its content; a source read so is for one merge.
    static std::shared_ptr<const LumexSource> read(const QByteArray& a_text, ModeSignatures& a_modes);

    // The signature of an element and everything in it, as merge compares them: its name, its
    // attributes and, in order, its child elements or its value without the white space around it.
    static std::size_t signature(const CamProperty& a_element);

    const QByteArray& text() const { return m_text; }

    // The text of a_document: this source's text where a_document holds what it holds, the changes
    // written in place. An element of a_document is matched with one of the source by its content and
    // its place among its siblings; a "mode" element also by its name, so that a moved mode moves with
    // the comment directly above it. An element added is written at its place among its siblings, laid
    // out and indented like them; a removed one goes with its line. Elements marked as copied from the
    // file (CamProperty::markCopied) keep their place in the source whatever their place in a_document.
    //
    // a_placeholders are elements of a_document that stand for content they do not hold: each has the
    // signature of that content, and is written as the element of the source with that signature, the
    // same name and, for a mode, the same name attribute, found at its place. One found nowhere fails.
    using Placeholders = std::vector<std::pair<CamProperty, std::size_t>>;
    Error merge(const CamFile& a_document, QByteArray& a_result, const Placeholders& a_placeholders) const;
    Error merge(const CamFile& a_document, QByteArray& a_result) const;

private:
    struct Place
    {
        int begin = 0;
        int end = 0;
        // Just past the start tag. An element left without children holds as its value the text from
        // here to its end tag, as it stands in the file.
        int inner = 0;
        // The element's signature, made by the first merge that needs it and kept, since the source
        // never changes; 0 until then.
        mutable std::size_t signature = 0;
    };

    struct Recorder;

    explicit LumexSource(const QByteArray& a_text);
    static std::shared_ptr<LumexSource> readText(const QByteArray& a_text, ModeSignatures* a_modes);
    static void recordStart(void* a_context, const unsigned char* a_local, const unsigned char* a_prefix,
                            const unsigned char* a_uri, int a_namespaceCount,
                            const unsigned char** a_namespaces, int a_attributeCount, int a_defaultedCount,
                            const unsigned char** a_attributes);
    static bool followsElement(void* a_context);
    static void recordText(void* a_context, const unsigned char* a_text, int a_length);
    static void recordWhitespace(void* a_context, const unsigned char* a_text, int a_length);
    static void recordEnd(void* a_context, const unsigned char* a_local, const unsigned char* a_prefix,
                          const unsigned char* a_uri);
    static void recordComment(void* a_context, const unsigned char* a_value);
    static void recordInstruction(void* a_context, const unsigned char* a_target,
                                  const unsigned char* a_data);
    static void recordCData(void* a_context, const unsigned char* a_value, int a_length);
    static void recordReference(void* a_context, const unsigned char* a_name);

    friend class LumexSourceMerge;

    // The place of an element of this source's document; null for one read from elsewhere (an entity).
    const Place* place(const _xmlNode* a_node) const;
    // Whether a_place is a whole element of the text, tags included, with a_node's name.
    bool holds(const _xmlNode* a_node, const Place& a_place) const;
    // The text nodes the merge does not need, dropped as each element ends so that they never all
    // stand in memory at once: the text between the elements of an element holding elements (the merge
    // takes the layout from the file's text), and a value that reads as it is written in the file.
    void dropText(_xmlNode* a_node) const;
    // The end tag's start of an element with content.
    int closingTag(const Place& a_place) const;

    QByteArray m_text;
    _xmlDoc* m_document = nullptr;
    // Each element of m_document finds its place through its _private pointer, which holds the index
    // here plus one: a map beside the document cost more to fill than the parse itself.
    std::vector<Place> m_places;
    // Set while reading when an element was not where its place says.
    bool m_misplaced = false;
};

} // namespace Lumex
