#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Lumex {

// The error part shared by results and read-only handles: a chain of diagnostics and the position of
// the current one. Copies share the chain; it is copied only when a shared chain is extended, so
// results stay cheap to pass around by value.
class ErrorHandlerBase
{
public:
    ErrorHandlerBase();
    ErrorHandlerBase(const ErrorHandlerBase& a_other);
    ErrorHandlerBase& operator=(const ErrorHandlerBase& a_other);
    virtual ~ErrorHandlerBase();

    // True when a diagnostic is recorded at the current position.
    bool operator!() const;

protected:
    struct Diagnostic
    {
        std::optional<std::string> name;
        std::optional<std::string> message;
        std::optional<std::string> comment;
    };

    void error_clone(const ErrorHandlerBase& a_other);
    // Null texts stay null, so that readers can tell "no text" from "empty text".
    void error_record(const char* a_name, const char* a_message, const char* a_comment);
    // Appends the diagnostics of a_other from its current position on.
    void error_record(const ErrorHandlerBase& a_other);
    const Diagnostic* error_current() const;
    void error_step();
    std::size_t error_remaining() const;

private:
    std::shared_ptr<std::vector<Diagnostic>> m_chain;
    std::size_t m_position = 0;
};

} // namespace Lumex
