#include "rt/RtcmBits.h"

#include <cmath>
#include <cstring>

namespace ppprt {

uint32_t crc24q(const uint8_t* data, size_t length)
{
    constexpr uint32_t kPolynomial = 0x1864CFB;
    uint32_t crc = 0;
    for (size_t i = 0; i < length; ++i) {
        crc ^= static_cast<uint32_t>(data[i]) << 16;
        for (int bit = 0; bit < 8; ++bit) {
            crc <<= 1;
            if (crc & 0x1000000)
                crc ^= kPolynomial;
        }
    }
    return crc & 0xFFFFFF;
}

uint64_t BitReader::unsigned64(int bits)
{
    if (bits <= 0 || bits > 64 || m_position + static_cast<size_t>(bits) > m_bits) {
        m_ok = false;
        m_position = m_bits;
        return 0;
    }
    uint64_t value = 0;
    for (int k = 0; k < bits; ++k, ++m_position)
        value = (value << 1) | ((m_data[m_position / 8] >> (7 - m_position % 8)) & 1u);
    return value;
}

int64_t BitReader::signed64(int bits)
{
    const uint64_t raw = unsigned64(bits);
    if (bits >= 64)
        return static_cast<int64_t>(raw);
    const uint64_t sign = uint64_t{1} << (bits - 1);
    return raw & sign ? static_cast<int64_t>(raw) - static_cast<int64_t>(sign << 1) : static_cast<int64_t>(raw);
}

int64_t BitReader::signMagnitude(int bits)
{
    const bool negative = flag();
    const int64_t magnitude = static_cast<int64_t>(unsigned64(bits - 1));
    return negative ? -magnitude : magnitude;
}

void BitReader::skip(int bits)
{
    if (bits < 0 || m_position + static_cast<size_t>(bits) > m_bits) {
        m_ok = false;
        m_position = m_bits;
        return;
    }
    m_position += static_cast<size_t>(bits);
}

BitWriter::BitWriter(uint8_t* data, size_t capacity) : m_data(data), m_capacity(capacity * 8)
{
    std::memset(data, 0, capacity);
}

void BitWriter::put(uint64_t pattern, int bits)
{
    if (bits <= 0 || bits > 64 || m_position + static_cast<size_t>(bits) > m_capacity) {
        m_ok = false;
        return;
    }
    for (int k = bits - 1; k >= 0; --k, ++m_position) {
        const uint8_t mask = static_cast<uint8_t>(0x80u >> (m_position % 8));
        if ((pattern >> k) & 1u)
            m_data[m_position / 8] |= mask;
        else
            m_data[m_position / 8] &= static_cast<uint8_t>(~mask);
    }
}

void BitWriter::putUnsigned(uint64_t value, int bits)
{
    if (bits < 64 && (value >> bits) != 0)
        m_ok = false;
    put(value, bits);
}

void BitWriter::putSigned(int64_t value, int bits)
{
    if (bits < 64) {
        const int64_t limit = int64_t{1} << (bits - 1);
        if (value < -limit || value >= limit)
            m_ok = false;
    }
    put(static_cast<uint64_t>(value), bits);
}

void BitWriter::putSignMagnitude(int64_t value, int bits)
{
    const uint64_t magnitude = static_cast<uint64_t>(value < 0 ? -value : value);
    putFlag(value < 0);
    putUnsigned(magnitude, bits - 1);
}

int64_t scaledSigned(double value, double resolution, int bits)
{
    const int64_t limit = int64_t{1} << (bits - 1);
    const double scaled = std::floor(value / resolution + 0.5);
    if (!std::isfinite(scaled) || scaled <= -static_cast<double>(limit) || scaled >= static_cast<double>(limit))
        return -limit;
    return static_cast<int64_t>(scaled);
}

}  // namespace ppprt
