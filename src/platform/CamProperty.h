#pragma once

#include "platform/Error.h"

struct _xmlNode;

namespace Lumex {

class ConstCamProperty;

// A handle on one node of a CamFile: an element, or a text, CDATA, comment, processing-instruction or
// entity-reference child of an element. Handles are cheap values that do not own their node; they
// stay valid while their document lives and the node is not removed (clear() removes children,
// set() on an element replaces its text children).
// A default-constructed handle is null; every operation on a null handle does nothing and reports
// failure. Names are qualified names as written ("xs:element"); namespace declarations are read and
// written as the attributes "xmlns" and "xmlns:prefix". Texts are UTF-8. Every returned const char*
// stays valid as long as the document lives. Entity references declared in a document type are kept
// as nodes of kind OtherNode and are never expanded into values, so that a hostile document type can
// neither inflate nor smuggle content into them.
class CamProperty
{
public:
    // Bit values of is(); an element is none of them.
    enum XmlNodeType
    {
        CommentNode = 4,
        OtherNode = 8,
        TextNode = 16
    };

    class const_iterator;

    CamProperty();
    CamProperty(const CamProperty& a_other);
    CamProperty& operator=(const CamProperty& a_other);
    virtual ~CamProperty();

    bool isNull() const;
    bool operator!() const;

    // Qualified element name; the target of a processing instruction, the name of an entity
    // reference; null for text, CDATA and comment nodes.
    const char* name() const;
    // Keeps the old name when a_name is not a valid qualified name.
    void set_name(const char* a_name);
    // True when the node is of one of the kinds in the XmlNodeType mask a_kind.
    bool is(unsigned a_kind) const;
    // The line of the document the node starts on, counted from 1; 0 when unknown (a null handle, a
    // node built in memory).
    unsigned line() const;

    unsigned attribute_count() const;
    // Namespace declarations come first, then the attributes in document order.
    const char* attribute(unsigned a_index) const;

    // On failure the output keeps its value, so callers can preset a default.
    Error get(const char* a_attribute, const char*& a_value) const;
    // The element's own text: its text and CDATA children joined, "" when it has none; the content of
    // any other node.
    Error get(const char*& a_value) const;
    const char* get() const;
    // Decimal or "0x" hexadecimal integers and XML Schema doubles ("1e3", "INF", "NaN"), surrounding
    // white space allowed; false when absent, not a number or out of range.
    Error get(const char* a_attribute, int& a_value) const;
    Error get(const char* a_attribute, unsigned& a_value) const;
    Error get(const char* a_attribute, double& a_value) const;

    // On an element: replaces its text children by one text node (none when a_value is null or
    // empty) placed where the first of them was, or first. On other nodes: replaces the content.
    // Texts that could not be written as well-formed XML are refused.
    Error set(const char* a_value);
    // Adds the attribute at the end or replaces its value in place.
    Error set(const char* a_attribute, const char* a_value);

    // Appends a child element; null when this is not an element or a_name is not a qualified name.
    CamProperty push_back(const char* a_name);
    // Appends an empty comment (4) or text (16) child; null for any other kind.
    CamProperty push_back(XmlNodeType a_kind);
    CamProperty push_back(int a_kind);

    // Removes all children, attributes and namespace declarations of an element; empties the
    // content of any other node.
    void clear();

    // Marks an element as content copied from the file rather than written from what the editor
    // holds: writing into the file's own text (LumexSource) leaves it at its place there.
    void markCopied();
    static bool isCopiedNode(const _xmlNode* a_node);

    // Child elements named a_name; all child nodes when a_name is null.
    unsigned count(const char* a_name) const;
    // The a_index-th child element named a_name (any child node when a_name is null); a null handle
    // with the reason recorded when there is none.
    ConstCamProperty child(const char* a_name, unsigned a_index) const;
    ConstCamProperty operator[](const char* a_name) const;
    CamProperty operator[](const char* a_name);

    // The first child node (of an element) and the next sibling, of any kind; a null handle past the
    // last. A walk over every node of a large document needs no iterator and no diagnostics.
    CamProperty firstChildNode() const;
    CamProperty nextSiblingNode() const;

    // Children named a_name (all children when null) in document order. The name is copied.
    const_iterator begin(const char* a_name = nullptr) const;
    const_iterator end(const char* a_name = nullptr) const;
    const_iterator cbegin(const char* a_name = nullptr) const;
    const_iterator cend(const char* a_name = nullptr) const;

private:
    friend class CamFile;
    friend class LumexSource;
    friend class LumexSourceMerge;
    friend bool operator==(const CamProperty& a_left, const CamProperty& a_right);

    explicit CamProperty(_xmlNode* a_node);

    _xmlNode* m_node = nullptr;
};

bool operator==(const CamProperty& a_left, const CamProperty& a_right);
bool operator!=(const CamProperty& a_left, const CamProperty& a_right);

} // namespace Lumex

// ConstCamProperty and the iterator need the complete CamProperty; including them here lets users
// include either header first.
#include "platform/ConstCamProperty.h"
