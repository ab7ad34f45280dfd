#pragma once

#include "platform/ErrorHandlerBase.h"

namespace Lumex {

// The result of every markup operation that can fail. A default-constructed Error is a success; a
// failed one holds a chain of diagnostics (a failed load holds one per problem, in document order).
// name(), message() and comment() read the current diagnostic; skip_next() yields the chain positioned
// at the next one, which is true once no diagnostic remains. The texts stay valid as long as any copy
// of the chain lives.
class Error : public ErrorHandlerBase
{
public:
    enum ErrorCodes
    {
        NextError = 1
    };

    Error();
    // A failed result with one diagnostic; any text may be null.
    Error(const char* a_name, const char* a_message, const char* a_comment);
    explicit Error(const ErrorHandlerBase& a_source);
    Error(const Error& a_other);
    Error& operator=(const Error& a_other);
    ~Error() override;

    operator bool() const;

    const char* name() const;
    const char* message() const;
    const char* comment() const;

    Error skip_next(ErrorCodes a_code) const;
    Error skip_next(int a_code) const;

    // Appends the diagnostics of a_other, from its current one on, to the end of this chain.
    void append(const Error& a_other);
    void append(const char* a_name, const char* a_message, const char* a_comment);
    // Number of diagnostics from the current one to the end of the chain.
    unsigned count() const;
};

} // namespace Lumex
