#include "platform/CamProperty.h"

#include "platform/CamPropertyNodes.h"
#include "platform/LumexDocumentData.h"

#include <libxml/chvalid.h>
#include <libxml/tree.h>
#include <libxml/xmlstring.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace Lumex {

using namespace nodes;

CamProperty::CamProperty() = default;

CamProperty::CamProperty(_xmlNode* a_node) : m_node(a_node)
{
}

CamProperty::CamProperty(const CamProperty& a_other) = default;

CamProperty& CamProperty::operator=(const CamProperty& a_other) = default;

CamProperty::~CamProperty() = default;

bool CamProperty::isNull() const
{
    return !m_node;
}

bool CamProperty::operator!() const
{
    return !m_node;
}

unsigned CamProperty::line() const
{
    if (!m_node)
        return 0;
    const long line = xmlGetLineNo(m_node);
    return line > 0 ? static_cast<unsigned>(line) : 0;
}

const char* CamProperty::name() const
{
    if (!m_node)
        return nullptr;
    switch (m_node->type) {
    case XML_ELEMENT_NODE:
        return LumexDocumentData::keepQName(m_node, m_node->ns ? m_node->ns->prefix : nullptr, m_node->name);
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
        return nullptr;
    default:
        return LumexDocumentData::keep(m_node, m_node->name);
    }
}

void CamProperty::set_name(const char* a_name)
{
    if (!isElement(m_node) || !isValidQName(a_name) || hasName(m_node, a_name))
        return;
    // The new name is kept literally, as written, whatever namespace the old one was bound to.
    xmlNodeSetName(m_node, xml(a_name));
    m_node->ns = nullptr;
}

bool CamProperty::is(unsigned a_kind) const
{
    if (!m_node)
        return false;
    unsigned kind = OtherNode;
    switch (m_node->type) {
    case XML_ELEMENT_NODE:
        kind = 0;
        break;
    case XML_COMMENT_NODE:
        kind = CommentNode;
        break;
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
        kind = TextNode;
        break;
    default:
        break;
    }
    return (kind & a_kind) != 0;
}

unsigned CamProperty::attribute_count() const
{
    if (!isElement(m_node))
        return 0;
    unsigned count = 0;
    for (const xmlNs* declaration = m_node->nsDef; declaration; declaration = declaration->next)
        ++count;
    for (const xmlAttr* attribute = m_node->properties; attribute; attribute = attribute->next)
        ++count;
    return count;
}

const char* CamProperty::attribute(unsigned a_index) const
{
    if (!isElement(m_node))
        return nullptr;
    for (const xmlNs* declaration = m_node->nsDef; declaration; declaration = declaration->next) {
        if (a_index-- == 0) {
            if (!declaration->prefix)
                return "xmlns";
            return LumexDocumentData::keepQName(m_node, xml("xmlns"), declaration->prefix);
        }
    }
    for (const xmlAttr* attribute = m_node->properties; attribute; attribute = attribute->next) {
        if (a_index-- == 0) {
            const xmlChar* prefix = attribute->ns ? attribute->ns->prefix : nullptr;
            return LumexDocumentData::keepQName(m_node, prefix, attribute->name);
        }
    }
    return nullptr;
}

Error CamProperty::get(const char* a_attribute, const char*& a_value) const
{
    if (!m_node)
        return nullProperty();
    if (!isElement(m_node))
        return notAnElement(m_node);
    if (!a_attribute)
        return Error("Missing attribute", "No attribute name was given.", describe(m_node).c_str());
    const AttributeRef found = findAttribute(m_node, a_attribute);
    if (!found.declaration && !found.attribute) {
        const std::string message = "Attribute " + quoted(a_attribute) + " is absent.";
        return Error("Missing attribute", message.c_str(), describe(m_node).c_str());
    }
    const char* value = attributeValue(m_node, found);
    if (!value)
        return Error("Out of memory", "The attribute value could not be kept.", a_attribute);
    a_value = value;
    return Error();
}

