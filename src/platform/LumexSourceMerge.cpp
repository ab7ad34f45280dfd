#include "platform/LumexSourceMerge.h"

#include "platform/CamFile.h"
#include "platform/CamProperty.h"

#include <QString>

#include <libxml/tree.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string_view>

namespace Lumex {

namespace {

const xmlChar* xml(const char* a_text)
{
    return reinterpret_cast<const xmlChar*>(a_text);
}

std::string qualifiedName(const xmlNode* a_node)
{
    std::string name = reinterpret_cast<const char*>(a_node->name);
    if (a_node->ns && a_node->ns->prefix)
        name = std::string(reinterpret_cast<const char*>(a_node->ns->prefix)) + ':' + name;
    return name;
}

std::string content(const xmlNode* a_node)
{
    xmlChar* text = xmlNodeGetContent(a_node);
    std::string result = text ? reinterpret_cast<const char*>(text) : "";
    xmlFree(text);
    return result;
}

// Values are read without their surrounding white space, so that much of the file's text is layout.
std::string trimmed(const std::string& a_text)
{
    return QString::fromUtf8(a_text.data(), int(a_text.size())).trimmed().toStdString();
}

std::string_view bytes(const char* a_text)
{
    return a_text ? std::string_view(a_text) : std::string_view();
}

// Signatures are built for every element of both documents at every save, so they are hashed piece by
// piece rather than from one string per element.
std::size_t mixed(std::size_t a_seed, std::size_t a_value)
{
    return a_seed ^ (a_value + 0x9e3779b97f4a7c15ull + (a_seed << 6) + (a_seed >> 2));
}

constexpr std::size_t s_fnvOffset = 14695981039346656037ull;

std::size_t fnv(std::size_t a_hash, std::string_view a_text)
{
    for (const char character : a_text)
        a_hash = (a_hash ^ static_cast<unsigned char>(character)) * 1099511628211ull;
    return a_hash;
}

std::size_t mixed(std::size_t a_seed, std::string_view a_text)
{
    return mixed(mixed(a_seed, a_text.size()), std::hash<std::string_view>()(a_text));
}

bool isAsciiSpace(char a_character)
{
    return a_character == ' ' || (a_character >= '\t' && a_character <= '\r');
}

// The value of an element without child elements, trimmed as trimmed() does; a_childless when it has
// no children at all. Most values are a single text node of plain ASCII, which needs no copy.
std::string_view valueText(const xmlNode* a_node, std::string_view a_childless, std::string& a_buffer)
{
    const xmlNode* child = a_node->children;
    std::string_view text;
    if (!child) {
        text = a_childless;
    } else if (!child->next && child->type == XML_TEXT_NODE) {
        text = bytes(reinterpret_cast<const char*>(child->content));
    } else {
        a_buffer = content(a_node);
        text = a_buffer;
    }
    while (!text.empty() && isAsciiSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isAsciiSpace(text.back()))
        text.remove_suffix(1);
    if (!text.empty() && ((text.front() & 0x80) || (text.back() & 0x80))) {
        a_buffer = trimmed(std::string(text));
        text = a_buffer;
    }
    return text;
}

bool hasElements(const xmlNode* a_node)
{
    for (const xmlNode* child = a_node->children; child; child = child->next) {
        if (child->type == XML_ELEMENT_NODE)
            return true;
    }
    return false;
}

bool isBlank(char a_character)
{
    return a_character == ' ' || a_character == '\t' || a_character == '\r' || a_character == '\n';
}

QByteArray escaped(const std::string& a_text, char a_quote)
{
    QByteArray result;
    result.reserve(int(a_text.size()));
    for (const char character : a_text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '\r':
            result += "&#13;";
            break;
        case '"':
            result += a_quote == '"' ? "&quot;" : "\"";
            break;
        case '\'':
            result += a_quote == '\'' ? "&apos;" : "'";
            break;
        case '\n':
            result += a_quote ? "&#10;" : "\n";
            break;
        case '\t':
            result += a_quote ? "&#9;" : "\t";
            break;
        default:
            result += character;
        }
    }
    return result;
}

} // namespace

