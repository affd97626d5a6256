#include "rt/RtcmFramer.h"

#include <cstring>

#include "rt/RtcmBits.h"

namespace ppprt {

namespace {
constexpr uint8_t kPreamble = 0xD3;
constexpr size_t kLargestFrame = kRtcmMaxPayload + kRtcmFrameOverhead;
}  // namespace

RtcmFramer::RtcmFramer() : m_buffer(4 * kLargestFrame) {}

void RtcmFramer::compact()
{
    if (m_start == 0)
        return;
    std::memmove(m_buffer.data(), m_buffer.data() + m_start, m_end - m_start);
    m_end -= m_start;
    m_start = 0;
}

void RtcmFramer::push(const uint8_t* data, size_t length)
{
    compact();
    if (m_end + length > m_buffer.size())
        m_buffer.resize(m_end + length);
    std::memcpy(m_buffer.data() + m_end, data, length);
    m_end += length;
}

bool RtcmFramer::next(RtcmFrame& frame)
{
    while (m_start < m_end) {
        const uint8_t* p = m_buffer.data() + m_start;
        const size_t available = m_end - m_start;
        if (p[0] != kPreamble) {
            ++m_start;
            ++m_counts.skippedBytes;
            continue;
        }
        if (available < 3)
            return false;
        const size_t length = (static_cast<size_t>(p[1] & 0x03) << 8) | p[2];
        if ((p[1] & 0xFC) != 0) {   // reserved bits set: not a frame start
            ++m_start;
            ++m_counts.skippedBytes;
            continue;
        }
        if (available < length + kRtcmFrameOverhead)
            return false;
        const uint32_t crc = (static_cast<uint32_t>(p[length + 3]) << 16) |
                             (static_cast<uint32_t>(p[length + 4]) << 8) | p[length + 5];
        if (crc24q(p, length + 3) != crc) {
            ++m_counts.badCrc;
            ++m_start;
            ++m_counts.skippedBytes;
            continue;
        }
        frame.payload = p + 3;
        frame.length = length;
        m_start += length + kRtcmFrameOverhead;
        ++m_counts.frames;
        return true;
    }
    return false;
}

size_t RtcmFramer::frame(const uint8_t* payload, size_t length, uint8_t* out)
{
    if (length > kRtcmMaxPayload)
        return 0;
    out[0] = kPreamble;
    out[1] = static_cast<uint8_t>(length >> 8);
    out[2] = static_cast<uint8_t>(length & 0xFF);
    std::memcpy(out + 3, payload, length);
    const uint32_t crc = crc24q(out, length + 3);
    out[length + 3] = static_cast<uint8_t>(crc >> 16);
    out[length + 4] = static_cast<uint8_t>((crc >> 8) & 0xFF);
    out[length + 5] = static_cast<uint8_t>(crc & 0xFF);
    return length + kRtcmFrameOverhead;
}

}  // namespace ppprt