Error CamProperty::get(const char*& a_value) const
{
    if (!m_node)
        return nullProperty();
    const char* value = get();
    if (!value)
        return Error("Out of memory", "The text could not be kept.", describe(m_node).c_str());
    a_value = value;
    return Error();
}

const char* CamProperty::get() const
{
    if (!m_node)
        return nullptr;
    if (isElement(m_node))
        return joinedText(m_node, m_node->children, true);
    if (m_node->type == XML_ENTITY_REF_NODE)
        return "";
    return LumexDocumentData::keep(m_node, m_node->content ? m_node->content : xml(""));
}

Error CamProperty::get(const char* a_attribute, int& a_value) const
{
    const char* value = nullptr;
    Error result = get(a_attribute, value);
    if (!result)
        return result;
    bool negative = false;
    unsigned long long magnitude = 0;
    if (!parseWhole(trimmed(value), negative, magnitude) ||
        magnitude > static_cast<unsigned long long>(INT_MAX) + (negative ? 1u : 0u))
        return invalidNumber(m_node, a_attribute, value, "an int");
    a_value = negative ? static_cast<int>(-static_cast<long long>(magnitude)) : static_cast<int>(magnitude);
    return Error();
}

Error CamProperty::get(const char* a_attribute, unsigned& a_value) const
{
    const char* value = nullptr;
    Error result = get(a_attribute, value);
    if (!result)
        return result;
    bool negative = false;
    unsigned long long magnitude = 0;
    if (!parseWhole(trimmed(value), negative, magnitude) || (negative && magnitude != 0) ||
        magnitude > UINT_MAX)
        return invalidNumber(m_node, a_attribute, value, "an unsigned int");
    a_value = static_cast<unsigned>(magnitude);
    return Error();
}

Error CamProperty::get(const char* a_attribute, double& a_value) const
{
    const char* value = nullptr;
    Error result = get(a_attribute, value);
    if (!result)
        return result;
    std::string_view number = trimmed(value);
    if (!number.empty() && number.front() == '+')
        number.remove_prefix(1);
    double parsed = 0.0;
    const char* const end = number.data() + number.size();
    const auto [stop, code] = std::from_chars(number.data(), end, parsed);
    if (number.empty() || code != std::errc() || stop != end)
        return invalidNumber(m_node, a_attribute, value, "a number");
    a_value = parsed;
    return Error();
}

Error CamProperty::set(const char* a_value)
{
    if (!m_node)
        return nullProperty();
    if (!isElement(m_node) && !isCharacterData(m_node) && m_node->type != XML_COMMENT_NODE &&
        m_node->type != XML_PI_NODE)
        return Error("Read-only node", "The value of this node cannot be set.", name());
    const char* value = a_value ? a_value : "";
    if (const char* problem = contentProblem(m_node, value))
        return Error("Invalid text", problem, value);
    if (!isElement(m_node)) {
        xmlNodeSetContent(m_node, xml(value));
        return Error();
    }
    std::vector<xmlNode*> texts;
    for (xmlNode* node = m_node->children; node; node = node->next) {
        if (isCharacterData(node))
            texts.push_back(node);
    }
    if (*value) {
        xmlNode* created = xmlNewDocText(m_node->doc, xml(value));
        if (!created)
            return Error("Out of memory", "The text node could not be created.", nullptr);
        xmlNode* before = texts.empty() ? m_node->children : texts.front();
        if (before)
            linkBefore(before, created);
        else
            linkLast(m_node, created);
    }
    for (xmlNode* node : texts) {
        xmlUnlinkNode(node);
        xmlFreeNode(node);
    }
    return Error();
}