bool LumexSourceMerge::modeName(const xmlNode* a_node, std::string& a_name)
{
    if (a_node->type != XML_ELEMENT_NODE || a_node->ns || !xmlStrEqual(a_node->name, xml("mode")))
        return false;
    xmlChar* name = xmlGetNoNsProp(a_node, xml("name"));
    if (!name)
        return false;
    a_name = reinterpret_cast<const char*>(name);
    xmlFree(name);
    return true;
}

namespace {

// The positions of the longest increasing run of a_values, which stay where they are.
std::vector<bool> longestIncreasing(const std::vector<int>& a_values)
{
    std::vector<int> tails;
    std::vector<int> tailIndex;
    std::vector<int> previous(a_values.size(), -1);
    for (int index = 0; index < int(a_values.size()); ++index) {
        const auto place = std::lower_bound(tails.begin(), tails.end(), a_values[std::size_t(index)]);
        const int length = int(place - tails.begin());
        if (place == tails.end()) {
            tails.push_back(a_values[std::size_t(index)]);
            tailIndex.push_back(index);
        } else {
            *place = a_values[std::size_t(index)];
            tailIndex[std::size_t(length)] = index;
        }
        previous[std::size_t(index)] = length > 0 ? tailIndex[std::size_t(length - 1)] : -1;
    }
    std::vector<bool> kept(a_values.size(), false);
    for (int index = tailIndex.empty() ? -1 : tailIndex.back(); index >= 0;
         index = previous[std::size_t(index)])
        kept[std::size_t(index)] = true;
    return kept;
}

} // namespace

LumexSourceMerge::LumexSourceMerge(const LumexSource& a_source) : m_source(a_source), m_text(a_source.m_text)
{
    const int lineEnd = m_text.indexOf('\n');
    m_newline = lineEnd > 0 && m_text.at(lineEnd - 1) == '\r' ? "\r\n" : "\n";
}

Error LumexSourceMerge::merge(const CamFile& a_document, QByteArray& a_result,
                              const LumexSource::Placeholders& a_placeholders)
{
    m_placeholders.clear();
    m_placeholderLost = false;
    for (const auto& placeholder : a_placeholders)
        m_placeholders.emplace(placeholder.first.m_node, placeholder.second);
    const xmlNode* oldRoot = xmlDocGetRootElement(m_source.m_document);
    const xmlNode* newRoot = a_document.m_document ? xmlDocGetRootElement(a_document.m_document) : nullptr;
    const LumexSource::Place* place = m_source.place(oldRoot);
    if (!newRoot || !place || qualifiedName(oldRoot) != qualifiedName(newRoot))
        return Error("Layout error", "The document has another root than its source.", nullptr);
    m_unit = "  ";
    for (const xmlNode* child = oldRoot->children; child; child = child->next) {
        const LumexSource::Place* childPlace = m_source.place(child);
        if (!childPlace)
            continue;
        const QByteArray indent = indentOf(childPlace->begin);
        if (!indent.isEmpty() && indent.size() > indentOf(place->begin).size())
            m_unit = indent.mid(indentOf(place->begin).size());
        break;
    }
    // The new document holds about as many elements as the source, a few of them holding elements.
    std::size_t slots = 1024;
    while (slots < m_source.m_places.size() / 2)
        slots *= 2;
    m_signatures.assign(slots, {nullptr, 0});
    m_signatureCount = 0;
    m_out.clear();
    m_out.reserve(m_text.size() + m_text.size() / 8);
    m_out += m_text.left(place->begin);
    if (!element(oldRoot, newRoot))
        return Error("Layout error", "An element of the source has no place in its text.", nullptr);
    if (m_placeholderLost)
        return Error("Layout error", "A placeholder has no element of the source to stand for.", nullptr);
    m_out += m_text.mid(place->end);
    a_result = m_out;
    return Error();
}

