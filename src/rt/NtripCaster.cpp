#include "rt/NtripCaster.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "rt/Base64.h"
#include "rt/FileSource.h"
#include "rt/NtripReply.h"
#include "rt/ReplaySchedule.h"
#include "rt/TcpSocket.h"

namespace ppprt {

namespace {

constexpr int kPollMs = 10;               // pacing granularity and stop latency
constexpr size_t kMaxRequest = 8192;
constexpr size_t kMaxSlice = 16384;       // stream bytes per send
const char* const kServer = "Server: ppplib NtripCaster\r\n";

}  // namespace

struct NtripCaster::Mount {
    std::string name;
    bool nmea = false;
    std::vector<uint8_t> content;
    std::unique_ptr<ReplaySchedule> schedule;   // realtime replay only
    size_t resumeOffset = 0;                    // where the next connection starts
};

struct NtripCaster::Client {
    enum class State { Request, Streaming, Closing, Closed };
    TcpSocket socket;
    State state = State::Request;
    std::string in;                 // request, later the client's NMEA lines
    std::string out;                // bytes queued for sending
    size_t outPos = 0;
    Mount* mount = nullptr;
    bool chunked = false;
    bool dropArmed = false;         // this connection is cut after dropAfterBytes
    size_t startOffset = 0;
    size_t offset = 0;
    int64_t startMs = 0;

    explicit Client(int fd) : socket(fd), startMs(monotonicMs()) {}
    bool pending() const { return outPos < out.size(); }
    // Sends what is queued; false when the connection failed.
    bool flush()
    {
        while (pending()) {
            const ssize_t n = ::send(socket.fd(), out.data() + outPos, out.size() - outPos, MSG_NOSIGNAL);
            if (n > 0)
                outPos += static_cast<size_t>(n);
            else
                return n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
        }
        out.clear();
        outPos = 0;
        return true;
    }
};

NtripCaster::NtripCaster(const std::vector<CasterMount>& mounts, const CasterOptions& options)
    : m_options(options), m_dropsLeft(options.dropConnections)
{
    for (const CasterMount& m : mounts) {
        auto mount = std::make_unique<Mount>();
        mount->name = m.name;
        mount->nmea = m.nmea;
        mount->content = readWholeFile(m.path);
        if (options.realtime)
            mount->schedule = std::make_unique<ReplaySchedule>(mount->content.data(), mount->content.size());
        m_mounts.push_back(std::move(mount));
    }
    m_listener = ::socket(AF_INET, SOCK_STREAM, 0);
    const int yes = 1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(options.port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (m_listener < 0 || ::setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes)) != 0 ||
        ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(m_listener, 16) != 0 || !setNonBlocking(m_listener) ||
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        const std::string why = std::strerror(errno);
        if (m_listener >= 0)
            ::close(m_listener);
        throw std::runtime_error("cannot listen on 127.0.0.1:" + std::to_string(options.port) + ": " + why);
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { run(); });
}

NtripCaster::~NtripCaster()
{
    m_stop = true;
    if (m_thread.joinable())
        m_thread.join();
    ::close(m_listener);
}

CasterStats NtripCaster::stats() const
{
    CasterStats s;
    s.connections = m_counters.connections;
    s.streams = m_counters.streams;
    s.tables = m_counters.tables;
    s.refused = m_counters.refused;
    s.drops = m_counters.drops;
    s.ggaReceived = m_counters.ggaReceived;
    s.bytesSent = m_counters.bytesSent;
    return s;
}

std::string NtripCaster::sourceTable() const
{
    std::string table;
    const bool login = !m_options.user.empty();
    const int bitrate = static_cast<int>(m_options.bytesPerSecond * 8.0);
    for (const auto& m : m_mounts)
        table += "STR;" + m->name + ";" + m->name + ";RTCM 3;;2;GNSS;ppplib;;0.00;0.00;" + (m->nmea ? "1" : "0") +
                 ";0;ppplib NtripCaster;none;" + (login ? "B" : "N") + ";N;" + std::to_string(bitrate) + ";\r\n";
    return table + "ENDSOURCETABLE\r\n";
}

