// Mutation fuzzing of the RTCM 3 decoding path: frames of the committed
// recordings, damaged at random (bits flipped, bytes overwritten, payloads
// cut or lengthened, random payloads under the numbers of real messages),
// go through the dispatcher into the MSM epoch builder, the broadcast
// orbits and the SSR store (the framer's own recovery is checked in its
// unit test). Any out-of-bounds access or undefined behaviour shows under
// the sanitizer build; the checks below catch what would corrupt a run
// silently. Reproducible from the seed; PPP_FUZZ_ITERATIONS runs longer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "io/BroadcastOrbit.h"
#include "io/GpsTime.h"
#include "rt/MsmEpochBuilder.h"
#include "rt/RtcmDecoder.h"
#include "rt/SsrCorrections.h"
#include "rt/RtcmTestFiles.h"

namespace {

using rtcmtest::Payload;

std::vector<Payload> Corpus()
{
    std::vector<Payload> corpus;
    for (const char* name : {"GMSD7_20121014_MSM7_excerpt.rtcm3", "GMSD7_20121014_ephemerides.rtcm3",
                             "ROVR_20260206_MSM5_excerpt.rtcm3", "SSRA03IGS0_2026188140760_3epoch.rtcm3",
                             "SSR_20260206_corrections.rtcm3", "SSR_20260206_ephemerides.rtcm3"}) {
        const std::vector<Payload> frames = rtcmtest::readPayloads(name);
        corpus.insert(corpus.end(), frames.begin(), frames.end());
    }
    return corpus;
}

long Iterations()
{
    const char* text = std::getenv("PPP_FUZZ_ITERATIONS");
    const long n = text ? std::atol(text) : 0;
    return n > 0 ? n : 20000;
}

class Mutator {
public:
    explicit Mutator(uint32_t seed) : m_rng(seed) {}

    size_t below(size_t n) { return n ? std::uniform_int_distribution<size_t>(0, n - 1)(m_rng) : 0; }
    uint8_t byte() { return static_cast<uint8_t>(below(256)); }

    // One damaged copy of a corpus payload, or a random payload under the
    // number of a corpus message so the decoder behind it is reached.
    Payload mutate(const std::vector<Payload>& corpus)
    {
        Payload p = corpus[below(corpus.size())];
        p.resize(std::max<size_t>(p.size(), 2));
        switch (below(5)) {
        case 0:   // bits flipped
            for (size_t k = 1 + below(8); k > 0; --k)
                p[below(p.size())] ^= static_cast<uint8_t>(1u << below(8));
            break;
        case 1:   // bytes overwritten with extremes or noise (counts, masks, lengths)
            for (size_t k = p.size() > 2 ? 1 + below(4) : 0; k > 0; --k)
                p[2 + below(p.size() - 2)] = below(3) == 0 ? 0x00 : below(2) ? 0xFF : byte();
            break;
        case 2:   // cut short
            p.resize(below(p.size() + 1));
            break;
        case 3:   // lengthened with noise
            for (size_t k = below(ppprt::kRtcmMaxPayload - p.size() + 1); k > 0; --k)
                p.push_back(byte());
            break;
        default:  // noise under a real message number
            const uint8_t head[2] = {p[0], p[1]};
            p.resize(2 + below(ppprt::kRtcmMaxPayload - 1));
            for (size_t k = 2; k < p.size(); ++k)
                p[k] = byte();
            p[0] = head[0];
            p[1] = static_cast<uint8_t>((head[1] & 0xF0) | (p[1] & 0x0F));
        }
        return p;
    }

private:
    std::mt19937 m_rng;
};

// The decoding path of ppprun, with the checks that its products stay sane.
struct DecodingPath {
    pppio::BroadcastOrbit broadcast;
    ppprt::SsrCorrections corrections;
    ppprt::MsmEpochBuilder builder;
    ppprt::RtcmDecoder decoder{broadcast, corrections, builder};
    long handled = 0;

    void handle(const ppprt::RtcmFrame& frame)
    {
        ++handled;
        if (decoder.handle(frame) == ppprt::FrameKind::kEpochComplete)
            check(builder.epoch());
    }

    void check(const pppio::ObsEpoch& epoch)
    {
        ASSERT_TRUE(std::isfinite(epoch.gpsTime.sow));
        ASSERT_LE(epoch.satelliteCount(), 64 * 4);
        const pppio::RinexObsHeader& header = builder.header();
        for (int sat = 0; sat < epoch.satelliteCount(); ++sat) {
            const pppio::ObsSatellite& s = epoch.satellite(sat);
            ASSERT_NE(std::string("GRECJ").find(s.system), std::string::npos) << s.system;
            ASSERT_GE(s.prn, 1);
            const int types = static_cast<int>(header.obsTypes(s.system).codes.size());
            for (int type = 0; type < types; ++type)
                ASSERT_TRUE(std::isfinite(epoch.obs(sat, type).value)) << s.system << int(s.prn) << " " << type;
        }
    }

    long counted() const
    {
        long total = 0;
        for (const auto& m : decoder.counts().messages)
            total += m.second;
        return total;
    }
};

TEST(RtcmFuzz, DamagedPayloadsNeitherCrashNorCorruptTheDecodedRecords)
{
    const std::vector<Payload> corpus = Corpus();
    ASSERT_GT(corpus.size(), 100u);
    Mutator mutator(20260206);
    DecodingPath path;
    path.decoder.setReference(tagGPSTIME2{2231, 0.0});
    for (long k = 0, n = Iterations(); k < n; ++k) {
        const Payload p = mutator.mutate(corpus);
        if (k % 97 == 0)
            path.decoder.holdCorrections(mutator.below(2) == 0);
        if (k % 89 == 0)
            path.decoder.applyHeldCorrection();
        if (k % 1009 == 0 && path.builder.flush())
            path.check(path.builder.epoch());
        ppprt::RtcmFrame frame;
        frame.payload = p.data();
        frame.length = p.size();
        path.handle(frame);
        if (HasFatalFailure())
            return;
    }
    EXPECT_EQ(path.counted(), path.handled);
    EXPECT_FALSE(path.decoder.counts().skipped.empty());
}

}  // namespace