bool LumexSourceMerge::element(const xmlNode* a_old, const xmlNode* a_new)
{
    const LumexSource::Place* found = m_source.place(a_old);
    if (!found)
        return false;
    const LumexSource::Place place = *found;
    if (signature(a_old) == signature(a_new)) {
        m_out += m_text.mid(place.begin, place.end - place.begin);
        return true;
    }
    // A placeholder holds nothing to write in place of what it stands for.
    if (isPlaceholder(a_new)) {
        m_placeholderLost = true;
        return true;
    }
    const int end = tagEnd(place.begin);
    const bool selfClosing = m_text.at(end - 2) == '/';
    const bool newElements = hasElements(a_new);
    const std::string newText = newElements ? std::string() : content(a_new);
    if (selfClosing) {
        const bool open = newElements || !newText.empty();
        startTag(a_old, a_new, place.begin, end, open);
        if (!open)
            return true;
        if (newElements) {
            const QByteArray indent = indentOf(place.begin);
            for (const xmlNode* child = a_new->children; child; child = child->next) {
                if (child->type != XML_ELEMENT_NODE)
                    continue;
                m_out += m_newline + indent + m_unit;
                laidOut(child, indent + m_unit, true);
            }
            m_out += m_newline + indent;
        } else {
            m_out += escaped(newText, 0);
        }
        m_out += "</" + QByteArray::fromStdString(qualifiedName(a_old)) + '>';
        return true;
    }
    startTag(a_old, a_new, place.begin, end, false);
    const int closing = m_text.lastIndexOf("</", place.end - 1);
    if (!newElements && !hasElements(a_old)) {
        const std::string oldText = a_old->children ? content(a_old) : std::string(sourceValue(place));
        if (newText == oldText || newText == trimmed(oldText))
            m_out += m_text.mid(end, closing - end);
        else
            m_out += escaped(newText, 0);
    } else if (!children(a_old, a_new, end, closing, indentOf(place.begin))) {
        return false;
    }
    m_out += m_text.mid(closing, place.end - closing);
    return true;
}

