#include "platform/ErrorHandlerBase.h"

namespace Lumex {

namespace {

std::optional<std::string> optionalText(const char* a_text)
{
    if (!a_text)
        return std::nullopt;
    return std::string(a_text);
}

} // namespace

ErrorHandlerBase::ErrorHandlerBase() = default;

ErrorHandlerBase::ErrorHandlerBase(const ErrorHandlerBase& a_other)
{
    error_clone(a_other);
}

ErrorHandlerBase& ErrorHandlerBase::operator=(const ErrorHandlerBase& a_other)
{
    if (this != &a_other)
        error_clone(a_other);
    return *this;
}

ErrorHandlerBase::~ErrorHandlerBase() = default;

bool ErrorHandlerBase::operator!() const
{
    return error_remaining() > 0;
}

void ErrorHandlerBase::error_clone(const ErrorHandlerBase& a_other)
{
    m_chain = a_other.m_chain;
    m_position = a_other.m_position;
}

void ErrorHandlerBase::error_record(const char* a_name, const char* a_message, const char* a_comment)
{
    Diagnostic diagnostic{optionalText(a_name), optionalText(a_message), optionalText(a_comment)};
    // Other copies may be reading the shared chain, so extend a private copy of what is still ahead.
    if (!m_chain || m_chain.use_count() > 1) {
        auto chain = std::make_shared<std::vector<Diagnostic>>();
        if (m_chain)
            chain->assign(m_chain->begin() + static_cast<std::ptrdiff_t>(m_position), m_chain->end());
        m_chain = std::move(chain);
        m_position = 0;
    }
    m_chain->push_back(std::move(diagnostic));
}

void ErrorHandlerBase::error_record(const ErrorHandlerBase& a_other)
{
    if (a_other.error_remaining() == 0)
        return;
    if (error_remaining() == 0) {
        error_clone(a_other);
        return;
    }
    // Copy first: a_other may share our chain, which the first append would replace.
    const std::vector<Diagnostic> others(
        a_other.m_chain->begin() + static_cast<std::ptrdiff_t>(a_other.m_position), a_other.m_chain->end());
    for (const Diagnostic& diagnostic : others) {
        error_record(nullptr, nullptr, nullptr);
        m_chain->back() = diagnostic;
    }
}

const ErrorHandlerBase::Diagnostic* ErrorHandlerBase::error_current() const
{
    if (error_remaining() == 0)
        return nullptr;
    return &(*m_chain)[m_position];
}

void ErrorHandlerBase::error_step()
{
    if (error_remaining() > 0)
        ++m_position;
}

std::size_t ErrorHandlerBase::error_remaining() const
{
    if (!m_chain || m_position >= m_chain->size())
        return 0;
    return m_chain->size() - m_position;
}

} // namespace Lumex
