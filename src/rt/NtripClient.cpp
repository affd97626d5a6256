#include "rt/NtripClient.h"

#include <cstring>
#include <ctime>

#include "rt/NmeaGga.h"
#include "rt/NtripReply.h"

namespace ppprt {

namespace {

constexpr size_t kMaxSourceTable = 8u << 20;   // far beyond the largest public casters

double UtcSecondsOfDay()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec % 86400) + now.tv_nsec * 1e-9;
}

// Connects, sends the request and reads the reply header; false with a message.
bool Exchange(TcpSocket& socket, const SourceAddress& address, const SourceOptions& options, NtripReply& reply,
              std::vector<uint8_t>& body, std::string& error)
{
    const std::string request = ntripRequest(address, options.userAgent);
    return socket.connect(address.host, address.port, options.connectTimeoutMs, error) &&
           socket.sendAll(request.data(), request.size(), options.connectTimeoutMs, error) &&
           readNtripReply(socket, options.connectTimeoutMs, reply, body, error);
}

}  // namespace

NtripClient::NtripClient(const SourceAddress& address, const SourceOptions& options)
    : NetworkSource(address.host, address.port, options), m_address(address),
      m_request(ntripRequest(address, options.userAgent)),
      m_ggaNeed(options.sendGga ? GgaNeed::Yes : GgaNeed::Unknown)
{
    if (!options.gga.empty())
        setGga(options.gga);
}

std::string NtripClient::describe() const
{
    return std::string(m_address.version == NtripVersion::V1 ? "ntrip1://" : "ntrip://") +
           (m_address.user.empty() ? "" : m_address.user + "@") + hostPort(m_address.host, m_address.port) + "/" +
           m_address.mount;
}

bool NtripClient::setGga(const std::string& sentence)
{
    if (sentence.size() < 7 || sentence[0] != '$' || sentence.compare(3, 3, "GGA") != 0)
        return false;
    m_gga = completeGga(sentence);
    m_hasPosition = false;
    return true;
}

void NtripClient::setPosition(double latitudeDeg, double longitudeDeg, double heightM)
{
    m_position[0] = latitudeDeg;
    m_position[1] = longitudeDeg;
    m_position[2] = heightM;
    m_hasPosition = true;
}

std::string NtripClient::currentGga() const
{
    return m_hasPosition ? formatGga(UtcSecondsOfDay(), m_position[0], m_position[1], m_position[2]) : m_gga;
}

bool NtripClient::ggaWanted()
{
    if (!m_hasPosition && m_gga.empty())
        return false;
    if (m_ggaNeed == GgaNeed::Unknown) {
        // Once: the mount's record tells whether the caster needs our position.
        // When the table cannot be read, send anyway: casters ignore unwanted GGA.
        m_ggaNeed = GgaNeed::Yes;
        try {
            for (const SourceTableEntry& e : fetchSourceTable(m_address, options()))
                if (e.mount == m_address.mount)
                    m_ggaNeed = e.nmea ? GgaNeed::Yes : GgaNeed::No;
        } catch (const SourceError&) {
        }
    }
    return m_ggaNeed == GgaNeed::Yes;
}

NetworkSource::Handshake NtripClient::handshake(TcpSocket& socket, std::vector<uint8_t>& leftover,
                                                std::string& error)
{
    NtripReply reply;
    if (!socket.sendAll(m_request.data(), m_request.size(), options().connectTimeoutMs, error) ||
        !readNtripReply(socket, options().connectTimeoutMs, reply, leftover, error))
        return Handshake::Retry;
    if (reply.kind != NtripReply::Kind::Stream) {
        error = describeReply(reply, m_address.mount);
        // Server trouble (5xx) may pass; a refused login or a missing mount will not.
        return reply.kind == NtripReply::Kind::OtherError && reply.code >= 500 ? Handshake::Retry : Handshake::Final;
    }
    m_isChunked = reply.chunked;
    m_chunked.reset();
    return Handshake::Ok;
}

size_t NtripClient::unwrap(uint8_t* data, size_t length, bool& broken, std::string& error)
{
    if (!m_isChunked)
        return length;
    const size_t payload = m_chunked.decode(data, length);
    if (m_chunked.failed() || m_chunked.finished()) {
        broken = true;
        error = m_chunked.failed() ? "malformed chunked transfer coding" : "the caster ended the stream";
    }
    return payload;
}

int64_t NtripClient::service(TcpSocket& socket, int64_t nowMs)
{
    if (!ggaWanted())
        return nowMs + 1000;   // look again when the owner may have given a position
    const std::string gga = currentGga();
    std::string error;
    if (socket.sendAll(gga.data(), gga.size(), options().connectTimeoutMs, error))
        ++mutableStats().ggaSent;
    return nowMs + 1000LL * (options().ggaIntervalS > 0 ? options().ggaIntervalS : 10);
}

std::vector<SourceTableEntry> fetchSourceTable(const SourceAddress& address, const SourceOptions& options)
{
    SourceAddress tableAddress = address;
    tableAddress.mount.clear();
    TcpSocket socket;
    NtripReply reply;
    std::vector<uint8_t> body;
    std::string error;
    const std::string where = "source table of " + hostPort(address.host, address.port);
    if (!Exchange(socket, tableAddress, options, reply, body, error))
        throw SourceError(where + ": " + error);
    if (reply.kind != NtripReply::Kind::SourceTable)
        throw SourceError(where + ": " + (reply.kind == NtripReply::Kind::Stream ? "the caster sent a stream"
                                                                                 : describeReply(reply, "")));
    ChunkedDecoder chunked;
    std::string text;
    bool endSeen = false;
    auto take = [&](uint8_t* data, size_t n) {
        if (reply.chunked)
            n = chunked.decode(data, n);
        const size_t from = text.size() > 16 ? text.size() - 16 : 0;   // the end mark may straddle two reads
        text.append(reinterpret_cast<const char*>(data), n);
        endSeen = endSeen || text.find("ENDSOURCETABLE", from) != std::string::npos;
    };
    take(body.data(), body.size());
    uint8_t chunk[4096];
    for (;;) {
        const bool complete = (reply.contentLength >= 0 && text.size() >= static_cast<size_t>(reply.contentLength)) ||
                              chunked.finished() || endSeen;
        if (complete)
            break;
        if (chunked.failed() || text.size() > kMaxSourceTable)
            throw SourceError(where + ": malformed reply");
        const long n = socket.receive(chunk, sizeof(chunk), options.connectTimeoutMs, &error);
        if (n < 0)
            break;   // the caster closed after the table
        if (n == 0)
            throw SourceError(where + ": the table did not arrive within " +
                              std::to_string(options.connectTimeoutMs) + " ms");
        take(chunk, static_cast<size_t>(n));
    }
    return parseSourceTable(text);
}

}  // namespace ppprt