bool LumexSourceMerge::children(const xmlNode* a_old, const xmlNode* a_new, int a_begin, int a_end,
                                const QByteArray& a_indent)
{
    std::vector<Kid> olds;
    int lowerBound = a_begin;
    for (const xmlNode* child = a_old->children; child; child = child->next) {
        if (child->type != XML_ELEMENT_NODE)
            continue;
        if (!m_source.place(child))
            return false;
        olds.push_back(kid(child, lowerBound));
        lowerBound = olds.back().end;
    }
    std::vector<const xmlNode*> news;
    for (const xmlNode* child = a_new->children; child; child = child->next) {
        if (child->type == XML_ELEMENT_NODE)
            news.push_back(child);
    }
    std::vector<int> oldPair(olds.size(), -1);
    std::vector<int> newPair(news.size(), -1);
    pair(olds, news, oldPair, newPair);

    // Order matters among elements of one name (list instances, table rows, modes): those out of their
    // order in the new document move, the longest run in order stays. Elements of different names keep
    // their places in the file whatever their order.
    std::unordered_map<std::string, std::pair<std::vector<int>, std::vector<int>>> orders;
    for (std::size_t index = 0; index < olds.size(); ++index) {
        const int partner = oldPair[index];
        if (partner >= 0 && !CamProperty::isCopiedNode(news[std::size_t(partner)])) {
            auto& order = orders[qualifiedName(olds[index].node)];
            order.first.push_back(partner);
            order.second.push_back(int(index));
        }
    }
    std::vector<bool> moved(olds.size(), false);
    std::vector<bool> stays(news.size(), false);
    for (const auto& entry : orders) {
        const std::vector<bool> inOrder = longestIncreasing(entry.second.first);
        for (std::size_t index = 0; index < inOrder.size(); ++index) {
            moved[std::size_t(entry.second.second[index])] = !inOrder[index];
            stays[std::size_t(entry.second.first[index])] = inOrder[index];
        }
    }
    for (std::size_t index = 0; index < olds.size(); ++index) {
        if (oldPair[index] >= 0 && CamProperty::isCopiedNode(news[std::size_t(oldPair[index])]))
            stays[std::size_t(oldPair[index])] = true;
    }

    // What is new or moved goes after the nearest element before it that stays, else before the nearest
    // one after it, else at the end.
    std::vector<std::vector<int>> after(olds.size());
    std::vector<std::vector<int>> before(olds.size());
    std::vector<int> atEnd;
    for (int index = 0; index < int(news.size()); ++index) {
        if (stays[std::size_t(index)])
            continue;
        int anchor = index - 1;
        while (anchor >= 0 &&
               (!stays[std::size_t(anchor)] || CamProperty::isCopiedNode(news[std::size_t(anchor)])))
            --anchor;
        if (anchor >= 0) {
            after[std::size_t(newPair[std::size_t(anchor)])].push_back(index);
            continue;
        }
        anchor = index + 1;
        while (anchor < int(news.size()) &&
               (!stays[std::size_t(anchor)] || CamProperty::isCopiedNode(news[std::size_t(anchor)])))
            ++anchor;
        if (anchor < int(news.size()))
            before[std::size_t(newPair[std::size_t(anchor)])].push_back(index);
        else
            atEnd.push_back(index);
    }

    QByteArray childIndent = a_indent + m_unit;
    for (const Kid& old : olds) {
        if (old.lineStart < old.begin) {
            childIndent = old.indent;
            break;
        }
    }
    const auto insert = [&](int a_index, bool a_lineBreak, const QByteArray& a_lineIndent) {
        const xmlNode* node = news[std::size_t(a_index)];
        const int partner = newPair[std::size_t(a_index)];
        if (partner >= 0) {
            const Kid& old = olds[std::size_t(partner)];
            m_out += m_text.mid(old.blockStart, old.begin - old.blockStart);
            return element(old.node, node);
        }
        if (a_lineBreak)
            m_out += m_newline + a_lineIndent;
        laidOut(node, a_lineIndent, a_lineBreak);
        return true;
    };

    int position = a_begin;
    for (std::size_t index = 0; index < olds.size(); ++index) {
        const Kid& old = olds[index];
        const bool removed = oldPair[index] < 0;
        const bool lineBreak = old.lineStart < old.begin;
        int cut = old.begin;
        if (moved[index] || !before[index].empty())
            cut = old.blockStart;
        else if (removed)
            cut = old.lineStart;
        m_out += m_text.mid(position, cut - position);
        for (const int inserted : before[index]) {
            if (!insert(inserted, lineBreak, old.indent))
                return false;
        }
        position = old.end;
        if (removed || moved[index])
            continue;
        m_out += m_text.mid(cut, old.begin - cut);
        if (!element(old.node, news[std::size_t(oldPair[index])]))
            return false;
        for (const int inserted : after[index]) {
            if (!insert(inserted, lineBreak, old.indent))
                return false;
        }
    }
    int tail = a_end;
    while (tail > position && isBlank(m_text.at(tail - 1)))
        --tail;
    m_out += m_text.mid(position, tail - position);
    for (const int inserted : atEnd) {
        if (!insert(inserted, true, childIndent))
            return false;
    }
    if (!atEnd.empty() && tail == a_end)
        m_out += m_newline + a_indent;
    m_out += m_text.mid(tail, a_end - tail);
    return true;
}

