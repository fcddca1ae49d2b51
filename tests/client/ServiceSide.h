#pragma once

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <sys/socket.h>

#include "socket/ServerSocket.h"
#include "tests/support/TemporaryDirectory.h"

/// A test that plays the service, with the server side of the socket library. It works in a directory of its
/// own, because the path of a socket is short.
class ServiceSideTest : public testing::Test
{
protected:
    using Connection = Poco::SharedPtr<VORNA::ServerSocket>;

    ServiceSideTest() { std::filesystem::current_path(_directory.path()); }
    ~ServiceSideTest() override { std::filesystem::current_path("/"); }

    void listen(int backlog = 5)
    {
        _server.reset(new VORNA::ServerSocket(AF_UNIX, SOCK_STREAM));
        _server->bind("socket");
        _server->listen(backlog);
    }

    /// Waits until a client has a place in the queue.
    void waitForClient() { EXPECT_GT(_server->select(3000), 0); }

    /// Ends as a service does that dies while a client waits in its queue.
    void abandonClient()
    {
        waitForClient();
        _server.reset();
    }

    /// The next client; the test ends if there is none within some seconds.
    Connection accept()
    {
        if (_server->select(3000) <= 0) {
            throw std::runtime_error("no client has connected");
        }
        return _server->accept();
    }

    /// The next client, when it has sent `request` and waits for its reply.
    Connection accept(std::string& request)
    {
        Connection connection = accept();
        connection->read(request);
        return connection;
    }

    /// Serves one client as the service does; what it asked.
    std::string serve(const std::string& reply)
    {
        std::string request;
        accept(request)->send(reply, 0);
        return request;
    }

private:
    TemporaryDirectory _directory;
    std::unique_ptr<VORNA::ServerSocket> _server;
};
