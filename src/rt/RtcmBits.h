// Bit fields of RTCM 3 messages: unsigned and two's-complement integers of
// up to 64 bits at any bit position (most significant bit first), the
// sign-magnitude integers of the GLONASS messages, and the CRC-24Q that
// protects each frame.
//
//   ppprt::BitReader in(payload, length);
//   const int type = in.unsigned32(12);
//   const double x = in.signed64(38) * 1e-4;    // false ok() if it ran past the end
//
//   ppprt::BitWriter out(buffer, sizeof(buffer));
//   out.putUnsigned(1005, 12);
#ifndef PPPRT_RTCMBITS_H
#define PPPRT_RTCMBITS_H

#include <cstddef>
#include <cstdint>

namespace ppprt {

// CRC-24Q (polynomial 0x1864CFB, initial value 0) of `length` bytes.
uint32_t crc24q(const uint8_t* data, size_t length);

// Sequential reader. Reading past the end returns zeros and clears ok(), so
// a decoder reads a whole message and checks ok() once.
class BitReader {
public:
    BitReader(const uint8_t* data, size_t length) : m_data(data), m_bits(length * 8) {}

    uint64_t unsigned64(int bits);
    int64_t signed64(int bits);       // two's complement
    int64_t signMagnitude(int bits);  // sign bit then magnitude (GLONASS)
    uint32_t unsigned32(int bits) { return static_cast<uint32_t>(unsigned64(bits)); }
    int32_t signed32(int bits) { return static_cast<int32_t>(signed64(bits)); }
    bool flag() { return unsigned64(1) != 0; }
    void skip(int bits);

    bool ok() const { return m_ok; }
    size_t position() const { return m_position; }
    size_t remaining() const { return m_position <= m_bits ? m_bits - m_position : 0; }

private:
    const uint8_t* m_data;
    size_t m_bits;
    size_t m_position = 0;
    bool m_ok = true;
};

// Sequential writer into a zeroed buffer. Writing past the end, or a value
// that does not fit its field, clears ok().
class BitWriter {
public:
    BitWriter(uint8_t* data, size_t capacity);

    void putUnsigned(uint64_t value, int bits);
    void putSigned(int64_t value, int bits);
    void putSignMagnitude(int64_t value, int bits);
    void putFlag(bool value) { putUnsigned(value ? 1 : 0, 1); }

    bool ok() const { return m_ok; }
    size_t bits() const { return m_position; }
    size_t bytes() const { return (m_position + 7) / 8; }

private:
    void put(uint64_t pattern, int bits);

    uint8_t* m_data;
    size_t m_capacity;   // bits
    size_t m_position = 0;
    bool m_ok = true;
};

// Rounds a physical value to an integer count of `resolution` units; values
// too large for `bits` signed bits give the field's most negative value,
// which RTCM uses as "not available" in many fields.
int64_t scaledSigned(double value, double resolution, int bits);

}  // namespace ppprt

#endif