NtripCaster::Mount* NtripCaster::findMount(const std::string& name)
{
    for (const auto& m : m_mounts)
        if (m->name == name)
            return m.get();
    return nullptr;
}

void NtripCaster::accept(std::vector<std::unique_ptr<Client>>& clients)
{
    for (;;) {
        const int fd = ::accept(m_listener, nullptr, nullptr);
        if (fd < 0)
            return;
        if (!setNonBlocking(fd)) {
            ::close(fd);
            continue;
        }
        ++m_counters.connections;
        clients.push_back(std::make_unique<Client>(fd));
    }
}

// Replies to a complete request header in client.in.
void NtripCaster::answer(Client& client)
{
    const std::string& request = client.in;
    const std::string lower = asciiLower(request);
    const bool v2 = lower.find("\r\nntrip-version: ntrip/2.0") != std::string::npos;
    const std::string http = v2 ? "HTTP/1.1 " : "HTTP/1.0 ";
    const std::string v2Header = v2 ? "Ntrip-Version: Ntrip/2.0\r\n" : "";
    client.state = Client::State::Closing;
    const size_t pathEnd = request.find(' ', 5);
    if (request.compare(0, 5, "GET /") != 0 || pathEnd == std::string::npos || pathEnd > request.find('\r')) {
        ++m_counters.refused;
        client.out = http + "400 Bad Request\r\n" + v2Header + kServer + "Connection: close\r\n\r\n";
        return;
    }
    const std::string mountName = request.substr(5, pathEnd - 5);
    Mount* mount = findMount(mountName);
    if (mountName.empty() || (!mount && !v2)) {   // NTRIP 1 casters answer an unknown mount with the table
        ++m_counters.tables;
        const std::string table = sourceTable();
        client.out = (v2 ? http + "200 OK\r\n" : std::string("SOURCETABLE 200 OK\r\n")) + v2Header + kServer +
                     "Content-Type: " + (v2 ? "gnss/sourcetable" : "text/plain") + "\r\nContent-Length: " +
                     std::to_string(table.size()) + "\r\nConnection: close\r\n\r\n" + table;
        return;
    }
    if (!mount) {
        ++m_counters.refused;
        client.out = http + "404 Not Found\r\n" + v2Header + kServer + "Content-Length: 0\r\nConnection: close\r\n\r\n";
        return;
    }
    if (!m_options.user.empty()) {
        const std::string expected = base64Encode(m_options.user + ":" + m_options.password);
        const size_t at = lower.find("\r\nauthorization: basic ");
        const size_t start = at == std::string::npos ? at : at + 23;
        if (at == std::string::npos || request.compare(start, request.find('\r', start) - start, expected) != 0) {
            ++m_counters.refused;
            client.out = http + "401 Unauthorized\r\n" + v2Header + kServer + "WWW-Authenticate: Basic realm=\"/" +
                         mountName + "\"\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
            return;
        }
    }
    ++m_counters.streams;
    client.state = Client::State::Streaming;
    client.mount = mount;
    client.chunked = v2;
    client.out = v2 ? http + "200 OK\r\n" + v2Header + kServer +
                          "Content-Type: gnss/data\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n\r\n"
                    : std::string("ICY 200 OK\r\n");
    client.startOffset = client.offset = std::min(mount->resumeOffset, mount->content.size());
    mount->resumeOffset = 0;
    client.startMs = monotonicMs();
    client.dropArmed = m_options.dropAfterBytes > 0 && m_dropsLeft > 0;
    if (client.dropArmed)
        --m_dropsLeft;
    client.in.clear();
}

