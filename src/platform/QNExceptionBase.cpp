#include "platform/QNExceptionBase.h"

#include "platform/QNDriver.h"

#include <cstdio>
#include <utility>

QNExceptionBase::QNExceptionBase(std::string a_message, int a_code)
    : m_message(std::move(a_message)), m_code(a_code)
{
}

QNExceptionBase::~QNExceptionBase() = default;

const char* QNExceptionBase::what() const noexcept
{
    return m_message.c_str();
}

int QNExceptionBase::code() const noexcept
{
    return m_code;
}

void QNExceptionBase::throwOnFailure(int a_status, const char* a_call)
{
    if (a_status == QNStatusOk)
        return;
    char code[16];
    std::snprintf(code, sizeof code, "0x%X", static_cast<unsigned>(a_status));
    throw QNExceptionBase(std::string(a_call ? a_call : "driver call") +
                              " failed: " + QNStatusText(a_status) + " (" + code + ")",
                          a_status);
}
