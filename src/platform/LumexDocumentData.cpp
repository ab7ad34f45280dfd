#include "platform/LumexDocumentData.h"

#include <libxml/dict.h>

#include <cstring>

namespace Lumex {

namespace {

constexpr std::size_t BlockSize = 64 * 1024;

} // namespace

LumexDocumentData::LumexDocumentData() = default;

LumexDocumentData::~LumexDocumentData() = default;

void LumexDocumentData::attach(xmlDocPtr a_document)
{
    if (a_document && !a_document->_private)
        a_document->_private = new LumexDocumentData();
}

void LumexDocumentData::detach(xmlDocPtr a_document)
{
    if (!a_document)
        return;
    delete static_cast<LumexDocumentData*>(a_document->_private);
    a_document->_private = nullptr;
}

LumexDocumentData* LumexDocumentData::of(const xmlNode* a_node)
{
    if (!a_node || !a_node->doc)
        return nullptr;
    return static_cast<LumexDocumentData*>(a_node->doc->_private);
}

const char* LumexDocumentData::intern(std::string_view a_text)
{
    const auto found = m_strings.find(a_text);
    if (found != m_strings.end())
        return found->data();
    const std::size_t needed = a_text.size() + 1;
    char* storage = nullptr;
    if (needed > BlockSize / 4) {
        m_blocks.push_back(std::make_unique<char[]>(needed));
        storage = m_blocks.back().get();
    } else {
        if (needed > m_freeSize) {
            m_blocks.push_back(std::make_unique<char[]>(BlockSize));
            m_free = m_blocks.back().get();
            m_freeSize = BlockSize;
        }
        storage = m_free;
        m_free += needed;
        m_freeSize -= needed;
    }
    std::memcpy(storage, a_text.data(), a_text.size());
    storage[a_text.size()] = '\0';
    m_strings.insert(std::string_view(storage, a_text.size()));
    return storage;
}

const char* LumexDocumentData::keep(const xmlNode* a_node, const xmlChar* a_text, int a_length)
{
    if (!a_text)
        return nullptr;
    if (a_length == 0 || (a_length < 0 && !*a_text))
        return "";
    const xmlDictPtr own = a_node && a_node->doc ? a_node->doc->dict : nullptr;
    if (a_length < 0 && own && xmlDictOwns(own, a_text) == 1)
        return reinterpret_cast<const char*>(a_text);
    LumexDocumentData* data = of(a_node);
    if (!data)
        return nullptr;
    const char* text = reinterpret_cast<const char*>(a_text);
    return data->intern(std::string_view(text, a_length < 0 ? std::strlen(text) : std::size_t(a_length)));
}

const char* LumexDocumentData::keep(const xmlNode* a_node, const std::string& a_text)
{
    return keep(a_node, reinterpret_cast<const xmlChar*>(a_text.data()), static_cast<int>(a_text.size()));
}

const char* LumexDocumentData::keepQName(const xmlNode* a_node, const xmlChar* a_prefix,
                                         const xmlChar* a_local)
{
    if (!a_prefix)
        return keep(a_node, a_local);
    if (!a_local)
        return nullptr;
    const std::string qualified =
        std::string(reinterpret_cast<const char*>(a_prefix)) + ':' + reinterpret_cast<const char*>(a_local);
    return keep(a_node, qualified);
}

} // namespace Lumex
