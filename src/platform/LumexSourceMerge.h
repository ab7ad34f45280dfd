#pragma once

#include "platform/Error.h"
#include "platform/LumexSource.h"

#include <QByteArray>

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

struct _xmlNode;

namespace Lumex {

class CamFile;

// One writing of a document into the text of a LumexSource (see LumexSource::merge). Unchanged
// elements are copied as bytes; only the markup of what changed is written anew.
class LumexSourceMerge
{
public:
    explicit LumexSourceMerge(const LumexSource& a_source);

    Error merge(const CamFile& a_document, QByteArray& a_result,
                const LumexSource::Placeholders& a_placeholders);
    // The signature of an element of the source, or of a document of its own.
    std::size_t elementSignature(const _xmlNode* a_node);
    // The name of a "mode" element, references expanded; false for any other element.
    static bool modeName(const _xmlNode* a_node, std::string& a_name);

private:
    using Attributes = std::vector<std::pair<std::string, std::string>>;

    // An element of the source with the bytes around it: its leading line break and indentation, and
    // the comments directly above it, which travel with it.
    struct Kid
    {
        const _xmlNode* node = nullptr;
        int begin = 0;
        int end = 0;
        int lineStart = 0;
        int blockStart = 0;
        QByteArray indent;
    };

    bool element(const _xmlNode* a_old, const _xmlNode* a_new);
    bool children(const _xmlNode* a_old, const _xmlNode* a_new, int a_begin, int a_end,
                  const QByteArray& a_indent);
    void pair(const std::vector<Kid>& a_old, const std::vector<const _xmlNode*>& a_new,
              std::vector<int>& a_oldPair, std::vector<int>& a_newPair);
    void startTag(const _xmlNode* a_old, const _xmlNode* a_new, int a_begin, int a_tagEnd, bool a_open);
    void laidOut(const _xmlNode* a_new, const QByteArray& a_indent, bool a_layout);

    int tagEnd(int a_begin) const;
    Kid kid(const _xmlNode* a_node, int a_lowerBound) const;
    QByteArray indentOf(int a_begin) const;
    // The value of a source element without children, as its text holds it.
    std::string_view sourceValue(const LumexSource::Place& a_place) const;
    std::size_t signature(const _xmlNode* a_node);
    bool isPlaceholder(const _xmlNode* a_node) const;
    // The slot of a_node in m_signatures: its own, or the empty one where it would go.
    std::pair<const _xmlNode*, std::size_t>* signatureSlot(const _xmlNode* a_node);
    void storeSignature(const _xmlNode* a_node, std::size_t a_signature);
    Attributes attributes(const _xmlNode* a_node) const;

    const LumexSource& m_source;
    const QByteArray& m_text;
    QByteArray m_out;
    QByteArray m_newline;
    QByteArray m_unit;
    // The signatures of the new document's elements holding elements; the source keeps its own.
    std::vector<std::pair<const _xmlNode*, std::size_t>> m_signatures;
    std::size_t m_signatureCount = 0;
    // Elements of the new document standing for content they do not hold, with its signature.
    std::unordered_map<const _xmlNode*, std::size_t> m_placeholders;
    // Set when a placeholder was to be written other than as the source element it stands for.
    bool m_placeholderLost = false;
};

} // namespace Lumex
