#include "rt/Base64.h"

#include <cstdint>

namespace ppprt {

std::string base64Encode(const std::string& bytes)
{
    static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t n = bytes.size() - i < 3 ? bytes.size() - i : 3;
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k)
            group = (group << 8) | (k < n ? static_cast<uint8_t>(bytes[i + k]) : 0u);
        for (size_t k = 0; k < 4; ++k)
            out += k <= n ? kAlphabet[(group >> (18 - 6 * k)) & 0x3F] : '=';
    }
    return out;
}

}  // namespace ppprt
