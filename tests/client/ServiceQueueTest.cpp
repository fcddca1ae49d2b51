#include "client/service/ServiceQueue.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>

#include "socket/ClientSocket.h"
#include "tests/client/ServiceSide.h"

namespace {

class QueuedClient : public VORNA::ClientSocket
{
public:
    QueuedClient()
        : ClientSocket(AF_UNIX, SOCK_STREAM)
    {
        connect("socket");
    }
    using VORNA::Socket::fd;
};

/// While it lives, this process can open nothing more.
class NoMoreDescriptors
{
public:
    NoMoreDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &_before);
        const rlimit none{0, _before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &_before); }
    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

private:
    rlimit _before = {};
};

class ServiceQueueTest : public ServiceSideTest
{
};

TEST_F(ServiceQueueTest, HoldsEachClientUntilItIsAccepted)
{
    listen();
    const QueuedClient first;
    const QueuedClient second;
    EXPECT_TRUE(waitsInQueue(first.fd));
    EXPECT_TRUE(waitsInQueue(second.fd));
    const Connection connection = accept();
    EXPECT_FALSE(waitsInQueue(first.fd));
    EXPECT_TRUE(waitsInQueue(second.fd));
    const Connection other = accept();
    EXPECT_FALSE(waitsInQueue(second.fd));
}

TEST_F(ServiceQueueTest, HoldsNobodyOfWhomTheKernelSaysNothing)
{
    EXPECT_FALSE(waitsInQueue(-1));
    const int file = open(".", O_RDONLY | O_CLOEXEC);
    EXPECT_FALSE(waitsInQueue(file));
    close(file);
    listen();
    const QueuedClient client;
    ASSERT_TRUE(waitsInQueue(client.fd));
    const NoMoreDescriptors none;
    EXPECT_FALSE(waitsInQueue(client.fd));
}

TEST_F(ServiceQueueTest, KeepsNoDescriptors)
{
    listen();
    const QueuedClient client;
    const int before = dup(client.fd);
    close(before);
    EXPECT_TRUE(waitsInQueue(client.fd));
    const int after = dup(client.fd);
    close(after);
    EXPECT_EQ(after, before);
}

} // namespace
