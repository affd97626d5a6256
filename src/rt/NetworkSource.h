// A source that reads from a TCP connection and keeps it alive: connects on
// the first read, and after a failed attempt or a lost connection tries
// again with exponential back-off (SourceOptions::reconnect). Reads never
// wait longer than asked, back-off included, so the owner stays responsive.
// Subclasses add a handshake and an unwrapping of the received bytes
// (NtripClient); TcpSource is the plain variant.
//
//   ppprt::TcpSource tcp("127.0.0.1", 5000, options);
//   const ppprt::ReadResult r = tcp.read(buffer, sizeof(buffer), 1000);
//   const ppprt::StreamStats& s = tcp.stats();   // reconnects, drops, bytes
#ifndef PPPRT_NETWORKSOURCE_H
#define PPPRT_NETWORKSOURCE_H

#include <vector>

#include "rt/StreamSource.h"
#include "rt/TcpSocket.h"

namespace ppprt {

struct StreamStats {
    int64_t bytes = 0;         // payload bytes delivered
    long connects = 0;         // connections established (handshake passed)
    long reconnects = 0;       // of those, the ones after the first
    long drops = 0;            // established connections that were lost
    long failedAttempts = 0;   // connection attempts that failed
    long ggaSent = 0;          // GGA sentences uploaded
};

class NetworkSource : public StreamSource {
public:
    ReadResult read(uint8_t* buffer, size_t capacity, int timeoutMs) override;
    const StreamStats& stats() const { return m_stats; }
    // The latest failure or drop, for a log line; empty when none.
    const std::string& lastError() const { return m_lastError; }
    bool connected() const { return m_socket.isOpen(); }

protected:
    NetworkSource(const std::string& host, int port, const SourceOptions& options);

    enum class Handshake { Ok, Retry, Final };
    // Runs after the TCP connection is up. Bytes received beyond a reply
    // header go to `leftover` and are delivered as if read afterwards.
    virtual Handshake handshake(TcpSocket& socket, std::vector<uint8_t>& leftover, std::string& error) = 0;
    // Turns received bytes into payload in place; returns the payload count.
    // Sets `broken` (with a message) when the connection must be renewed.
    virtual size_t unwrap(uint8_t* data, size_t length, bool& broken, std::string& error) = 0;
    // Work while connected (GGA upload); returns the monotonic time in ms of
    // its next due run, or -1 for none.
    virtual int64_t service(TcpSocket& /*socket*/, int64_t /*nowMs*/) { return -1; }

    StreamStats& mutableStats() { return m_stats; }
    const std::string& host() const { return m_host; }
    int port() const { return m_port; }
    const SourceOptions& options() const { return m_options; }

private:
    // One connection attempt; false after recording the failure.
    bool connectOnce(std::string& error);
    void drop(const std::string& why);
    void scheduleRetry(int64_t nowMs);

    std::string m_host;
    int m_port;
    SourceOptions m_options;
    TcpSocket m_socket;
    std::vector<uint8_t> m_leftover;
    size_t m_leftoverPos = 0;
    StreamStats m_stats;
    std::string m_lastError;
    int m_failuresInRow = 0;
    int m_delayMs = 0;
    int64_t m_nextAttemptMs = 0;
    int64_t m_lastByteMs = 0;
    int64_t m_serviceDueMs = -1;
    bool m_finalFailure = false;
    bool m_deliveredOnConnection = false;
};

// Raw bytes from a TCP server (tcp://HOST:PORT).
class TcpSource : public NetworkSource {
public:
    TcpSource(const std::string& host, int port, const SourceOptions& options) : NetworkSource(host, port, options) {}
    std::string describe() const override;

protected:
    Handshake handshake(TcpSocket&, std::vector<uint8_t>&, std::string&) override { return Handshake::Ok; }
    size_t unwrap(uint8_t*, size_t length, bool&, std::string&) override { return length; }
};

// "host:port", with brackets around an IPv6 address.
std::string hostPort(const std::string& host, int port);

}  // namespace ppprt

#endif
