#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "rt/FileSource.h"
#include "rt/NtripCaster.h"
#include "rt/NtripClient.h"
#include "rt/ReplaySchedule.h"
#include "rt/RtcmBits.h"
#include "rt/RtcmFramer.h"
#include "rt/TcpSocket.h"

namespace ppprt {
namespace {

const std::string kExcerpt = std::string(PPP_SOURCE_DIR) + "/tests/data/rt/GMSD7_20121014_head.rtcm3";

// Small delays so that every case ends well within a second or two.
SourceOptions FastOptions()
{
    SourceOptions o;
    o.connectTimeoutMs = 2000;
    o.idleTimeoutMs = 2000;
    o.reconnect.initialDelayMs = 20;
    o.reconnect.maxDelayMs = 100;
    o.reconnect.maxAttempts = 3;
    return o;
}

SourceAddress Address(const NtripCaster& caster, const std::string& mount, NtripVersion version,
                const std::string& user = "", const std::string& password = "")
{
    SourceAddress s;
    s.kind = SourceAddress::Kind::Ntrip;
    s.host = "127.0.0.1";
    s.port = caster.port();
    s.mount = mount;
    s.user = user;
    s.password = password;
    s.version = version;
    return s;
}

// Reads until `wanted` bytes came, an error, or 5 s.
ReadResult Receive(StreamSource& source, std::vector<uint8_t>& bytes, size_t wanted, size_t pieces = 4096)
{
    std::vector<uint8_t> buffer(pieces);
    const int64_t deadline = monotonicMs() + 5000;
    ReadResult r;
    while (bytes.size() < wanted && monotonicMs() < deadline) {
        r = source.read(buffer.data(), buffer.size(), 100);
        if (r.status == ReadStatus::Error)
            return r;
        bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + static_cast<long>(r.bytes));
    }
    return r;
}

TEST(NtripCaster, DeliversTheFileOverNtrip1And2)
{
    const std::vector<uint8_t> file = readWholeFile(kExcerpt);
    struct Case { NtripVersion version; const char* user; size_t pieces; double rate; };
    // Odd read sizes put NTRIP 2 chunk boundaries anywhere within the reads.
    const Case cases[] = {{NtripVersion::V1, "", 4096, 0.0}, {NtripVersion::V2, "", 333, 0.0},
                          {NtripVersion::V1, "me", 1000, 0.0}, {NtripVersion::V2, "me", 77, 40000.0}};
    for (const Case& c : cases) {
        CasterOptions co;
        co.user = c.user;
        co.password = "pw:1";
        co.bytesPerSecond = c.rate;
        NtripCaster caster({{"GMSD7", kExcerpt.c_str()}}, co);
        // Timed from before the client exists: it may connect and receive
        // on its own while this thread waits for a core.
        const int64_t start = monotonicMs();
        NtripClient client(Address(caster, "GMSD7", c.version, c.user, "pw:1"), FastOptions());
        std::vector<uint8_t> got;
        const ReadResult r = Receive(client, got, file.size(), c.pieces);
        const int64_t elapsed = monotonicMs() - start;
        EXPECT_NE(r.status, ReadStatus::Error) << r.message;
        EXPECT_TRUE(got == file) << "version " << static_cast<int>(c.version) << ", " << got.size() << " bytes";
        EXPECT_EQ(client.stats().connects, 1);
        EXPECT_EQ(client.stats().bytes, static_cast<int64_t>(file.size()));
        if (c.rate > 0.0) {   // 12229 bytes at 40 kB/s: 0.3 s
            EXPECT_GE(elapsed, 250) << "paced replay came too fast";
        }
    }
}

TEST(NtripCaster, SourceTableAndRefusals)
{
    CasterOptions co;
    co.user = "me";
    co.password = "secret";
    NtripCaster caster({{"GMSD7", kExcerpt, false}, {"VRS", kExcerpt, true}}, co);
    for (const NtripVersion v : {NtripVersion::V1, NtripVersion::V2}) {
        const std::vector<SourceTableEntry> table = fetchSourceTable(Address(caster, "", v), FastOptions());
        ASSERT_EQ(table.size(), 2u);
        EXPECT_EQ(table[0].mount, "GMSD7");
        EXPECT_FALSE(table[0].nmea);
        EXPECT_EQ(table[1].mount, "VRS");
        EXPECT_TRUE(table[1].nmea);
        EXPECT_EQ(table[1].authentication, "B");
    }
    struct Refusal { const char* mount; NtripVersion version; const char* password; const char* expected; };
    const Refusal refusals[] = {{"GMSD7", NtripVersion::V1, "wrong", "unauthorized"},
                                {"GMSD7", NtripVersion::V2, "", "unauthorized"},
                                {"NOPE", NtripVersion::V1, "secret", "'NOPE' not found"},   // answered with the table
                                {"NOPE", NtripVersion::V2, "secret", "404"}};
    for (const Refusal& f : refusals) {
        NtripClient client(Address(caster, f.mount, f.version, *f.password ? "me" : "", f.password), FastOptions());
        uint8_t buffer[256];
        const ReadResult r = client.read(buffer, sizeof(buffer), 2000);
        EXPECT_EQ(r.status, ReadStatus::Error) << f.mount;
        EXPECT_NE(r.message.find(f.expected), std::string::npos) << r.message;
        EXPECT_EQ(client.stats().failedAttempts, 1) << "a refusal is final, not retried";
    }
    EXPECT_EQ(caster.stats().refused, 3);
}

TEST(NtripCaster, ReconnectsAfterDropsAndGivesUpWhenRefused)
{
    const std::vector<uint8_t> file = readWholeFile(kExcerpt);
    CasterOptions co;
    co.dropAfterBytes = 5000;
    co.dropConnections = 2;
    co.bytesPerSecond = 40000.0;   // slow enough for the caster to read the GGA before each drop
    {
        NtripCaster caster({{"VRS", kExcerpt, true}}, co);
        NtripClient client(Address(caster, "VRS", NtripVersion::V2), FastOptions());
        client.setPosition(36.1, 140.1, 70.0);   // the mount asks for GGA
        std::vector<uint8_t> got;
        const ReadResult r = Receive(client, got, file.size(), 1500);
        EXPECT_NE(r.status, ReadStatus::Error) << r.message;
        EXPECT_TRUE(got == file) << got.size() << " bytes";   // the stream resumes where it broke
        EXPECT_GE(client.stats().drops, 2);   // a third when the end of the stream came with the last bytes
        EXPECT_EQ(client.stats().reconnects, 2);
        EXPECT_EQ(caster.stats().drops, 2);
        EXPECT_GE(client.stats().ggaSent, 3);   // once per connection
        for (int k = 0; k < 100 && caster.stats().ggaReceived < 3; ++k)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_GE(caster.stats().ggaReceived, 3);
    }
    int closedPort;
    {
        NtripCaster gone({}, CasterOptions());
        closedPort = gone.port();
    }
    SourceAddress address;
    address.host = "127.0.0.1";
    address.port = closedPort;
    address.mount = "X";
    NtripClient client(address, FastOptions());
    uint8_t buffer[64];
    ReadResult r;
    const int64_t deadline = monotonicMs() + 3000;
    while ((r = client.read(buffer, sizeof(buffer), 50)).status == ReadStatus::Timeout && monotonicMs() < deadline) {
    }
    EXPECT_EQ(r.status, ReadStatus::Error);
    EXPECT_NE(r.message.find("gave up after 3"), std::string::npos) << r.message;
    EXPECT_NE(r.message.find("refused"), std::string::npos) << r.message;
}

// Builds a frame of an MSM message of the given type with time of week tow ms.
std::vector<uint8_t> MsmFrame(int type, uint32_t towMs)
{
    uint8_t payload[16] = {};
    BitWriter w(payload, sizeof(payload));
    w.putUnsigned(static_cast<uint64_t>(type), 12);
    w.putUnsigned(1, 12);
    w.putUnsigned(towMs, 30);
    std::vector<uint8_t> frame(sizeof(payload) + kRtcmFrameOverhead);
    frame.resize(RtcmFramer::frame(payload, sizeof(payload), frame.data()));
    return frame;
}

TEST(ReplaySchedule, ReleasesEpochByEpoch)
{
    // The excerpt: 12 one-second epochs (GPS MSM7 604784 to 604795 s of week),
    // each epoch's frames ending at the offsets below.
    const std::vector<uint8_t> file = readWholeFile(kExcerpt);
    const ReplaySchedule s(file.data(), file.size());
    EXPECT_EQ(s.durationMs(), 11000);
    struct Due { size_t start; int64_t elapsedMs; size_t end; };
    const Due table[] = {{0, 0, 1072},     {0, 999, 1072},   {0, 1000, 2077}, {0, 10999, 11224},
                         {0, 60000, 12229}, {2077, 0, 3082}, {2077, 1500, 4087}};
    for (const Due& d : table)
        EXPECT_EQ(s.bytesDue(d.start, d.elapsedMs), d.end) << d.start << " + " << d.elapsedMs << " ms";

    // Across the end of the week: 604799 s, then 0 s and 1 s of the next week.
    std::vector<uint8_t> wrap;
    for (const uint32_t tow : {604799000u, 0u, 1000u}) {
        const std::vector<uint8_t> f = MsmFrame(1097, tow);
        wrap.insert(wrap.end(), f.begin(), f.end());
    }
    EXPECT_EQ(ReplaySchedule(wrap.data(), wrap.size()).durationMs(), 2000);
}

}  // namespace
}  // namespace ppprt
