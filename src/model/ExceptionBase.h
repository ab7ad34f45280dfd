#pragma once

#include <QByteArray>
#include <QString>

#include <exception>
#include <string>

namespace Orvex {

// Everything a throw site knows, composed once into the text the user will read; the exception
// keeps only that text.
struct ExceptionDescription
{
    ExceptionDescription(const char* a_kind, std::string a_message, const char* a_sourceFile,
                         std::string a_functionName, unsigned a_line);

    std::string m_text;
    std::string m_message;
    std::string m_fileName;
    std::string m_functionName;
    unsigned m_line = 0;

    // The name without its directory part, whichever separator the build used.
    static std::string strippedFileName(const char* a_sourceFile);

    // Reduces a compiler's function signature (return type, parameters, qualifiers, template
    // bindings) to the qualified name a user can look up, such as "Orvex::SchemaParser::goToChild".
    static std::string qualifiedFunctionName(const char* a_signature);

    static std::string messageText(const QString& a_message) { return a_message.toStdString(); }
    static std::string messageText(const QByteArray& a_message) { return a_message.toStdString(); }
    static std::string messageText(const std::string& a_message) { return a_message; }
    static std::string messageText(const char* a_message) { return a_message ? a_message : ""; }
};

class ExceptionBase : public std::exception
{
public:
    ExceptionBase(const ExceptionBase& a_other) = default;
    ExceptionBase& operator=(const ExceptionBase& a_other) = default;
    ~ExceptionBase() override;

    const char* what() const noexcept override;

protected:
    explicit ExceptionBase(const ExceptionDescription& a_description);

private:
    std::string m_text;
};

} // namespace Orvex

// Declares a kind of the family, in a class body (public section) or at namespace scope. A kind
// exists only so that handlers can tell failures apart by type.
#define ORVEX_DECLARE_EXCEPTION(Kind)                                                                        \
    class Kind : public ::Orvex::ExceptionBase                                                               \
    {                                                                                                        \
    public:                                                                                                  \
        static constexpr const char* kindName() { return #Kind; }                                            \
        explicit Kind(const ::Orvex::ExceptionDescription& a_description)                                    \
            : ::Orvex::ExceptionBase(a_description)                                                          \
        {                                                                                                    \
        }                                                                                                    \
    }

#if defined(_MSC_VER)
#define ORVEX_FUNCTION_SIGNATURE __FUNCSIG__
#else
#define ORVEX_FUNCTION_SIGNATURE __PRETTY_FUNCTION__
#endif

// Throws the kind with a message (QString, QByteArray, std::string or UTF-8 const char*), naming the
// enclosing function, the source file and the line.
#define ORVEX_THROW(KindType, message)                                                                       \
    throw KindType(::Orvex::ExceptionDescription(                                                            \
        KindType::kindName(), ::Orvex::ExceptionDescription::messageText(message), __FILE__,                 \
        ::Orvex::ExceptionDescription::qualifiedFunctionName(ORVEX_FUNCTION_SIGNATURE),                      \
        static_cast<unsigned>(__LINE__)))