void LumexSourceMerge::pair(const std::vector<Kid>& a_old, const std::vector<const xmlNode*>& a_new,
                            std::vector<int>& a_oldPair, std::vector<int>& a_newPair)
{
    const auto join = [&](std::size_t a_oldIndex, std::size_t a_newIndex) {
        a_oldPair[a_oldIndex] = int(a_newIndex);
        a_newPair[a_newIndex] = int(a_oldIndex);
    };
    // Content copied from the file is found in file order.
    std::size_t cursor = 0;
    for (std::size_t index = 0; index < a_new.size(); ++index) {
        if (!CamProperty::isCopiedNode(a_new[index]))
            continue;
        for (std::size_t old = cursor; old < a_old.size(); ++old) {
            if (a_oldPair[old] < 0 && signature(a_old[old].node) == signature(a_new[index])) {
                join(old, index);
                cursor = old + 1;
                break;
            }
        }
    }
    // A mode is itself under its name wherever it went.
    std::unordered_map<std::string, std::size_t> oldModes;
    for (std::size_t old = a_old.size(); old-- > 0;) {
        std::string name;
        if (a_oldPair[old] < 0 && modeName(a_old[old].node, name))
            oldModes[name] = old;
    }
    for (std::size_t index = 0; index < a_new.size() && !oldModes.empty(); ++index) {
        std::string name;
        if (a_newPair[index] >= 0 || !modeName(a_new[index], name))
            continue;
        const auto found = oldModes.find(name);
        if (found != oldModes.end()) {
            join(found->second, index);
            oldModes.erase(found);
        }
    }

    // The rest: the longest common run of unchanged elements, then elements of the same name between.
    std::vector<std::size_t> olds;
    std::vector<std::size_t> news;
    for (std::size_t index = 0; index < a_old.size(); ++index) {
        if (a_oldPair[index] < 0)
            olds.push_back(index);
    }
    for (std::size_t index = 0; index < a_new.size(); ++index) {
        if (a_newPair[index] < 0 && !CamProperty::isCopiedNode(a_new[index]))
            news.push_back(index);
    }
    const auto same = [&](std::size_t a_oldIndex, std::size_t a_newIndex) {
        return signature(a_old[olds[a_oldIndex]].node) == signature(a_new[news[a_newIndex]]);
    };
    std::size_t head = 0;
    while (head < olds.size() && head < news.size() && same(head, head))
        ++head;
    std::size_t oldTail = olds.size();
    std::size_t newTail = news.size();
    while (oldTail > head && newTail > head && same(oldTail - 1, newTail - 1)) {
        --oldTail;
        --newTail;
    }
    std::vector<std::pair<std::size_t, std::size_t>> anchors;
    for (std::size_t index = 0; index < head; ++index)
        anchors.emplace_back(index, index);
    const std::size_t rows = oldTail - head;
    const std::size_t columns = newTail - head;
    if (rows > 0 && columns > 0 && rows * columns <= 4u * 1024u * 1024u) {
        std::vector<unsigned> lengths((rows + 1) * (columns + 1), 0);
        const auto at = [&](std::size_t a_row, std::size_t a_column) -> unsigned& {
            return lengths[a_row * (columns + 1) + a_column];
        };
        for (std::size_t row = rows; row-- > 0;) {
            for (std::size_t column = columns; column-- > 0;) {
                at(row, column) = same(head + row, head + column)
                                      ? at(row + 1, column + 1) + 1
                                      : std::max(at(row + 1, column), at(row, column + 1));
            }
        }
        std::size_t row = 0;
        std::size_t column = 0;
        while (row < rows && column < columns) {
            if (same(head + row, head + column)) {
                anchors.emplace_back(head + row++, head + column++);
            } else if (at(row + 1, column) >= at(row, column + 1)) {
                ++row;
            } else {
                ++column;
            }
        }
    }
    for (std::size_t index = 0; index < olds.size() - oldTail; ++index)
        anchors.emplace_back(oldTail + index, newTail + index);
    for (const auto& anchor : anchors)
        join(olds[anchor.first], news[anchor.second]);

    // Between two anchors, an element of the same name took the place of the old one: its changes are
    // written into it.
    anchors.emplace_back(olds.size(), news.size());
    std::size_t oldStart = 0;
    std::size_t newStart = 0;
    for (const auto& anchor : anchors) {
        std::size_t old = oldStart;
        for (std::size_t index = newStart; index < anchor.second; ++index) {
            const std::string name = qualifiedName(a_new[news[index]]);
            for (std::size_t candidate = old; candidate < anchor.first; ++candidate) {
                if (qualifiedName(a_old[olds[candidate]].node) == name) {
                    join(olds[candidate], news[index]);
                    old = candidate + 1;
                    break;
                }
            }
        }
        oldStart = anchor.first + 1;
        newStart = anchor.second + 1;
    }

    // Elements the file holds out of their schema order are still themselves, changed or not.
    for (const bool byName : {false, true}) {
        for (std::size_t index = 0; index < a_new.size(); ++index) {
            std::string name;
            if (a_newPair[index] >= 0 || CamProperty::isCopiedNode(a_new[index]) ||
                (byName && modeName(a_new[index], name)))
                continue;
            for (std::size_t old = 0; old < a_old.size(); ++old) {
                const bool same = byName ? qualifiedName(a_old[old].node) == qualifiedName(a_new[index])
                                         : signature(a_old[old].node) == signature(a_new[index]);
                if (a_oldPair[old] < 0 && same) {
                    join(old, index);
                    break;
                }
            }
        }
    }
}

