// Cuts a byte stream into RTCM 3 frames: preamble 0xD3, six reserved bits,
// a 10-bit payload length, the payload and a CRC-24Q over all before it.
// Bytes may arrive in pieces of any size; a frame split across reads is
// joined. Bytes outside a frame and frames with a bad CRC are skipped and
// counted, and the search resumes one byte after the false preamble, so a
// corrupt frame costs only itself.
//
//   ppprt::RtcmFramer framer;
//   framer.push(chunk, n);
//   ppprt::RtcmFrame frame;
//   while (framer.next(frame))
//       handle(frame.type(), frame.payload, frame.length);
#ifndef PPPRT_RTCMFRAMER_H
#define PPPRT_RTCMFRAMER_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ppprt {

constexpr size_t kRtcmMaxPayload = 1023;
constexpr size_t kRtcmFrameOverhead = 6;   // 3 header bytes, 3 CRC bytes

struct RtcmFrame {
    const uint8_t* payload = nullptr;   // valid until the next push()
    size_t length = 0;
    // Message number: the first 12 bits of the payload (0 when shorter).
    int type() const { return length >= 2 ? (payload[0] << 4) | (payload[1] >> 4) : 0; }
};

struct FramerCounts {
    long frames = 0;         // frames with a good CRC
    long badCrc = 0;         // candidate frames rejected by their CRC
    long skippedBytes = 0;   // bytes that belonged to no good frame
};

class RtcmFramer {
public:
    RtcmFramer();

    void push(const uint8_t* data, size_t length);
    // Next complete frame with a good CRC; false when more bytes are needed.
    bool next(RtcmFrame& frame);
    // Bytes held that do not yet form a frame (at the end of a stream: a
    // truncated frame).
    size_t pending() const { return m_end - m_start; }
    const FramerCounts& counts() const { return m_counts; }

    // Writes payload as a complete frame into out (length + 6 bytes);
    // returns the frame length, 0 when the payload is too long.
    static size_t frame(const uint8_t* payload, size_t length, uint8_t* out);

private:
    void compact();

    std::vector<uint8_t> m_buffer;
    size_t m_start = 0;   // first byte not yet consumed
    size_t m_end = 0;     // one past the last byte received
    FramerCounts m_counts;
};

}  // namespace ppprt

#endif
