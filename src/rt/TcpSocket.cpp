#include "rt/TcpSocket.h"

#include <cerrno>
#include <chrono>
#include <cstring>

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ppprt {

namespace {

// Waits for `events` on fd; >0 ready, 0 time-out, <0 failure. Restarts after
// signals with the remaining time.
int WaitFor(int fd, short events, int timeoutMs)
{
    const int64_t deadline = monotonicMs() + timeoutMs;
    for (;;) {
        pollfd p{fd, events, 0};
        const int64_t left = deadline - monotonicMs();
        const int r = ::poll(&p, 1, left > 0 ? static_cast<int>(left) : 0);
        if (r >= 0 || errno != EINTR)
            return r;
    }
}

bool ConnectOne(int fd, const addrinfo* a, int timeoutMs, std::string& error)
{
    if (::connect(fd, a->ai_addr, a->ai_addrlen) == 0)
        return true;
    if (errno != EINPROGRESS) {
        error = std::strerror(errno);
        return false;
    }
    const int r = WaitFor(fd, POLLOUT, timeoutMs);
    if (r == 0) {
        error = "connection timed out after " + std::to_string(timeoutMs) + " ms";
        return false;
    }
    int code = 0;
    socklen_t size = sizeof(code);
    if (r < 0 || ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &code, &size) != 0)
        code = errno;
    if (code != 0) {
        error = std::strerror(code);
        return false;
    }
    return true;
}

}  // namespace

int64_t monotonicMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

bool setNonBlocking(int fd)
{
    const int flags = ::fcntl(fd, F_GETFL, 0);
    return flags >= 0 && ::fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
}

TcpSocket& TcpSocket::operator=(TcpSocket&& other) noexcept
{
    if (this != &other) {
        close();
        m_fd = other.m_fd;
        other.m_fd = -1;
    }
    return *this;
}

void TcpSocket::close()
{
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
}

bool TcpSocket::connect(const std::string& host, int port, int timeoutMs, std::string& error)
{
    close();
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    const int r = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list);
    if (r != 0) {
        error = "cannot resolve " + host + ": " + ::gai_strerror(r);
        return false;
    }
    error = "no address";
    for (const addrinfo* a = list; a; a = a->ai_next) {
        const int fd = ::socket(a->ai_family, a->ai_socktype, a->ai_protocol);
        if (fd < 0) {
            error = std::strerror(errno);
            continue;
        }
        if (setNonBlocking(fd) && ConnectOne(fd, a, timeoutMs, error)) {
            m_fd = fd;
            break;
        }
        ::close(fd);
    }
    ::freeaddrinfo(list);
    if (m_fd < 0)
        error = host + ":" + std::to_string(port) + ": " + error;
    return m_fd >= 0;
}

bool TcpSocket::sendAll(const void* data, size_t length, int timeoutMs, std::string& error)
{
    const char* p = static_cast<const char*>(data);
    const int64_t deadline = monotonicMs() + timeoutMs;
    while (length > 0) {
        const ssize_t n = ::send(m_fd, p, length, MSG_NOSIGNAL);
        if (n > 0) {
            p += n;
            length -= static_cast<size_t>(n);
            continue;
        }
        if (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) {
            error = std::string("send failed: ") + std::strerror(errno);
            return false;
        }
        const int64_t left = deadline - monotonicMs();
        if (left <= 0 || WaitFor(m_fd, POLLOUT, static_cast<int>(left)) <= 0) {
            error = "send timed out";
            return false;
        }
    }
    return true;
}

long TcpSocket::receive(uint8_t* buffer, size_t capacity, int timeoutMs, std::string* error)
{
    const int r = WaitFor(m_fd, POLLIN, timeoutMs);
    if (r == 0)
        return 0;
    const ssize_t n = r > 0 ? ::recv(m_fd, buffer, capacity, 0) : -1;
    if (n > 0)
        return static_cast<long>(n);
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
        return 0;
    if (error)
        *error = n == 0 ? "connection closed by the server" : std::string("receive failed: ") + std::strerror(errno);
    return -1;
}

}  // namespace ppprt