void LumexSourceMerge::startTag(const xmlNode* a_old, const xmlNode* a_new, int a_begin, int a_tagEnd,
                                bool a_open)
{
    const Attributes olds = attributes(a_old);
    const Attributes news = attributes(a_new);
    const auto find = [](const Attributes& a_list, const std::string& a_name) {
        return std::find_if(a_list.begin(), a_list.end(),
                            [&](const auto& a_attribute) { return a_attribute.first == a_name; });
    };
    int position = a_begin + 1;
    while (position < a_tagEnd && !isBlank(m_text.at(position)) && m_text.at(position) != '/' &&
           m_text.at(position) != '>')
        ++position;
    m_out += m_text.mid(a_begin, position - a_begin);
    std::vector<std::string> seen;
    int tail = position;
    while (true) {
        const int attributeBegin = position;
        while (position < a_tagEnd && isBlank(m_text.at(position)))
            ++position;
        tail = attributeBegin;
        if (position >= a_tagEnd || m_text.at(position) == '/' || m_text.at(position) == '>')
            break;
        const int nameBegin = position;
        while (m_text.at(position) != '=' && !isBlank(m_text.at(position)))
            ++position;
        const std::string name = m_text.mid(nameBegin, position - nameBegin).toStdString();
        position = m_text.indexOf('=', position) + 1;
        while (isBlank(m_text.at(position)))
            ++position;
        const char quote = m_text.at(position);
        const int valueBegin = position + 1;
        const int valueEnd = m_text.indexOf(quote, valueBegin);
        position = valueEnd + 1;
        seen.push_back(name);
        const auto now = find(news, name);
        if (now == news.end())
            continue;
        const auto was = find(olds, name);
        if (was != olds.end() && was->second == now->second) {
            m_out += m_text.mid(attributeBegin, position - attributeBegin);
        } else {
            m_out += m_text.mid(attributeBegin, valueBegin - attributeBegin);
            m_out += escaped(now->second, quote);
            m_out += quote;
        }
    }
    for (const auto& attribute : news) {
        if (std::find(seen.begin(), seen.end(), attribute.first) == seen.end())
            m_out += ' ' + QByteArray::fromStdString(attribute.first) + "=\"" +
                     escaped(attribute.second, '"') + '"';
    }
    if (a_open)
        m_out += '>';
    else
        m_out += m_text.mid(tail, a_tagEnd - tail);
}

void LumexSourceMerge::laidOut(const xmlNode* a_new, const QByteArray& a_indent, bool a_layout)
{
    if (isPlaceholder(a_new)) {
        m_placeholderLost = true;
        return;
    }
    if (a_new->type == XML_TEXT_NODE) {
        m_out += escaped(reinterpret_cast<const char*>(a_new->content), 0);
        return;
    }
    if (a_new->type == XML_COMMENT_NODE) {
        m_out += "<!--" + QByteArray(reinterpret_cast<const char*>(a_new->content)) + "-->";
        return;
    }
    if (a_new->type != XML_ELEMENT_NODE)
        return;
    const QByteArray name = QByteArray::fromStdString(qualifiedName(a_new));
    m_out += '<' + name;
    for (const auto& attribute : attributes(a_new))
        m_out +=
            ' ' + QByteArray::fromStdString(attribute.first) + "=\"" + escaped(attribute.second, '"') + '"';
    bool anyText = false;
    bool anyElement = false;
    bool anyContent = false;
    for (const xmlNode* child = a_new->children; child; child = child->next) {
        const bool text = child->type == XML_TEXT_NODE;
        const bool blank =
            text && (!child->content || trimmed(reinterpret_cast<const char*>(child->content)).empty());
        anyText = anyText || (text && !blank);
        anyElement = anyElement || child->type == XML_ELEMENT_NODE;
        anyContent = anyContent || !text || (child->content && *child->content);
    }
    if (!anyContent) {
        m_out += "/>";
        return;
    }
    m_out += '>';
    const bool layout = a_layout && anyElement && !anyText;
    for (const xmlNode* child = a_new->children; child; child = child->next) {
        if (layout) {
            if (child->type == XML_TEXT_NODE)
                continue;
            m_out += m_newline + a_indent + m_unit;
        }
        laidOut(child, a_indent + m_unit, layout);
    }
    if (layout)
        m_out += m_newline + a_indent;
    m_out += "</" + name + '>';
}

