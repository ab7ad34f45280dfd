#pragma once

// Node-level helpers of the markup layer over libxml2, shared by the files that implement CamProperty.
// Internal: nothing above the markup layer includes this.

#include "platform/Error.h"

#include <libxml/tree.h>

#include <string>
#include <string_view>

namespace Lumex {
namespace nodes {

const xmlChar* xml(const char* a_text);

const char* text(const xmlChar* a_text);

bool isElement(const xmlNode* a_node);

bool isCharacterData(const xmlNode* a_node);

// Only elements have children of their own: an entity reference's children belong to its declaration.
xmlNode* firstChild(const xmlNode* a_node);

bool hasName(const xmlNode* a_node, const char* a_name);

bool selects(const xmlNode* a_node, const char* a_name);

xmlNode* nextSelected(xmlNode* a_from, const char* a_name);

std::string qualifiedName(const xmlNode* a_node);

std::string quoted(const std::string& a_text);

std::string describe(const xmlNode* a_node);

Error nullProperty();

Error notAnElement(const xmlNode* a_node);

bool isValidQName(const char* a_name);

Error invalidName(const char* a_name);

// Null when a_value can be written as XML character data, else why not.
const char* characterProblem(const char* a_value);

// Null when a_value can be the content of a node of a_node's kind, else why not.
const char* contentProblem(const xmlNode* a_node, const char* a_value);

void linkLast(xmlNode* a_parent, xmlNode* a_child);
// Frees the text children of an element holding elements; leaves an element without any as it is.
void dropTextBesideElements(xmlNode* a_node);

void linkBefore(xmlNode* a_reference, xmlNode* a_node);

struct AttributeRef
{
    xmlNs* declaration = nullptr;
    xmlAttr* attribute = nullptr;
};

AttributeRef findAttribute(const xmlNode* a_node, const char* a_name);

// Text children joined; entity references are left out on purpose.
const char* joinedText(const xmlNode* a_owner, const xmlNode* a_first, bool a_withCData);

const char* attributeValue(const xmlNode* a_owner, const AttributeRef& a_ref);

std::string_view trimmed(const char* a_text);

bool parseWhole(std::string_view a_text, bool& a_negative, unsigned long long& a_magnitude);

Error invalidNumber(const xmlNode* a_node, const char* a_attribute, const char* a_value, const char* a_kind);

} // namespace nodes
} // namespace Lumex
