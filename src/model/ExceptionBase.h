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

// Where in a camera file a failure was found and what is wrong there, in words for the user rather
// than the developer; the window builds its message from these. Every part may be unknown (empty, 0).
struct FailurePlace
{
    QString m_file;
    unsigned m_line = 0;
    QString m_mode;
    // The feature's elements below its mode or the camera, joined by "/", such as "Sensor/Width".
    QString m_featurePath;
    QString m_problem;
};

class ExceptionBase : public std::exception
{
public:
    ExceptionBase(const ExceptionBase& a_other) = default;
    ExceptionBase& operator=(const ExceptionBase& a_other) = default;
    ~ExceptionBase() override;

    const char* what() const noexcept override;

    const FailurePlace& place() const { return m_place; }
    void setPlace(const FailurePlace& a_place) { m_place = a_place; }

protected:
    explicit ExceptionBase(const ExceptionDescription& a_description);

private:
    std::string m_text;
    FailurePlace m_place;
};

// The exception with a_place added, for throw sites that know where in the file they are.
template <class Kind>
Kind placed(Kind a_exception, const FailurePlace& a_place)
{
    a_exception.setPlace(a_place);
    return a_exception;
}

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

// The same, with the place in the file (a FailurePlace) that the user's message names.
#define ORVEX_THROW_AT(KindType, message, place)                                                             \
    throw ::Orvex::placed(                                                                                   \
        KindType(::Orvex::ExceptionDescription(                                                              \
            KindType::kindName(), ::Orvex::ExceptionDescription::messageText(message), __FILE__,             \
            ::Orvex::ExceptionDescription::qualifiedFunctionName(ORVEX_FUNCTION_SIGNATURE),                  \
            static_cast<unsigned>(__LINE__))),                                                               \
        place)
