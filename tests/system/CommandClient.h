#pragma once

#include <string>

/// A client of the command socket that does exactly what the test asks for. Every failure throws
/// std::system_error.
class CommandClient
{
public:
    /// Connects; waits while the service's queue is full.
    CommandClient();
    ~CommandClient();
    CommandClient(const CommandClient&) = delete;
    CommandClient& operator=(const CommandClient&) = delete;

    /// From here on it can send requests whose reply the service's own buffer does not take.
    void enlargeBuffer() const;
    void send(const std::string& bytes) const;
    void endRequest() const;
    /// Reads until the service closes the connection.
    std::string reply() const;

private:
    int _socket = -1;
};

/// One request and its reply.
std::string ask(const std::string& request);