void NtripCaster::receive(Client& client)
{
    char buffer[2048];
    const ssize_t n = ::recv(client.socket.fd(), buffer, sizeof(buffer), 0);
    if (n <= 0) {
        if (n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR))
            client.state = Client::State::Closed;
        return;
    }
    client.in.append(buffer, static_cast<size_t>(n));
    if (client.state == Client::State::Request) {
        if (client.in.find("\r\n\r\n") != std::string::npos)
            answer(client);
        else if (client.in.size() > kMaxRequest)
            client.state = Client::State::Closed;
        return;
    }
    // While streaming: count the client's GGA sentences, line by line.
    size_t lineEnd;
    while ((lineEnd = client.in.find('\n')) != std::string::npos) {
        if (client.in.size() > 6 && client.in[0] == '$' && client.in.compare(3, 3, "GGA") == 0)
            ++m_counters.ggaReceived;
        client.in.erase(0, lineEnd + 1);
    }
    if (client.in.size() > kMaxRequest)
        client.in.clear();
}

void NtripCaster::stream(Client& client, int64_t nowMs)
{
    const std::vector<uint8_t>& content = client.mount->content;
    if (!client.flush()) {
        client.state = Client::State::Closed;
        return;
    }
    if (client.pending())
        return;
    const long sentHere = static_cast<long>(client.offset - client.startOffset);
    if (client.dropArmed && sentHere >= m_options.dropAfterBytes) {
        client.mount->resumeOffset = client.offset;
        ++m_counters.drops;
        client.state = Client::State::Closed;
        return;
    }
    if (client.offset >= content.size()) {
        client.out = client.chunked ? "0\r\n\r\n" : "";
        client.state = Client::State::Closing;
        return;
    }
    const int64_t elapsed = nowMs - client.startMs;
    size_t due = content.size();
    if (client.mount->schedule)
        due = client.mount->schedule->bytesDue(client.startOffset, elapsed);
    else if (m_options.bytesPerSecond > 0.0)
        due = client.startOffset + static_cast<size_t>(std::min(m_options.bytesPerSecond * elapsed / 1000.0, 1e15));
    due = std::min(due, content.size());
    if (client.dropArmed)
        due = std::min(due, client.startOffset + static_cast<size_t>(m_options.dropAfterBytes));
    if (due <= client.offset)
        return;
    const size_t n = std::min(due - client.offset, kMaxSlice);
    const char* data = reinterpret_cast<const char*>(content.data() + client.offset);
    if (client.chunked) {
        char size[16];
        std::snprintf(size, sizeof(size), "%zX\r\n", n);
        client.out.assign(size);
        client.out.append(data, n);
        client.out += "\r\n";
    } else {
        client.out.assign(data, n);
    }
    client.offset += n;
    m_counters.bytesSent += static_cast<int64_t>(n);
    if (!client.flush())
        client.state = Client::State::Closed;
}

void NtripCaster::run()
{
    std::vector<std::unique_ptr<Client>> clients;
    std::vector<pollfd> fds;
    while (!m_stop) {
        fds.assign(1, pollfd{m_listener, POLLIN, 0});
        for (const auto& c : clients) {
            const bool wantsOut = c->pending() || (c->state == Client::State::Streaming && !c->mount->schedule &&
                                                   m_options.bytesPerSecond <= 0.0);
            fds.push_back(pollfd{c->socket.fd(), static_cast<short>(POLLIN | (wantsOut ? POLLOUT : 0)), 0});
        }
        if (::poll(fds.data(), fds.size(), kPollMs) < 0 && errno != EINTR)
            break;
        const size_t polled = clients.size();
        if (fds[0].revents & POLLIN)
            accept(clients);
        const int64_t now = monotonicMs();
        for (size_t k = 0; k < polled; ++k) {
            Client& c = *clients[k];
            if (fds[k + 1].revents & (POLLIN | POLLHUP | POLLERR))
                receive(c);
            if (c.state == Client::State::Request && now - c.startMs > m_options.requestTimeoutMs)
                c.state = Client::State::Closed;
            if (c.state == Client::State::Streaming)
                stream(c, now);
            if (c.state == Client::State::Closing && (!c.flush() || !c.pending()))
                c.state = Client::State::Closed;
        }
        clients.erase(std::remove_if(clients.begin(), clients.end(),
                                     [](const std::unique_ptr<Client>& c) { return c->state == Client::State::Closed; }),
                      clients.end());
    }
}

}  // namespace ppprt
