#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include <sys/socket.h>
#include <unistd.h>

#include "socket/Socket.h"
#include "tests/fuzz/Require.h"

/// The input is a list of 16-bit numbers. The first is the size to read (0: one message), the others are the
/// lengths of the pieces that the peer writes, one before each receive call; after the last it closes its
/// sending side. The reading is checked against what the rules of the two operations make of these pieces.
namespace {

constexpr std::size_t FullBuffer = 10240;
constexpr std::size_t LongestPiece = 2 * FullBuffer + 1;

class Numbers
{
public:
    Numbers(const std::uint8_t* data, std::size_t size)
        : _data(data)
        , _size(size)
    {
    }
    bool atEnd() const { return _size < 2; }
    std::size_t next()
    {
        const std::size_t number = atEnd() ? 0 : _data[0] + 256U * _data[1];
        const std::size_t used = std::min<std::size_t>(_size, 2);
        _data += used;
        _size -= used;
        return number;
    }

private:
    const std::uint8_t* _data;
    std::size_t _size;
};

/// The other side, and the reader's rules: which bytes a read has to give.
class Peer
{
public:
    Peer(int fd, Numbers lengths, std::size_t wanted)
        : _fd(fd)
        , _lengths(lengths)
        , _wanted(wanted)
    {
    }

    void beforeReceive(std::size_t asked)
    {
        require(!_done, "nothing is received after the end");
        require(_wanted == 0 ? asked == FullBuffer : asked == _wanted - _taken,
                "the right size is asked for");
        do {
            writePiece();
        } while (_written.size() == _taken && !_lengths.atEnd());
        if (_written.size() == _taken) {
            shutdown(_fd, SHUT_WR);
        }
        const std::size_t count = std::min(asked, _written.size() - _taken);
        _taken += count;
        _done = count == 0 || (_wanted == 0 ? count < FullBuffer : _taken == _wanted);
    }

    std::string expected() const { return _written.substr(0, _taken); }
    bool done() const { return _done; }

private:
    void writePiece()
    {
        std::string piece(_lengths.next() % LongestPiece, '\0');
        for (char& character : piece) {
            character = static_cast<char>(_counter++ % 251);
        }
        const ssize_t count = ::send(_fd, piece.data(), piece.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count > 0) {
            _written.append(piece, 0, static_cast<std::size_t>(count));
        }
    }

    int _fd;
    Numbers _lengths;
    std::size_t _wanted;
    std::string _written;
    std::size_t _taken = 0;
    unsigned int _counter = 0;
    bool _done = false;
};

Peer* peerOfThisRun = nullptr;

} // namespace

// The linker asks for exactly these names.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" ssize_t __real_recv(int fd, void* buffer, std::size_t size, int flags);

extern "C" ssize_t __wrap_recv(int fd, void* buffer, std::size_t size, int flags)
{
    peerOfThisRun->beforeReceive(size);
    return __real_recv(fd, buffer, size, flags);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    int fds[2] = {-1, -1};
    require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) == 0, "a socket pair can be made");
    VORNA::Socket socket(fds[0]);
    const VORNA::Socket other(fds[1]);

    Numbers numbers(data, size);
    const std::size_t wanted = numbers.next();
    Peer peer(fds[1], numbers, wanted);
    peerOfThisRun = &peer;

    std::string out;
    const unsigned int count =
        wanted == 0 ? socket.read(out) : socket.read(out, static_cast<unsigned int>(wanted));
    require(peer.done(), "reading goes on to the end");
    require(out == peer.expected(), "the bytes are those written, in their order");
    require(count == out.size(), "the length is returned");
    return 0;
}