int LumexSourceMerge::tagEnd(int a_begin) const
{
    char quote = 0;
    for (int position = a_begin + 1; position < m_text.size(); ++position) {
        const char character = m_text.at(position);
        if (quote) {
            if (character == quote)
                quote = 0;
        } else if (character == '"' || character == '\'') {
            quote = character;
        } else if (character == '>') {
            return position + 1;
        }
    }
    return int(m_text.size());
}

LumexSourceMerge::Kid LumexSourceMerge::kid(const xmlNode* a_node, int a_lowerBound) const
{
    const LumexSource::Place& place = *m_source.place(a_node);
    Kid result;
    result.node = a_node;
    result.begin = place.begin;
    result.end = place.end;
    result.lineStart = place.begin;
    result.blockStart = place.begin;
    int position = place.begin;
    while (position > a_lowerBound && (m_text.at(position - 1) == ' ' || m_text.at(position - 1) == '\t'))
        --position;
    if (position <= a_lowerBound || m_text.at(position - 1) != '\n')
        return result;
    result.indent = m_text.mid(position, place.begin - position);
    --position;
    if (position > a_lowerBound && m_text.at(position - 1) == '\r')
        --position;
    result.lineStart = position;
    result.blockStart = position;
    // Comments on the lines directly above belong to the element.
    while (true) {
        int end = result.blockStart;
        while (end > a_lowerBound && (m_text.at(end - 1) == ' ' || m_text.at(end - 1) == '\t'))
            --end;
        if (end - a_lowerBound < 7 || m_text.mid(end - 3, 3) != "-->")
            break;
        const int open = m_text.lastIndexOf("<!--", end - 3);
        if (open < a_lowerBound)
            break;
        int start = open;
        while (start > a_lowerBound && (m_text.at(start - 1) == ' ' || m_text.at(start - 1) == '\t'))
            --start;
        if (start <= a_lowerBound || m_text.at(start - 1) != '\n')
            break;
        --start;
        if (start > a_lowerBound && m_text.at(start - 1) == '\r')
            --start;
        result.blockStart = start;
    }
    return result;
}

std::string_view LumexSourceMerge::sourceValue(const LumexSource::Place& a_place) const
{
    const int closing = m_source.closingTag(a_place);
    return closing > a_place.inner
               ? std::string_view(m_text.constData() + a_place.inner, std::size_t(closing - a_place.inner))
               : std::string_view();
}

QByteArray LumexSourceMerge::indentOf(int a_begin) const
{
    int position = a_begin;
    while (position > 0 && (m_text.at(position - 1) == ' ' || m_text.at(position - 1) == '\t'))
        --position;
    if (position > 0 && m_text.at(position - 1) != '\n')
        return QByteArray();
    return m_text.mid(position, a_begin - position);
}

bool LumexSourceMerge::isPlaceholder(const xmlNode* a_node) const
{
    return !m_placeholders.empty() && m_placeholders.count(a_node) != 0;
}

std::size_t LumexSourceMerge::elementSignature(const xmlNode* a_node)
{
    if (m_signatures.empty())
        m_signatures.assign(64, {nullptr, 0});
    return signature(a_node);
}

