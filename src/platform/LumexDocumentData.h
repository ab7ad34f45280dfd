#pragma once

#include <libxml/tree.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace Lumex {

// What a CamFile keeps beside its libxml2 document, reached from any node through the document's
// _private pointer: the pool of strings that handles compose or copy, so that every const char* they
// return stays valid as long as the document lives, whatever is changed afterwards. The pool
// interns, so reading the same text again costs no memory.
class LumexDocumentData
{
public:
    LumexDocumentData(const LumexDocumentData&) = delete;
    LumexDocumentData& operator=(const LumexDocumentData&) = delete;

    static void attach(xmlDocPtr a_document);
    static void detach(xmlDocPtr a_document);

    // A pooled copy of a_text (a_length bytes, or up to its end when negative); a_text itself when
    // the document's own dictionary already holds it.
    static const char* keep(const xmlNode* a_node, const xmlChar* a_text, int a_length = -1);
    static const char* keep(const xmlNode* a_node, const std::string& a_text);
    // The pooled "prefix:local", or local alone when there is no prefix.
    static const char* keepQName(const xmlNode* a_node, const xmlChar* a_prefix, const xmlChar* a_local);

private:
    LumexDocumentData();
    ~LumexDocumentData();

    static LumexDocumentData* of(const xmlNode* a_node);
    const char* intern(std::string_view a_text);

    // The views point into the blocks, which never move; each string is stored with its terminator.
    std::unordered_set<std::string_view> m_strings;
    std::vector<std::unique_ptr<char[]>> m_blocks;
    char* m_free = nullptr;
    std::size_t m_freeSize = 0;
};

} // namespace Lumex
