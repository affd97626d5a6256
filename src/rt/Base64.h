// Base64 (RFC 4648, standard alphabet, '=' padding) for HTTP Basic
// authorization: base64Encode("user:pass").
#ifndef PPPRT_BASE64_H
#define PPPRT_BASE64_H

#include <string>

namespace ppprt {

std::string base64Encode(const std::string& bytes);

}  // namespace ppprt

#endif
