#include "model/ExceptionBase.h"

#include <cctype>
#include <cstring>
#include <utility>

namespace Orvex {

namespace {

bool isIdentifierChar(char a_c)
{
    return std::isalnum(static_cast<unsigned char>(a_c)) || a_c == '_' || a_c == '$';
}

bool isOperatorSymbol(char a_c)
{
    return std::strchr("+-*/%^&|~!=<>,", a_c) != nullptr && a_c != '\0';
}

bool isOpening(char a_c)
{
    return a_c == '(' || a_c == '[' || a_c == '{' || a_c == '<';
}

// "->" inside a decltype is an arrow, not the end of a template argument list.
bool isClosing(const std::string& a_text, std::size_t a_pos)
{
    const char c = a_text[a_pos];
    if (c == '>')
        return a_pos == 0 || a_text[a_pos - 1] != '-';
    return c == ')' || c == ']' || c == '}';
}

std::size_t matchingClose(const std::string& a_text, std::size_t a_open)
{
    int depth = 0;
    for (std::size_t i = a_open; i < a_text.size(); ++i) {
        if (isOpening(a_text[i])) {
            ++depth;
        } else if (isClosing(a_text, i)) {
            if (--depth == 0)
                return i;
        }
    }
    return std::string::npos;
}

bool isWordAt(const std::string& a_text, std::size_t a_pos, const char* a_word)
{
    const std::size_t length = std::strlen(a_word);
    if (a_text.compare(a_pos, length, a_word) != 0)
        return false;
    if (a_pos > 0 && isIdentifierChar(a_text[a_pos - 1]))
        return false;
    return a_pos + length >= a_text.size() || !isIdentifierChar(a_text[a_pos + length]);
}

std::string wordBefore(const std::string& a_text, std::size_t a_pos)
{
    std::size_t end = a_pos;
    while (end > 0 && a_text[end - 1] == ' ')
        --end;
    std::size_t begin = end;
    while (begin > 0 && isIdentifierChar(a_text[begin - 1]))
        --begin;
    return a_text.substr(begin, end - begin);
}

// Skips what follows the keyword "operator" so that its symbols and the spaces of a conversion
// type are read as part of the name: "operator()", "operator<<", "operator QString", "operator new[]".
std::size_t skipOperatorName(const std::string& a_text, std::size_t a_pos)
{
    std::size_t i = a_pos;
    while (i < a_text.size() && a_text[i] == ' ')
        ++i;
    if (i + 1 < a_text.size() && a_text[i] == '(' && a_text[i + 1] == ')')
        return i + 2;
    if (i < a_text.size() && isOperatorSymbol(a_text[i])) {
        while (i < a_text.size() && isOperatorSymbol(a_text[i]))
            ++i;
        if (i + 1 < a_text.size() && a_text[i] == '[' && a_text[i + 1] == ']')
            i += 2;
        return i;
    }
    int depth = 0;
    for (; i < a_text.size(); ++i) {
        const char c = a_text[i];
        if (c == '(' && depth == 0)
            break;
        if (isOpening(c))
            ++depth;
        else if (isClosing(a_text, i) && depth > 0)
            --depth;
    }
    return i;
}

std::string cleanedName(std::string a_name)
{
    // GCC's ABI tags ("name[abi:cxx11]") are not part of the name a reader looks up.
    for (std::size_t tag = a_name.find("[abi:"); tag != std::string::npos; tag = a_name.find("[abi:", tag)) {
        const std::size_t end = a_name.find(']', tag);
        a_name.erase(tag, end == std::string::npos ? std::string::npos : end - tag + 1);
    }
    std::size_t begin = 0;
    while (begin < a_name.size() && (a_name[begin] == '*' || a_name[begin] == '&' || a_name[begin] == ' '))
        ++begin;
    std::size_t end = a_name.size();
    while (end > begin && a_name[end - 1] == ' ')
        --end;
    return a_name.substr(begin, end - begin);
}

std::string extractName(const std::string& a_signature)
{
    std::size_t nameStart = 0;
    int depth = 0;
    std::size_t i = 0;
    while (i < a_signature.size()) {
        const char c = a_signature[i];
        if (depth == 0 && isWordAt(a_signature, i, "operator")) {
            i = skipOperatorName(a_signature, i + std::strlen("operator"));
            continue;
        }
        if (c == '(' && depth == 0) {
            const std::size_t close = matchingClose(a_signature, i);
            if (close == std::string::npos)
                break;
            // A lambda is reported as the function that holds it: "Ns::f()::<lambda(int)>" (GCC),
            // "Ns::f()::(anonymous class)::operator()" (Clang).
            const std::string before = wordBefore(a_signature, i);
            if (i > 0 && isIdentifierChar(a_signature[i - 1]) &&
                a_signature.compare(close + 1, 2, "::") == 0 && close + 3 < a_signature.size() &&
                (a_signature[close + 3] == '<' || a_signature[close + 3] == '('))
                return cleanedName(a_signature.substr(nameStart, i - nameStart));
            // "(anonymous namespace)::f" names a scope; "decltype(x) f" belongs to the return type.
            if (a_signature.compare(close + 1, 2, "::") == 0 || before == "decltype" ||
                before == "__typeof__" || before == "typeof") {
                i = close + 1;
                continue;
            }
            std::size_t inner = i + 1;
            while (inner < close && a_signature[inner] == ' ')
                ++inner;
            // A function that returns a function pointer: "void (* Ns::f(int))(double)".
            if (inner < close && (a_signature[inner] == '*' || a_signature[inner] == '&'))
                return extractName(a_signature.substr(inner, close - inner));
            return cleanedName(a_signature.substr(nameStart, i - nameStart));
        }
        if (isOpening(c))
            ++depth;
        else if (isClosing(a_signature, i) && depth > 0)
            --depth;
        else if (c == ' ' && depth == 0)
            nameStart = i + 1;
        ++i;
    }
    return cleanedName(a_signature.substr(nameStart));
}

} // namespace

ExceptionDescription::ExceptionDescription(const char* a_kind, std::string a_message,
                                           const char* a_sourceFile, std::string a_functionName,
                                           unsigned a_line)
    : m_message(std::move(a_message)), m_fileName(strippedFileName(a_sourceFile)),
      m_functionName(std::move(a_functionName)), m_line(a_line)
{
    m_text = std::string(a_kind ? a_kind : "") + " thrown from " + m_functionName + " in " + m_fileName +
             "[" + std::to_string(m_line) + "]: " + m_message;
}

std::string ExceptionDescription::strippedFileName(const char* a_sourceFile)
{
    const std::string name = a_sourceFile ? a_sourceFile : "";
    const std::size_t separator = name.find_last_of("/\\");
    return separator == std::string::npos ? name : name.substr(separator + 1);
}

std::string ExceptionDescription::qualifiedFunctionName(const char* a_signature)
{
    return a_signature ? extractName(a_signature) : std::string();
}

ExceptionBase::ExceptionBase(const ExceptionDescription& a_description) : m_text(a_description.m_text)
{
}

ExceptionBase::~ExceptionBase() = default;

const char* ExceptionBase::what() const noexcept
{
    return m_text.c_str();
}

} // namespace Orvex