Error CamProperty::set(const char* a_attribute, const char* a_value)
{
    if (!m_node)
        return nullProperty();
    if (!isElement(m_node))
        return notAnElement(m_node);
    if (!isValidQName(a_attribute))
        return invalidName(a_attribute);
    const char* value = a_value ? a_value : "";
    if (const char* problem = characterProblem(value))
        return Error("Invalid text", problem, value);
    // A namespace name is written as it is held, unescaped, and read back as a namespace name (see
    // CamFile), whether it is set on a declaration or added as an attribute.
    const bool declares =
        std::strncmp(a_attribute, "xmlns", 5) == 0 && (!a_attribute[5] || a_attribute[5] == ':');
    if (declares && std::strpbrk(value, "<&\t\n\r"))
        return Error("Invalid text", "A namespace name may not hold \"&\", \"<\" or a line break.", value);
    const AttributeRef found = findAttribute(m_node, a_attribute);
    if (found.declaration) {
        xmlChar* href = xmlStrdup(xml(value));
        if (!href)
            return Error("Out of memory", "The namespace could not be changed.", a_attribute);
        xmlFree(const_cast<xmlChar*>(found.declaration->href));
        found.declaration->href = href;
    } else if (found.attribute) {
        if (!xmlSetNsProp(m_node, found.attribute->ns, found.attribute->name, xml(value)))
            return Error("Out of memory", "The attribute could not be set.", a_attribute);
    } else if (!xmlNewProp(m_node, xml(a_attribute), xml(value))) {
        return Error("Out of memory", "The attribute could not be added.", a_attribute);
    }
    return Error();
}

CamProperty CamProperty::push_back(const char* a_name)
{
    if (!isElement(m_node) || !isValidQName(a_name))
        return CamProperty();
    xmlNode* child = xmlNewDocNode(m_node->doc, nullptr, xml(a_name), nullptr);
    if (!child)
        return CamProperty();
    linkLast(m_node, child);
    return CamProperty(child);
}

CamProperty CamProperty::push_back(XmlNodeType a_kind)
{
    if (!isElement(m_node))
        return CamProperty();
    xmlNode* child = nullptr;
    if (a_kind == TextNode)
        child = xmlNewDocText(m_node->doc, xml(""));
    else if (a_kind == CommentNode)
        child = xmlNewDocComment(m_node->doc, xml(""));
    if (!child)
        return CamProperty();
    linkLast(m_node, child);
    return CamProperty(child);
}

CamProperty CamProperty::push_back(int a_kind)
{
    if (a_kind != TextNode && a_kind != CommentNode)
        return CamProperty();
    return push_back(static_cast<XmlNodeType>(a_kind));
}

namespace {

// Only its address is used.
const char s_copiedMark = 0;

} // namespace

void CamProperty::markCopied()
{
    if (isElement(m_node))
        m_node->_private = const_cast<char*>(&s_copiedMark);
}

bool CamProperty::isCopiedNode(const _xmlNode* a_node)
{
    return a_node && a_node->_private == &s_copiedMark;
}

void CamProperty::clear()
{
    if (!m_node)
        return;
    if (!isElement(m_node)) {
        if (isCharacterData(m_node) || m_node->type == XML_COMMENT_NODE || m_node->type == XML_PI_NODE)
            xmlNodeSetContent(m_node, xml(""));
        return;
    }
    xmlFreeNodeList(m_node->children);
    m_node->children = nullptr;
    m_node->last = nullptr;
    xmlFreePropList(m_node->properties);
    m_node->properties = nullptr;
    if (m_node->nsDef) {
        // The element's own prefix may be declared here; keep its name as written once it is gone.
        for (const xmlNs* declaration = m_node->nsDef; declaration; declaration = declaration->next) {
            if (declaration == m_node->ns) {
                const std::string literal = qualifiedName(m_node);
                xmlNodeSetName(m_node, xml(literal.c_str()));
                m_node->ns = nullptr;
                break;
            }
        }
        xmlFreeNsList(m_node->nsDef);
        m_node->nsDef = nullptr;
    }
}

unsigned CamProperty::count(const char* a_name) const
{
    unsigned count = 0;
    for (const xmlNode* node = firstChild(m_node); node; node = node->next) {
        if (selects(node, a_name))
            ++count;
    }
    return count;
}