std::size_t LumexSourceMerge::signature(const xmlNode* a_node)
{
    const LumexSource::Place* place = a_node->doc == m_source.m_document ? m_source.place(a_node) : nullptr;
    if (place && place->signature != 0)
        return place->signature;
    if (!place && !m_placeholders.empty()) {
        const auto placeholder = m_placeholders.find(a_node);
        if (placeholder != m_placeholders.end())
            return placeholder->second;
    }
    // Of the new document only elements holding elements are remembered: a value's signature is made
    // again for less than a look-up in a table of every element, which missed the cache twice for each.
    const bool holdsElements = hasElements(a_node);
    std::pair<const xmlNode*, std::size_t>* slot = place || !holdsElements ? nullptr : signatureSlot(a_node);
    if (slot && slot->first)
        return slot->second;
    // A copied element carries its prefix in its name, a parsed one in its namespace: both hash alike.
    std::size_t name = s_fnvOffset;
    if (a_node->ns && a_node->ns->prefix)
        name = fnv(fnv(name, bytes(reinterpret_cast<const char*>(a_node->ns->prefix))), ":");
    std::size_t result = mixed(0, fnv(name, bytes(reinterpret_cast<const char*>(a_node->name))));
    if (a_node->properties || a_node->nsDef) {
        Attributes attributes = this->attributes(a_node);
        std::sort(attributes.begin(), attributes.end());
        for (const auto& attribute : attributes)
            result = mixed(mixed(result, attribute.first), attribute.second);
    }
    if (holdsElements) {
        for (const xmlNode* child = a_node->children; child; child = child->next) {
            if (child->type == XML_ELEMENT_NODE)
                result = mixed(result, signature(child));
        }
    } else {
        std::string buffer;
        const std::string_view childless = place ? sourceValue(*place) : std::string_view();
        result = mixed(mixed(result, std::size_t(3)), valueText(a_node, childless, buffer));
    }
    if (place)
        place->signature = result;
    else if (holdsElements)
        storeSignature(a_node, result);
    return result;
}

std::pair<const xmlNode*, std::size_t>* LumexSourceMerge::signatureSlot(const xmlNode* a_node)
{
    // Open addressing over a power of two: one probe is usually one cache line, where a node-based map
    // took two misses and a division per look-up, and every element is looked up several times.
    const std::size_t mask = m_signatures.size() - 1;
    std::size_t at = (reinterpret_cast<std::uintptr_t>(a_node) >> 4) * 0x9e3779b97f4a7c15ull >> 20 & mask;
    while (m_signatures[at].first && m_signatures[at].first != a_node)
        at = (at + 1) & mask;
    return &m_signatures[at];
}

void LumexSourceMerge::storeSignature(const xmlNode* a_node, std::size_t a_signature)
{
    if (2 * (m_signatureCount + 1) > m_signatures.size()) {
        std::vector<std::pair<const xmlNode*, std::size_t>> old(2 * m_signatures.size(), {nullptr, 0});
        old.swap(m_signatures);
        for (const auto& entry : old) {
            if (entry.first)
                *signatureSlot(entry.first) = entry;
        }
    }
    std::pair<const xmlNode*, std::size_t>* slot = signatureSlot(a_node);
    if (!slot->first)
        ++m_signatureCount;
    *slot = {a_node, a_signature};
}

LumexSourceMerge::Attributes LumexSourceMerge::attributes(const xmlNode* a_node) const
{
    Attributes result;
    for (const xmlNs* declaration = a_node->nsDef; declaration; declaration = declaration->next) {
        std::string name = "xmlns";
        if (declaration->prefix)
            name += std::string(":") + reinterpret_cast<const char*>(declaration->prefix);
        result.emplace_back(name, declaration->href ? reinterpret_cast<const char*>(declaration->href) : "");
    }
    for (const xmlAttr* attribute = a_node->properties; attribute; attribute = attribute->next) {
        std::string name = reinterpret_cast<const char*>(attribute->name);
        if (attribute->ns && attribute->ns->prefix)
            name = std::string(reinterpret_cast<const char*>(attribute->ns->prefix)) + ':' + name;
        xmlChar* value = xmlNodeListGetString(a_node->doc, attribute->children, 1);
        result.emplace_back(name, value ? reinterpret_cast<const char*>(value) : "");
        xmlFree(value);
    }
    return result;
}

} // namespace Lumex
