#include "rt/StreamSource.h"

#include <cstdlib>

#include "rt/FileSource.h"
#include "rt/NetworkSource.h"
#include "rt/NtripClient.h"

namespace ppprt {

namespace {

[[noreturn]] void Fail(const std::string& address, const std::string& why)
{
    throw SourceError("source '" + address + "': " + why);
}

bool StartsWith(const std::string& text, const char* prefix, std::string& rest)
{
    const std::string p = prefix;
    if (text.compare(0, p.size(), p) != 0)
        return false;
    rest = text.substr(p.size());
    return true;
}

// "HOST:PORT" or "[IPV6]:PORT" into out.host and out.port.
void ParseHostPort(const std::string& address, const std::string& text, SourceAddress& out)
{
    size_t colon;
    if (!text.empty() && text[0] == '[') {
        const size_t close = text.find(']');
        if (close == std::string::npos || close + 1 >= text.size() || text[close + 1] != ':')
            Fail(address, "expected [IPV6-ADDRESS]:PORT");
        out.host = text.substr(1, close - 1);
        colon = close + 1;
    } else {
        colon = text.rfind(':');
        if (colon == std::string::npos)
            Fail(address, "no port: expected HOST:PORT");
        out.host = text.substr(0, colon);
        if (out.host.find(':') != std::string::npos)
            Fail(address, "an IPv6 address goes in brackets: [ADDRESS]:PORT");
    }
    if (out.host.empty())
        Fail(address, "no host name");
    for (const char c : out.host)
        if (c <= ' ' || c == '/' || c == '@' || c == 127)
            Fail(address, "invalid character in the host name");
    const std::string port = text.substr(colon + 1);
    char* end = nullptr;
    const long value = std::strtol(port.c_str(), &end, 10);
    if (port.empty() || *end != '\0' || port[0] == '-' || port[0] == '+' || value < 1 || value > 65535)
        Fail(address, "port must be a number from 1 to 65535, not '" + port + "'");
    out.port = static_cast<int>(value);
}

void ParseNtrip(const std::string& address, const std::string& rest, SourceAddress& out)
{
    out.kind = SourceAddress::Kind::Ntrip;
    const size_t slash = rest.find('/');
    if (slash == std::string::npos)
        Fail(address, "no mount point: expected ntrip://[USER:PASSWORD@]HOST:PORT/MOUNT");
    std::string authority = rest.substr(0, slash);
    out.mount = rest.substr(slash + 1);
    for (const char c : out.mount)
        if (c <= ' ' || c == 127 || c == '/')
            Fail(address, "invalid character in the mount point");
    // The password may itself contain '@': the host follows the last one.
    const size_t at = authority.rfind('@');
    if (at != std::string::npos) {
        const std::string credentials = authority.substr(0, at);
        const size_t colon = credentials.find(':');
        if (colon == std::string::npos || colon == 0)
            Fail(address, "credentials must be USER:PASSWORD");
        out.user = credentials.substr(0, colon);
        out.password = credentials.substr(colon + 1);
        authority = authority.substr(at + 1);
    }
    ParseHostPort(address, authority, out);
}

}  // namespace

SourceAddress parseSourceAddress(const std::string& address)
{
    SourceAddress out;
    std::string rest;
    if (address.empty())
        Fail(address, "empty");
    if (StartsWith(address, "ntrip://", rest) || StartsWith(address, "ntrip2://", rest)) {
        ParseNtrip(address, rest, out);
    } else if (StartsWith(address, "ntrip1://", rest)) {
        ParseNtrip(address, rest, out);
        out.version = NtripVersion::V1;
    } else if (StartsWith(address, "tcp://", rest)) {
        out.kind = SourceAddress::Kind::Tcp;
        ParseHostPort(address, rest, out);
    } else if (StartsWith(address, "file://", rest)) {
        if (rest.empty())
            Fail(address, "no file name after file://");
        out.path = rest;
    } else if (address.find("://") != std::string::npos) {
        Fail(address, "unknown scheme: expected a file, file://, tcp://, ntrip://, ntrip1:// or ntrip2://");
    } else {
        out.path = address;
    }
    return out;
}

std::unique_ptr<StreamSource> openSource(const std::string& address, const SourceOptions& options)
{
    const SourceAddress s = parseSourceAddress(address);
    switch (s.kind) {
    case SourceAddress::Kind::Tcp:
        return std::make_unique<TcpSource>(s.host, s.port, options);
    case SourceAddress::Kind::Ntrip:
        if (s.mount.empty())
            Fail(address, "no mount point (the caster's source table lists them)");
        return std::make_unique<NtripClient>(s, options);
    case SourceAddress::Kind::File:
        break;
    }
    return std::make_unique<FileSource>(s.path);
}

std::string withoutPassword(const std::string& address)
{
    const size_t scheme = address.find("://");
    if (scheme == std::string::npos || address.compare(0, 5, "ntrip") != 0)
        return address;
    const size_t start = scheme + 3;
    const size_t at = address.find('@', start);
    const size_t slash = address.find('/', start);
    if (at == std::string::npos || (slash != std::string::npos && at > slash))
        return address;
    const size_t colon = address.find(':', start);
    if (colon == std::string::npos || colon > at)
        return address;
    return address.substr(0, colon) + address.substr(at);
}

}  // namespace ppprt
