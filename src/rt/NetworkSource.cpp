#include "rt/NetworkSource.h"

#include <algorithm>
#include <cstdint>
#include <chrono>
#include <cstring>
#include <thread>

namespace ppprt {

std::string hostPort(const std::string& host, int port)
{
    const bool ipv6 = host.find(':') != std::string::npos;
    return (ipv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

std::string TcpSource::describe() const
{
    return "tcp://" + hostPort(host(), port());
}

NetworkSource::NetworkSource(const std::string& host, int port, const SourceOptions& options)
    : m_host(host), m_port(port), m_options(options)
{
}

void NetworkSource::scheduleRetry(int64_t nowMs)
{
    ++m_failuresInRow;
    const ReconnectPolicy& p = m_options.reconnect;
    if (p.maxAttempts > 0 && m_failuresInRow >= p.maxAttempts) {
        m_finalFailure = true;
        m_lastError = "gave up after " + std::to_string(m_failuresInRow) + " failed connections, the last: " + m_lastError;
        return;
    }
    m_delayMs = m_failuresInRow == 1 ? p.initialDelayMs : std::min(2 * m_delayMs, p.maxDelayMs);
    m_nextAttemptMs = nowMs + std::max(m_delayMs, 0);
}

bool NetworkSource::connectOnce(std::string& error)
{
    if (!m_socket.connect(m_host, m_port, m_options.connectTimeoutMs, error)) {
        ++m_stats.failedAttempts;
        m_lastError = error;
        scheduleRetry(monotonicMs());
        return false;
    }
    m_leftover.clear();
    m_leftoverPos = 0;
    const Handshake h = handshake(m_socket, m_leftover, error);
    if (h != Handshake::Ok) {
        m_socket.close();
        ++m_stats.failedAttempts;
        m_lastError = error;
        if (h == Handshake::Final)
            m_finalFailure = true;
        else
            scheduleRetry(monotonicMs());
        return false;
    }
    if (m_stats.connects > 0)
        ++m_stats.reconnects;
    ++m_stats.connects;
    m_lastByteMs = monotonicMs();
    m_serviceDueMs = m_lastByteMs;
    m_deliveredOnConnection = false;
    return true;
}

void NetworkSource::drop(const std::string& why)
{
    m_socket.close();
    ++m_stats.drops;
    m_lastError = why;
    // A connection that is lost before it delivered anything counts as a
    // failed attempt, so a server that accepts and hangs up at once is met
    // with back-off rather than a tight loop.
    if (m_deliveredOnConnection) {
        m_failuresInRow = 0;
        m_nextAttemptMs = monotonicMs() + std::max(m_options.reconnect.initialDelayMs, 0);
    } else {
        scheduleRetry(monotonicMs());
    }
}

ReadResult NetworkSource::read(uint8_t* buffer, size_t capacity, int timeoutMs)
{
    ReadResult result;
    const int64_t deadline = monotonicMs() + std::max(timeoutMs, 0);
    std::string error;
    for (;;) {
        if (m_finalFailure) {
            result.status = ReadStatus::Error;
            result.message = describe() + ": " + m_lastError;
            return result;
        }
        int64_t now = monotonicMs();
        if (!m_socket.isOpen()) {
            if (now < m_nextAttemptMs) {
                if (now >= deadline)
                    return result;   // Timeout
                std::this_thread::sleep_for(std::chrono::milliseconds(std::min(m_nextAttemptMs, deadline) - now));
                continue;
            }
            if (!connectOnce(error))
                continue;
        }
        size_t received = 0;
        if (m_leftoverPos < m_leftover.size()) {
            received = std::min(capacity, m_leftover.size() - m_leftoverPos);
            std::memcpy(buffer, m_leftover.data() + m_leftoverPos, received);
            m_leftoverPos += received;
        } else {
            if (m_serviceDueMs >= 0 && now >= m_serviceDueMs)
                m_serviceDueMs = service(m_socket, now);
            const int64_t idleEnd = m_options.idleTimeoutMs > 0 ? m_lastByteMs + m_options.idleTimeoutMs : INT64_MAX;
            int64_t until = std::min(deadline, idleEnd);
            if (m_serviceDueMs >= 0)
                until = std::min(until, m_serviceDueMs);
            const long n = m_socket.receive(buffer, capacity, static_cast<int>(std::max<int64_t>(until - now, 0)), &error);
            now = monotonicMs();
            if (n < 0) {
                drop(error);
                continue;
            }
            if (n == 0) {
                if (now >= idleEnd)
                    drop("no data for " + std::to_string(m_options.idleTimeoutMs) + " ms");
                else if (now >= deadline)
                    return result;   // Timeout
                continue;
            }
            m_lastByteMs = now;
            received = static_cast<size_t>(n);
        }
        bool broken = false;
        const size_t payload = unwrap(buffer, received, broken, error);
        if (payload > 0)
            m_deliveredOnConnection = true;
        if (broken)
            drop(error);
        if (payload > 0) {
            m_stats.bytes += static_cast<int64_t>(payload);
            result.status = ReadStatus::Data;
            result.bytes = payload;
            return result;
        }
        if (monotonicMs() >= deadline)
            return result;   // Timeout
    }
}

}  // namespace ppprt