ConstCamProperty CamProperty::child(const char* a_name, unsigned a_index) const
{
    if (!m_node)
        return ConstCamProperty(nullProperty());
    unsigned remaining = a_index;
    for (xmlNode* node = nextSelected(firstChild(m_node), a_name); node;
         node = nextSelected(node->next, a_name)) {
        if (remaining-- == 0)
            return ConstCamProperty(CamProperty(node));
    }
    const std::string wanted = a_name ? "child element " + quoted(a_name) : std::string("child node");
    const std::string message =
        "There is no " + wanted + " at index " + std::to_string(a_index) + " of " + describe(m_node) + ".";
    const std::string comment = "It has " + std::to_string(count(a_name)) + " of them.";
    return ConstCamProperty(Error("Child not found", message.c_str(), comment.c_str()));
}

ConstCamProperty CamProperty::operator[](const char* a_name) const
{
    return child(a_name, 0);
}

CamProperty CamProperty::operator[](const char* a_name)
{
    return CamProperty(nextSelected(firstChild(m_node), a_name));
}

CamProperty CamProperty::firstChildNode() const
{
    return CamProperty(nodes::firstChild(m_node));
}

CamProperty CamProperty::nextSiblingNode() const
{
    return CamProperty(m_node ? m_node->next : nullptr);
}

CamProperty::const_iterator CamProperty::begin(const char* a_name) const
{
    return const_iterator(m_node, nextSelected(firstChild(m_node), a_name), a_name);
}

CamProperty::const_iterator CamProperty::end(const char* a_name) const
{
    return const_iterator(m_node, nullptr, a_name);
}

CamProperty::const_iterator CamProperty::cbegin(const char* a_name) const
{
    return begin(a_name);
}

CamProperty::const_iterator CamProperty::cend(const char* a_name) const
{
    return end(a_name);
}

bool operator==(const CamProperty& a_left, const CamProperty& a_right)
{
    return a_left.m_node == a_right.m_node;
}

bool operator!=(const CamProperty& a_left, const CamProperty& a_right)
{
    return !(a_left == a_right);
}

CamProperty::const_iterator::const_iterator() = default;

CamProperty::const_iterator::const_iterator(_xmlNode* a_parent, _xmlNode* a_current, const char* a_name)
    : m_parent(a_parent), m_current(CamProperty(a_current)), m_name(a_name ? a_name : ""), m_anyName(!a_name)
{
}

CamProperty::const_iterator::const_iterator(const const_iterator& a_other) = default;

CamProperty::const_iterator& CamProperty::const_iterator::operator=(const const_iterator& a_other) = default;

CamProperty::const_iterator::~const_iterator() = default;

void CamProperty::const_iterator::recordEnd() const
{
    if (!m_current.isNull() || m_current.ErrorHandlerBase::operator!())
        return;
    if (!m_parent) {
        m_current = ConstCamProperty(nullProperty());
        return;
    }
    const std::string wanted = m_anyName ? std::string("child node") : "child element " + quoted(m_name);
    const std::string message = "There is no further " + wanted + " of " + describe(m_parent) + ".";
    m_current = ConstCamProperty(Error("Child not found", message.c_str(), nullptr));
}

CamProperty::const_iterator::reference CamProperty::const_iterator::operator*() const
{
    recordEnd();
    return m_current;
}

CamProperty::const_iterator::pointer CamProperty::const_iterator::operator->() const
{
    recordEnd();
    return &m_current;
}

CamProperty::const_iterator& CamProperty::const_iterator::operator++()
{
    // A handle on a node holds no diagnostics (only the one past the end does), so moving its node is
    // all a step needs; every child of every walk passes here.
    xmlNode*& current = m_current.m_property.m_node;
    if (current)
        current = nextSelected(current->next, m_anyName ? nullptr : m_name.c_str());
    return *this;
}

CamProperty::const_iterator CamProperty::const_iterator::operator++(int)
{
    const_iterator previous(*this);
    ++*this;
    return previous;
}

bool CamProperty::const_iterator::operator==(const const_iterator& a_other) const
{
    return m_current.property() == a_other.m_current.property();
}

bool CamProperty::const_iterator::operator!=(const const_iterator& a_other) const
{
    return !(*this == a_other);
}

CamProperty::const_iterator CamProperty::const_iterator::end() const
{
    return const_iterator(m_parent, nullptr, m_anyName ? nullptr : m_name.c_str());
}

} // namespace Lumex
