// The client side of an NTRIP exchange: the request a client sends and the
// reading of the caster's reply header, for NTRIP 1 ("ICY 200 OK",
// "SOURCETABLE 200 OK") and NTRIP 2 (HTTP/1.1, possibly chunked).
//
//   ppprt::TcpSocket s; s.connect(host, port, 5000, error);
//   s.sendAll(ppprt::ntripRequest(address, "NTRIP ppplib/0.1"), ...);
//   ppprt::NtripReply reply;
//   if (!ppprt::readNtripReply(s, 5000, reply, leftover, error)) ...
#ifndef PPPRT_NTRIPREPLY_H
#define PPPRT_NTRIPREPLY_H

#include <string>
#include <vector>

#include "rt/StreamSource.h"
#include "rt/TcpSocket.h"

namespace ppprt {

struct NtripReply {
    enum class Kind { Stream, SourceTable, Unauthorized, NotFound, OtherError, NotNtrip };
    Kind kind = Kind::NotNtrip;
    int code = 0;              // HTTP status; 200 for the ICY and SOURCETABLE replies
    std::string statusLine;
    bool chunked = false;      // Transfer-Encoding: chunked
    long contentLength = -1;   // -1 when not given
};

// "GET /MOUNT ..." with the headers of the address's NTRIP version; an empty
// mount asks for the source table.
std::string ntripRequest(const SourceAddress& address, const std::string& userAgent);

// Reads the reply header within timeoutMs. Bytes after it go to `body`.
// False (with a message) when the connection fails or the header is not
// complete in time or too long; an error status is a successful read.
bool readNtripReply(TcpSocket& socket, int timeoutMs, NtripReply& reply, std::vector<uint8_t>& body,
                    std::string& error);

// ASCII lower case, for the case-insensitive header names of HTTP.
std::string asciiLower(std::string text);

// Text for a reply that is not the expected one, e.g. "unauthorized (401 ...)".
std::string describeReply(const NtripReply& reply, const std::string& mount);

}  // namespace ppprt

#endif
