#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "rt/RtcmBits.h"
#include "rt/RtcmFramer.h"

namespace ppprt {
namespace {

// CRC-24Q check value of the ASCII digits "123456789".
TEST(RtcmBits, CrcAndFieldRoundTrip)
{
    const char* digits = "123456789";
    EXPECT_EQ(crc24q(reinterpret_cast<const uint8_t*>(digits), 9), 0xCDE703u);

    struct Field { int64_t value; int bits; bool isSigned; bool signMagnitude; };
    const Field fields[] = {{1005, 12, false, false}, {-1, 1 + 21, true, false}, {-123456789012LL, 38, true, false},
                            {0xFFFFFFFFFFFFFFFLL, 60, false, false}, {-77, 27, true, true}, {1, 1, false, false}};
    uint8_t buffer[64];
    BitWriter out(buffer, sizeof(buffer));
    for (const Field& f : fields) {
        if (f.signMagnitude)
            out.putSignMagnitude(f.value, f.bits);
        else if (f.isSigned)
            out.putSigned(f.value, f.bits);
        else
            out.putUnsigned(static_cast<uint64_t>(f.value), f.bits);
    }
    ASSERT_TRUE(out.ok());
    BitReader in(buffer, out.bytes());
    for (const Field& f : fields) {
        const int64_t got = f.signMagnitude ? in.signMagnitude(f.bits)
                            : f.isSigned    ? in.signed64(f.bits)
                                            : static_cast<int64_t>(in.unsigned64(f.bits));
        EXPECT_EQ(got, f.value) << f.bits << " bits";
    }
    EXPECT_TRUE(in.ok());
    in.unsigned64(64);
    EXPECT_FALSE(in.ok());   // past the end

    BitWriter tooSmall(buffer, 1);
    tooSmall.putUnsigned(300, 8);
    EXPECT_FALSE(tooSmall.ok());
}

std::vector<uint8_t> Frame(int type, size_t length)
{
    std::vector<uint8_t> payload(length, 0x5A);
    payload[0] = static_cast<uint8_t>(type >> 4);
    payload[1] = static_cast<uint8_t>((type & 0xF) << 4);
    std::vector<uint8_t> out(length + kRtcmFrameOverhead);
    out.resize(RtcmFramer::frame(payload.data(), length, out.data()));
    return out;
}

// Frames arriving one byte at a time, between noise and a corrupted frame.
// A false frame start whose CRC fails is left a byte at a time: the good
// frame within its supposed length is still found.
TEST(RtcmFramer, JoinsSplitFramesAndSkipsCorruptOnes)
{
    std::vector<uint8_t> stream = {0x00, 0xD3, 0xFF, 0xD3, 0x00, 0x20};   // noise, false preambles
    for (int type : {1005, 1077, 1019}) {
        const std::vector<uint8_t> f = Frame(type, type == 1077 ? 700 : 20);
        stream.insert(stream.end(), f.begin(), f.end());
    }
    std::vector<uint8_t> bad = Frame(1045, 30);
    bad[10] ^= 0x40;
    stream.insert(stream.begin() + 3, bad.begin(), bad.end());
    const std::vector<uint8_t> last = Frame(1264, 10);
    stream.insert(stream.end(), last.begin(), last.end() - 2);   // truncated at the end

    RtcmFramer framer;
    std::vector<int> types;
    RtcmFrame frame;
    for (uint8_t byte : stream) {
        framer.push(&byte, 1);
        while (framer.next(frame))
            types.push_back(frame.type());
    }
    EXPECT_EQ(types, (std::vector<int>{1005, 1077, 1019}));
    EXPECT_EQ(framer.counts().badCrc, 2);
    EXPECT_EQ(framer.pending(), last.size() - 2);
    EXPECT_EQ(RtcmFramer::frame(bad.data(), kRtcmMaxPayload + 1, bad.data()), 0u);
}

}  // namespace
}  // namespace ppprt
