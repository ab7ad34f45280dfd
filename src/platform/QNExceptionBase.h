#pragma once

#include <exception>
#include <string>

// What the board libraries throw: a text for the log and the driver's status code.
class QNExceptionBase : public std::exception
{
public:
    QNExceptionBase(std::string a_message, int a_code);
    QNExceptionBase(const QNExceptionBase& a_other) = default;
    QNExceptionBase& operator=(const QNExceptionBase& a_other) = default;
    ~QNExceptionBase() override;

    const char* what() const noexcept override;
    int code() const noexcept;

    // Turns a failed driver call into an exception naming the call and the status; success passes.
    static void throwOnFailure(int a_status, const char* a_call);

private:
    std::string m_message;
    int m_code = 0;
};
