#pragma once

#include <exception>
#include <string>

/// The error contract of the socket library: every failure is thrown as one of these classes, and nothing is
/// logged. Whoever calls decides what to do and what to write down. A failure that an operation absorbs on
/// purpose is named where that operation is declared.
///
/// `name()` is the name of the class, `message()` says what failed; `what()` stays that of std::exception.
namespace VORNA {

class Exception : public std::exception
{
public:
    // A thrown object must not throw again while it is copied: running out of memory here ends the process.
    Exception(const Exception& other) noexcept = default;
    Exception& operator=(const Exception& other) = default;
    ~Exception() override = default;

    const std::string& name() const noexcept { return _name; }
    const std::string& message() const noexcept { return _message; }

protected:
    Exception(const char* name, const std::string& message)
        : _name(name)
        , _message(message)
    {
    }

    static std::string inParentheses(int number) { return "(" + std::to_string(number) + ")"; }

private:
    std::string _name;
    std::string _message;
};

/// A socket could not be created or made to listen; base of everything else that goes wrong with a socket.
class SocketException : public Exception
{
public:
    explicit SocketException(const std::string& message)
        : SocketException("SocketException", message)
    {
    }

protected:
    using Exception::Exception;
};

/// No operation works on this descriptor. The message is the descriptor in parentheses.
class EInvalidSocket : public SocketException
{
public:
    explicit EInvalidSocket(int fd)
        : SocketException("EInvalidSocket", inParentheses(fd))
    {
    }
};

class SocketBindingException : public SocketException
{
public:
    explicit SocketBindingException(const std::string& message)
        : SocketException("SocketBindingException", message)
    {
    }
};

/// `error()` is the errno that the message ends in; 0 if it was thrown without one.
class SocketConnectingException : public SocketException
{
public:
    explicit SocketConnectingException(const std::string& message, int error = 0)
        : SocketException("SocketConnectingException", message)
        , _error(error)
    {
    }

    int error() const noexcept { return _error; }

private:
    int _error;
};

/// The message is the result of the system call in parentheses, not the errno.
class ESetReceiveTimeout : public SocketException
{
public:
    explicit ESetReceiveTimeout(int result)
        : SocketException("ESetReceiveTimeout", inParentheses(result))
    {
    }
};

/// The message is the result of the system call in parentheses, not the errno.
class ESetSendTimeout : public SocketException
{
public:
    explicit ESetSendTimeout(int result)
        : SocketException("ESetSendTimeout", inParentheses(result))
    {
    }
};

class ESocketRead : public SocketException
{
public:
    explicit ESocketRead(const std::string& message)
        : SocketException("ESocketRead", message)
    {
    }
};

class ESocketWrite : public SocketException
{
public:
    explicit ESocketWrite(const std::string& message)
        : SocketException("ESocketWrite", message)
    {
    }
};

} // namespace VORNA
