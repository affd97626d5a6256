#include "rt/StreamSource.h"

#include <cstdlib>

#include "rt/FileSource.h"
#include "rt/NetworkSource.h"
#include "rt/NtripClient.h"

namespace ppprt {

namespace {

[[noreturn]] void Fail(const std::string& spec, const std::string& why)
{
    throw SourceError("source '" + spec + "': " + why);
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
void ParseHostPort(const std::string& spec, const std::string& text, SourceSpec& out)
{
    size_t colon;
    if (!text.empty() && text[0] == '[') {
        const size_t close = text.find(']');
        if (close == std::string::npos || close + 1 >= text.size() || text[close + 1] != ':')
            Fail(spec, "expected [IPV6-ADDRESS]:PORT");
        out.host = text.substr(1, close - 1);
        colon = close + 1;
    } else {
        colon = text.rfind(':');
        if (colon == std::string::npos)
            Fail(spec, "no port: expected HOST:PORT");
        out.host = text.substr(0, colon);
        if (out.host.find(':') != std::string::npos)
            Fail(spec, "an IPv6 address goes in brackets: [ADDRESS]:PORT");
    }
    if (out.host.empty())
        Fail(spec, "no host name");
    for (const char c : out.host)
        if (c <= ' ' || c == '/' || c == '@' || c == 127)
            Fail(spec, "invalid character in the host name");
    const std::string port = text.substr(colon + 1);
    char* end = nullptr;
    const long value = std::strtol(port.c_str(), &end, 10);
    if (port.empty() || *end != '\0' || port[0] == '-' || port[0] == '+' || value < 1 || value > 65535)
        Fail(spec, "port must be a number from 1 to 65535, not '" + port + "'");
    out.port = static_cast<int>(value);
}

void ParseNtrip(const std::string& spec, const std::string& rest, SourceSpec& out)
{
    out.kind = SourceSpec::Kind::Ntrip;
    const size_t slash = rest.find('/');
    if (slash == std::string::npos)
        Fail(spec, "no mount point: expected ntrip://[USER:PASSWORD@]HOST:PORT/MOUNT");
    std::string address = rest.substr(0, slash);
    out.mount = rest.substr(slash + 1);
    for (const char c : out.mount)
        if (c <= ' ' || c == 127 || c == '/')
            Fail(spec, "invalid character in the mount point");
    // The password may itself contain '@': the host follows the last one.
    const size_t at = address.rfind('@');
    if (at != std::string::npos) {
        const std::string credentials = address.substr(0, at);
        const size_t colon = credentials.find(':');
        if (colon == std::string::npos || colon == 0)
            Fail(spec, "credentials must be USER:PASSWORD");
        out.user = credentials.substr(0, colon);
        out.password = credentials.substr(colon + 1);
        address = address.substr(at + 1);
    }
    ParseHostPort(spec, address, out);
}

}  // namespace

SourceSpec parseSourceSpec(const std::string& spec)
{
    SourceSpec out;
    std::string rest;
    if (spec.empty())
        Fail(spec, "empty");
    if (StartsWith(spec, "ntrip://", rest) || StartsWith(spec, "ntrip2://", rest)) {
        ParseNtrip(spec, rest, out);
    } else if (StartsWith(spec, "ntrip1://", rest)) {
        ParseNtrip(spec, rest, out);
        out.version = NtripVersion::V1;
    } else if (StartsWith(spec, "tcp://", rest)) {
        out.kind = SourceSpec::Kind::Tcp;
        ParseHostPort(spec, rest, out);
    } else if (StartsWith(spec, "file://", rest)) {
        if (rest.empty())
            Fail(spec, "no file name after file://");
        out.path = rest;
    } else if (spec.find("://") != std::string::npos) {
        Fail(spec, "unknown scheme: expected a file, file://, tcp://, ntrip://, ntrip1:// or ntrip2://");
    } else {
        out.path = spec;
    }
    return out;
}

std::unique_ptr<StreamSource> openSource(const std::string& spec, const SourceOptions& options)
{
    const SourceSpec s = parseSourceSpec(spec);
    switch (s.kind) {
    case SourceSpec::Kind::Tcp:
        return std::make_unique<TcpSource>(s.host, s.port, options);
    case SourceSpec::Kind::Ntrip:
        if (s.mount.empty())
            Fail(spec, "no mount point (the caster's source table lists them)");
        return std::make_unique<NtripClient>(s, options);
    case SourceSpec::Kind::File:
        break;
    }
    return std::make_unique<FileSource>(s.path);
}

std::string withoutPassword(const std::string& spec)
{
    const size_t scheme = spec.find("://");
    if (scheme == std::string::npos || spec.compare(0, 5, "ntrip") != 0)
        return spec;
    const size_t start = scheme + 3;
    const size_t at = spec.find('@', start);
    const size_t slash = spec.find('/', start);
    if (at == std::string::npos || (slash != std::string::npos && at > slash))
        return spec;
    const size_t colon = spec.find(':', start);
    if (colon == std::string::npos || colon > at)
        return spec;
    return spec.substr(0, colon) + spec.substr(at);
}

}  // namespace ppprt
