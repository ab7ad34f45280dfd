#pragma once

// What the schema parser's files share: reading helpers over the markup layer and the guard that
// keeps the reading position. Only the schema parser's own sources include this.

#include "board/RegisterFeatureWiring.h"
#include "elements/WindowElement.h"
#include "fileio/SchemaParser.h"
#include "fileio/SchemaParserHintNode.h"

#include <QString>

#include <optional>

namespace Orvex {
namespace SchemaReading {

constexpr unsigned s_nonElementKinds =
    Lumex::CamProperty::CommentNode | Lumex::CamProperty::OtherNode | Lumex::CamProperty::TextNode;

inline QString text(const char* a_utf8)
{
    return QString::fromUtf8(a_utf8 ? a_utf8 : "");
}

inline QString nodeName(const Lumex::ConstCamProperty& a_node)
{
    return text(a_node.name());
}

// Where the path hints place a register write's address or data, if anywhere.
inline std::optional<RegisterFeatureWiring::Role> registerRole(unsigned a_flags)
{
    if (a_flags & SchemaParserHintNode::BoardRegisterAddress)
        return RegisterFeatureWiring::BoardRegisterAddress;
    if (a_flags & SchemaParserHintNode::BoardRegisterData)
        return RegisterFeatureWiring::BoardRegisterData;
    if (a_flags & (SchemaParserHintNode::CameraRegisterBeforeAddress |
                   SchemaParserHintNode::CameraRegisterAfterAddress))
        return RegisterFeatureWiring::CameraRegisterAddress;
    if (a_flags &
        (SchemaParserHintNode::CameraRegisterBeforeData | SchemaParserHintNode::CameraRegisterAfterData))
        return RegisterFeatureWiring::CameraRegisterData;
    return std::nullopt;
}

inline bool nodeAttribute(const Lumex::ConstCamProperty& a_node, const char* a_name, QString* a_value)
{
    const char* value = nullptr;
    if (!a_node.get(a_name, value))
        return false;
    if (a_value)
        *a_value = text(value);
    return true;
}

} // namespace SchemaReading

// Every reading step leaves the position where it found it, however it ends.
class SchemaParser::PositionGuard
{
public:
    explicit PositionGuard(SchemaParser* a_parser) : m_parser(a_parser) { m_parser->savePosition(); }
    ~PositionGuard() { m_parser->restorePosition(); }
    PositionGuard(const PositionGuard&) = delete;
    PositionGuard& operator=(const PositionGuard&) = delete;

private:
    SchemaParser* m_parser;
};

} // namespace Orvex
