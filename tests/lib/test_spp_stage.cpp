// The driver's SPP stage: what a good epoch leaves behind, and the error dump
// of an epoch whose SPP reports success with coordinates that are not numbers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "LibFixtures.h"

using namespace libtest;

namespace {

struct DebugHost : Host {
    DebugHost()
    {
        std::strcpy(conf.res_dir, dir.path().c_str());
        conf.out_debug = 1;
    }
    std::string File(const std::string& extension) const
    {
        return dir / ("20200625/ABCD_20200625_rtp_K_GRE" + extension);
    }
    TempDir dir;
};

std::vector<std::string> SplitCrLf(const std::string& text)
{
    std::vector<std::string> lines;
    size_t from = 0;
    for (size_t end; (end = text.find("\r\n", from)) != std::string::npos; from = end + 2)
        lines.push_back(text.substr(from, end - from));
    if (from < text.size())
        lines.push_back(text.substr(from));
    return lines;
}

std::string Field(double value)
{
    char text[64];
    std::snprintf(text, sizeof(text), " %15.3f  ", value);
    return text;
}

TEST(SppStage, GoodEpochWritesItsLineAndKeepsTheSolution)
{
    DebugHost host;
    host.Start();
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    ASSERT_EQ(host.Run(), 1);
    const tagSPPONERESULT& r = *host.result;
    EXPECT_EQ(r.bSppValid, 1);
    EXPECT_EQ(r.nSppSat, r.nSatNum);
    EXPECT_EQ(r.nSppSat, host.observed->nSatNum);
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(r.dSppPos[k], r.dPos[k]);
        EXPECT_NEAR(r.dNEU[k], 0.0, 1e-3) << "against the site's reference position";
    }
    const std::string line = ReadFile(host.File(".spp"));
    EXPECT_EQ(line.compare(0, 35, "2020 06 25 00 15 00 2111 346500.00 "), 0) << line;
    EXPECT_EQ(CountLines(host.File(".spp")), 1);
    EXPECT_EQ(ReadFile(host.File(".outlier")), "");
}

// A GLONASS code sigma of 1e-154 m squares into the subnormal range: the
// precise stage's normal equations overflow and SPP reports success with
// coordinates that are not numbers.
TEST(SppStage, CoordinatesThatAreNotNumbersWriteTheErrorDumpAndNoPosition)
{
    DebugHost host;
    host.conf.weight.dWeightSigma[1] = 1e-154;
    host.Start();
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    const int code = host.Run();
    if (!std::isnan(host.result->dPos[0]))
        GTEST_SKIP() << "the overflow does not happen on this platform; the dump is not reachable";
    EXPECT_EQ(code, 0);
    EXPECT_EQ(host.result->bSppValid, 0);
    EXPECT_EQ(ReadFile(host.File(".spp")), "");

    const std::vector<std::string> lines = SplitCrLf(ReadFile(host.File(".outlier")));
    const int used = host.epoch->epoHead.nUsedSat;
    ASSERT_GT(used, 0);
    ASSERT_EQ(lines.size(), static_cast<size_t>(used) + 2);
    EXPECT_EQ(lines[0], "2020 06 25 00 15 00   2111   346500.00 spp error ");
    for (int i = 0; i < used; ++i) {
        const tagOBSONESAT& s = host.epoch->sat[i];
        char prefix[16];
        std::snprintf(prefix, sizeof(prefix), " %c%02d  ", s.cSys, s.prn);
        const std::string& line = lines[1 + i];
        EXPECT_EQ(line.substr(0, 6), prefix);
        EXPECT_EQ(line.size(), 6u + 5u * 18u) << line;
        EXPECT_EQ(line.substr(6, 18), Field(s.dP1)) << line;
    }
    // One listing of the 124 slots, each showing the orbit of the slot before it.
    const std::string& slots = lines.back();
    EXPECT_EQ(slots.size(), 124u * (4u * 18u) + 5u * 100u + 6u * 24u + 1u);
    const std::string zero = Field(0.0);
    EXPECT_EQ(slots.substr(0, 5 + 4 * 18), " 00  " + zero + zero + zero + zero);
    const tagSP3ONESAT& g01 = host.orbits->sat[0];
    EXPECT_EQ(slots.substr(5 + 4 * 18, 5 + 3 * 18), " 01  " + Field(g01.dPos[0]) + Field(g01.dPos[1]) +
                                                          Field(g01.dPos[2]));
    const tagSP3ONESAT& last = host.orbits->sat[122];
    const std::string tail = " 123  " + Field(last.dPos[0]) + Field(last.dPos[1]) + Field(last.dPos[2]) +
                             Field(last.dClk) + " ";
    EXPECT_EQ(slots.substr(slots.size() - tail.size()), tail);
}

}  // namespace
