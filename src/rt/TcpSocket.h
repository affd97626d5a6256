// A non-blocking TCP socket with time-outs on every step: connect, send all,
// wait for input, receive. Owned, closed by the destructor; Linux/POSIX.
//
//   ppprt::TcpSocket s;
//   std::string error;
//   if (!s.connect("127.0.0.1", 2101, 5000, error)) report(error);
//   s.sendAll(request.data(), request.size(), 5000, error);
//   const long n = s.receive(buffer, sizeof(buffer), 1000);   // >0 bytes, 0 time-out, <0 closed
#ifndef PPPRT_TCPSOCKET_H
#define PPPRT_TCPSOCKET_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace ppprt {

class TcpSocket {
public:
    TcpSocket() = default;
    explicit TcpSocket(int fd) : m_fd(fd) {}
    ~TcpSocket() { close(); }
    TcpSocket(TcpSocket&& other) noexcept : m_fd(other.m_fd) { other.m_fd = -1; }
    TcpSocket& operator=(TcpSocket&& other) noexcept;
    TcpSocket(const TcpSocket&) = delete;
    TcpSocket& operator=(const TcpSocket&) = delete;

    // Resolves host (name or address) and connects, trying each address;
    // false with a message ("connection refused", "timed out", ...) otherwise.
    bool connect(const std::string& host, int port, int timeoutMs, std::string& error);
    // Sends every byte; false with a message when the peer is gone or stalls.
    bool sendAll(const void* data, size_t length, int timeoutMs, std::string& error);
    // Bytes received (>0), 0 when nothing came within timeoutMs, -1 when the
    // peer closed the connection or it failed (`error` says which).
    long receive(uint8_t* buffer, size_t capacity, int timeoutMs, std::string* error = nullptr);

    bool isOpen() const { return m_fd >= 0; }
    int fd() const { return m_fd; }
    void close();

private:
    int m_fd = -1;
};

// Sets O_NONBLOCK; false on failure.
bool setNonBlocking(int fd);

// Milliseconds of a monotonic clock, for deadlines.
int64_t monotonicMs();

}  // namespace ppprt

#endif
