#include "rt/NtripReply.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "rt/Base64.h"
#include "rt/NetworkSource.h"

namespace ppprt {

namespace {

constexpr size_t kMaxHeader = 16384;
constexpr const char* kIcy = "ICY 200 OK\r\n";
constexpr size_t kIcyLength = 12;

// Length of the reply header, npos while incomplete. NTRIP 1 casters send
// the stream right after "ICY 200 OK\r\n", some after an empty line or a few
// header lines; everything else ends its header with an empty line.
size_t HeaderEnd(const std::string& header)
{
    const size_t blank = header.find("\r\n\r\n");
    if (header.compare(0, kIcyLength, kIcy) != 0 || header.size() < kIcyLength + 2)
        return blank == std::string::npos ? blank : blank + 4;
    if (header.compare(kIcyLength, 2, "\r\n") == 0)
        return kIcyLength + 2;
    if (std::isalpha(static_cast<unsigned char>(header[kIcyLength])))   // header lines follow
        return blank == std::string::npos ? blank : blank + 4;
    return kIcyLength;
}

// Value of header `name` (lower case, with the colon) in the lower-cased header block.
std::string HeaderValue(const std::string& header, const std::string& name)
{
    const size_t at = header.find("\n" + name);
    if (at == std::string::npos)
        return "";
    size_t start = at + 1 + name.size();
    while (start < header.size() && header[start] == ' ')
        ++start;
    const size_t end = header.find('\r', start);
    return header.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

void Classify(const std::string& header, NtripReply& reply)
{
    const std::string lower = asciiLower(header);
    reply.statusLine = header.substr(0, header.find('\r'));
    if (reply.statusLine == "ICY 200 OK") {
        reply.kind = NtripReply::Kind::Stream;
        reply.code = 200;
        return;
    }
    if (reply.statusLine.compare(0, 18, "SOURCETABLE 200 OK") == 0) {
        reply.kind = NtripReply::Kind::SourceTable;
        reply.code = 200;
    } else if (reply.statusLine.compare(0, 5, "HTTP/") == 0 && reply.statusLine.size() >= 12) {
        reply.code = std::atoi(reply.statusLine.c_str() + 9);
        if (reply.code == 200)
            reply.kind = HeaderValue(lower, "content-type:").find("sourcetable") != std::string::npos
                             ? NtripReply::Kind::SourceTable
                             : NtripReply::Kind::Stream;
        else if (reply.code == 401)
            reply.kind = NtripReply::Kind::Unauthorized;
        else if (reply.code == 404)
            reply.kind = NtripReply::Kind::NotFound;
        else
            reply.kind = NtripReply::Kind::OtherError;
    } else {
        reply.kind = NtripReply::Kind::NotNtrip;
        return;
    }
    reply.chunked = HeaderValue(lower, "transfer-encoding:").find("chunked") != std::string::npos;
    const std::string length = HeaderValue(lower, "content-length:");
    if (!length.empty())
        reply.contentLength = std::atol(length.c_str());
}

}  // namespace

std::string asciiLower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

std::string ntripRequest(const SourceAddress& address, const std::string& userAgent)
{
    std::string request = "GET /" + address.mount;
    if (address.version == NtripVersion::V2)
        request += " HTTP/1.1\r\nHost: " + hostPort(address.host, address.port) + "\r\nNtrip-Version: Ntrip/2.0\r\n";
    else
        request += " HTTP/1.0\r\n";
    request += "User-Agent: " + userAgent + "\r\n";
    if (!address.user.empty())
        request += "Authorization: Basic " + base64Encode(address.user + ":" + address.password) + "\r\n";
    return request + "Connection: close\r\n\r\n";
}

bool readNtripReply(TcpSocket& socket, int timeoutMs, NtripReply& reply, std::vector<uint8_t>& body,
                    std::string& error)
{
    std::string header;
    const int64_t deadline = monotonicMs() + timeoutMs;
    uint8_t chunk[2048];
    size_t end = std::string::npos;
    while ((end = HeaderEnd(header)) == std::string::npos) {
        if (header.size() > kMaxHeader) {
            error = "reply header longer than " + std::to_string(kMaxHeader) + " bytes";
            return false;
        }
        const int64_t left = deadline - monotonicMs();
        const long n = left > 0 ? socket.receive(chunk, sizeof(chunk), static_cast<int>(left), &error) : 0;
        if (n > 0) {
            header.append(reinterpret_cast<const char*>(chunk), static_cast<size_t>(n));
            continue;
        }
        const bool quietIcy = header.compare(0, kIcyLength, kIcy) == 0;   // an NTRIP 1 stream with no data yet
        if (n < 0 && !header.empty())
            end = header.size();   // closed after an error reply without its empty line: judge what came
        else if (n == 0 && monotonicMs() >= deadline && quietIcy)
            end = kIcyLength;
        else if (n == 0 && monotonicMs() < deadline)
            continue;
        else if (n == 0)
            error = "no complete reply within " + std::to_string(timeoutMs) + " ms";
        if (end == std::string::npos)
            return false;
        break;
    }
    Classify(header.substr(0, end), reply);
    body.assign(header.begin() + static_cast<long>(end), header.end());
    return true;
}

std::string describeReply(const NtripReply& reply, const std::string& mount)
{
    switch (reply.kind) {
    case NtripReply::Kind::Unauthorized:
        return "unauthorized: the caster refused the user name or password (" + reply.statusLine + ")";
    case NtripReply::Kind::NotFound:
    case NtripReply::Kind::SourceTable:
        return "mount point '" + mount + "' not found on the caster (" + reply.statusLine + ")";
    case NtripReply::Kind::OtherError:
        return "the caster refused the request (" + reply.statusLine + ")";
    case NtripReply::Kind::NotNtrip:
        return "not an NTRIP caster reply: '" + reply.statusLine.substr(0, 60) + "'";
    case NtripReply::Kind::Stream:
        break;
    }
    return "";
}

}  // namespace ppprt
