#include "platform/CamPropertyNodes.h"

#include "platform/LumexDocumentData.h"

#include <libxml/chvalid.h>
#include <libxml/xmlstring.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>

namespace Lumex {
namespace nodes {

const xmlChar* xml(const char* a_text)
{
    return reinterpret_cast<const xmlChar*>(a_text);
}

const char* text(const xmlChar* a_text)
{
    return reinterpret_cast<const char*>(a_text);
}

bool isElement(const xmlNode* a_node)
{
    return a_node && a_node->type == XML_ELEMENT_NODE;
}

bool isCharacterData(const xmlNode* a_node)
{
    return a_node->type == XML_TEXT_NODE || a_node->type == XML_CDATA_SECTION_NODE;
}

// Only elements have children of their own: an entity reference's children belong to its declaration.
xmlNode* firstChild(const xmlNode* a_node)
{
    return isElement(a_node) ? a_node->children : nullptr;
}

bool hasName(const xmlNode* a_node, const char* a_name)
{
    if (a_node->type != XML_ELEMENT_NODE)
        return false;
    if (a_node->ns && a_node->ns->prefix)
        return xmlStrQEqual(a_node->ns->prefix, a_node->name, xml(a_name)) == 1;
    return xmlStrEqual(a_node->name, xml(a_name)) == 1;
}

bool selects(const xmlNode* a_node, const char* a_name)
{
    return !a_name || hasName(a_node, a_name);
}

xmlNode* nextSelected(xmlNode* a_from, const char* a_name)
{
    while (a_from && !selects(a_from, a_name))
        a_from = a_from->next;
    return a_from;
}

void dropTextBesideElements(xmlNode* a_node)
{
    bool holdsElements = false;
    for (const xmlNode* child = a_node->children; child && !holdsElements; child = child->next)
        holdsElements = child->type == XML_ELEMENT_NODE;
    if (!holdsElements)
        return;
    for (xmlNode* child = a_node->children; child;) {
        xmlNode* next = child->next;
        if (child->type == XML_TEXT_NODE) {
            xmlUnlinkNode(child);
            xmlFreeNode(child);
        }
        child = next;
    }
}

std::string qualifiedName(const xmlNode* a_node)
{
    if (!a_node || !a_node->name)
        return std::string();
    std::string name = text(a_node->name);
    if (a_node->type == XML_ELEMENT_NODE && a_node->ns && a_node->ns->prefix)
        name = text(a_node->ns->prefix) + (":" + name);
    return name;
}

std::string quoted(const std::string& a_text)
{
    return "\"" + a_text + "\"";
}

std::string describe(const xmlNode* a_node)
{
    if (isElement(a_node))
        return "element " + quoted(qualifiedName(a_node));
    return "a node that is no element";
}

Error nullProperty()
{
    return Error("Null property", "The property refers to no node.", nullptr);
}

Error notAnElement(const xmlNode* a_node)
{
    return Error("Not an element", "Only elements have attributes and children.", describe(a_node).c_str());
}

bool isValidQName(const char* a_name)
{
    return a_name && *a_name && xmlValidateQName(xml(a_name), 0) == 0;
}

Error invalidName(const char* a_name)
{
    return Error("Invalid name", "The name is not a valid XML name.", a_name);
}

// Null when a_value can be written as XML character data, else why not.
const char* characterProblem(const char* a_value)
{
    const auto* cursor = reinterpret_cast<const unsigned char*>(a_value);
    // Nearly every value written is plain ASCII, which needs no decoding: the printer asks for each one.
    while ((*cursor >= 0x20 && *cursor < 0x80) || *cursor == '\t' || *cursor == '\n' || *cursor == '\r')
        ++cursor;
    std::size_t remaining = std::strlen(reinterpret_cast<const char*>(cursor));
    while (remaining > 0) {
        int length = static_cast<int>(std::min<std::size_t>(remaining, 4));
        const int character = xmlGetUTF8Char(cursor, &length);
        if (character < 0 || length <= 0)
            return "The text is not valid UTF-8.";
        if (!xmlIsCharQ(character))
            return "The text holds a character that XML does not allow.";
        cursor += length;
        remaining -= static_cast<std::size_t>(length);
    }
    return nullptr;
}

// Null when a_value can be the content of a node of a_node's kind, else why not.
const char* contentProblem(const xmlNode* a_node, const char* a_value)
{
    if (const char* problem = characterProblem(a_value))
        return problem;
    const std::string_view value(a_value);
    switch (a_node->type) {
    case XML_COMMENT_NODE:
        if (value.find("--") != std::string_view::npos || (!value.empty() && value.back() == '-'))
            return "A comment may neither hold \"--\" nor end with \"-\".";
        break;
    case XML_CDATA_SECTION_NODE:
        if (value.find("]]>") != std::string_view::npos)
            return "A CDATA section may not hold \"]]>\".";
        break;
    case XML_PI_NODE:
        if (value.find("?>") != std::string_view::npos)
            return "A processing instruction may not hold \"?>\".";
        break;
    default:
        break;
    }
    return nullptr;
}

void linkLast(xmlNode* a_parent, xmlNode* a_child)
{
    a_child->parent = a_parent;
    a_child->next = nullptr;
    a_child->prev = a_parent->last;
    if (a_parent->last)
        a_parent->last->next = a_child;
    else
        a_parent->children = a_child;
    a_parent->last = a_child;
}

void linkBefore(xmlNode* a_reference, xmlNode* a_node)
{
    a_node->parent = a_reference->parent;
    a_node->next = a_reference;
    a_node->prev = a_reference->prev;
    if (a_reference->prev)
        a_reference->prev->next = a_node;
    else if (a_reference->parent)
        a_reference->parent->children = a_node;
    a_reference->prev = a_node;
}

AttributeRef findAttribute(const xmlNode* a_node, const char* a_name)
{
    if (std::strncmp(a_name, "xmlns", 5) == 0 && (a_name[5] == '\0' || a_name[5] == ':')) {
        const xmlChar* prefix = a_name[5] ? xml(a_name + 6) : nullptr;
        for (xmlNs* declaration = a_node->nsDef; declaration; declaration = declaration->next) {
            if (xmlStrEqual(declaration->prefix, prefix))
                return {declaration, nullptr};
        }
    }
    for (xmlAttr* attribute = a_node->properties; attribute; attribute = attribute->next) {
        const bool equal = attribute->ns && attribute->ns->prefix
                               ? xmlStrQEqual(attribute->ns->prefix, attribute->name, xml(a_name)) == 1
                               : xmlStrEqual(attribute->name, xml(a_name)) == 1;
        if (equal)
            return {nullptr, attribute};
    }
    return {};
}

// Text children joined; entity references are left out on purpose.
const char* joinedText(const xmlNode* a_owner, const xmlNode* a_first, bool a_withCData)
{
    const auto counts = [a_withCData](const xmlNode* a_node) {
        return a_node->type == XML_TEXT_NODE || (a_withCData && a_node->type == XML_CDATA_SECTION_NODE);
    };
    const xmlNode* single = nullptr;
    int found = 0;
    for (const xmlNode* node = a_first; node && found < 2; node = node->next) {
        if (counts(node)) {
            single = node;
            ++found;
        }
    }
    if (found == 0)
        return "";
    if (found == 1)
        return LumexDocumentData::keep(a_owner, single->content ? single->content : xml(""));
    std::string joined;
    for (const xmlNode* node = a_first; node; node = node->next) {
        if (counts(node) && node->content)
            joined += text(node->content);
    }
    return LumexDocumentData::keep(a_owner, joined);
}

const char* attributeValue(const xmlNode* a_owner, const AttributeRef& a_ref)
{
    if (a_ref.declaration)
        return LumexDocumentData::keep(a_owner, a_ref.declaration->href ? a_ref.declaration->href : xml(""));
    return joinedText(a_owner, a_ref.attribute->children, false);
}

std::string_view trimmed(const char* a_text)
{
    std::string_view view(a_text);
    const char* const blanks = " \t\r\n";
    const std::size_t first = view.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return std::string_view();
    view.remove_prefix(first);
    view.remove_suffix(view.size() - view.find_last_not_of(blanks) - 1);
    return view;
}

bool parseWhole(std::string_view a_text, bool& a_negative, unsigned long long& a_magnitude)
{
    a_negative = false;
    if (!a_text.empty() && (a_text.front() == '+' || a_text.front() == '-')) {
        a_negative = a_text.front() == '-';
        a_text.remove_prefix(1);
    }
    int base = 10;
    if (a_text.size() > 2 && a_text[0] == '0' && (a_text[1] == 'x' || a_text[1] == 'X')) {
        base = 16;
        a_text.remove_prefix(2);
    }
    if (a_text.empty())
        return false;
    const char* const end = a_text.data() + a_text.size();
    const auto [stop, code] = std::from_chars(a_text.data(), end, a_magnitude, base);
    return code == std::errc() && stop == end;
}

Error invalidNumber(const xmlNode* a_node, const char* a_attribute, const char* a_value, const char* a_kind)
{
    const std::string message =
        "Attribute " + quoted(a_attribute) + " of " + describe(a_node) + " is not " + a_kind + ".";
    return Error("Invalid number", message.c_str(), a_value);
}

} // namespace nodes
} // namespace Lumex
