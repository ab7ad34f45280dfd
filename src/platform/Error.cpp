#include "platform/Error.h"

namespace Lumex {

namespace {

const char* text(const std::optional<std::string>& a_text)
{
    return a_text ? a_text->c_str() : nullptr;
}

} // namespace

Error::Error() = default;

Error::Error(const char* a_name, const char* a_message, const char* a_comment)
{
    error_record(a_name, a_message, a_comment);
}

Error::Error(const ErrorHandlerBase& a_source) : ErrorHandlerBase(a_source)
{
}

Error::Error(const Error& a_other) = default;

Error& Error::operator=(const Error& a_other) = default;

Error::~Error() = default;

Error::operator bool() const
{
    return error_remaining() == 0;
}

const char* Error::name() const
{
    const Diagnostic* current = error_current();
    return current ? text(current->name) : nullptr;
}

const char* Error::message() const
{
    const Diagnostic* current = error_current();
    return current ? text(current->message) : nullptr;
}

const char* Error::comment() const
{
    const Diagnostic* current = error_current();
    return current ? text(current->comment) : nullptr;
}

Error Error::skip_next(ErrorCodes a_code) const
{
    return skip_next(static_cast<int>(a_code));
}

// Stepping to the next diagnostic is the only code there is; any value steps.
Error Error::skip_next(int) const
{
    Error next(*this);
    next.error_step();
    return next;
}

void Error::append(const Error& a_other)
{
    error_record(a_other);
}

void Error::append(const char* a_name, const char* a_message, const char* a_comment)
{
    error_record(a_name, a_message, a_comment);
}

unsigned Error::count() const
{
    return static_cast<unsigned>(error_remaining());
}

} // namespace Lumex
