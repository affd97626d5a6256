#include <gtest/gtest.h>

#include <string>

#include "TestFiles.h"
#include "io/SatelliteId.h"
#include "io/UpdFile.h"

using namespace testfiles;

namespace {

// Day starting at week 2111, sow 345600; narrow-lane intervals of 900 s.
pppio::UpdProduct SampleProduct()
{
    pppio::UpdProduct p;
    p.nlInterval = 900.0;
    p.wideLane = {{1, {2111, 345600.0}, 0.1234, 0.0120, 57},
                  {5, {2111, 345600.0}, -0.4999, 0.0300, 3},
                  {70, {2111, 345600.0}, 0.25, 0.01, 9}};       // E11: no NL line
    p.narrowLane = {{1, {2111, 345600.0}, -0.2345, 0.0210, 12},
                    {1, {2111, 346500.0}, -0.2311, 0.0190, 11},
                    {5, {2111, 345600.0}, 0.4, 0.02, 2}};
    return p;
}

}  // namespace

TEST(UpdFile, WriteAndReadBackGiveTheSameProduct)
{
    const std::string path = scratchPath("roundtrip.upd");
    const pppio::UpdProduct written = SampleProduct();
    written.write(path);
    const pppio::UpdProduct read = pppio::UpdProduct::read(path);
    EXPECT_TRUE(read.warnings.empty());
    EXPECT_DOUBLE_EQ(read.nlInterval, 900.0);
    ASSERT_EQ(read.wideLane.size(), written.wideLane.size());
    ASSERT_EQ(read.narrowLane.size(), written.narrowLane.size());
    for (int lane = 0; lane < 2; ++lane) {
        const auto& a = lane == 0 ? written.wideLane : written.narrowLane;
        const auto& b = lane == 0 ? read.wideLane : read.narrowLane;
        for (size_t i = 0; i < a.size(); ++i) {
            EXPECT_EQ(b[i].iprn, a[i].iprn);
            EXPECT_EQ(b[i].start.week, a[i].start.week);
            EXPECT_DOUBLE_EQ(b[i].start.sow, a[i].start.sow);
            EXPECT_NEAR(b[i].value, a[i].value, 5e-5);
            EXPECT_NEAR(b[i].sigma, a[i].sigma, 5e-5);
            EXPECT_EQ(b[i].count, a[i].count);
        }
    }
}

TEST(UpdFile, EpochPicksTheValuesValidAtItsTime)
{
    const pppio::UpdProduct p = SampleProduct();
    struct Case {
        int week;
        double sow;
        double g01Nl;   // 0: G01 entry not valid
        bool g05Valid;
    };
    const Case cases[] = {
        {2111, 345600.0, -0.2345, true},    // start of the day and of the first interval: inclusive
        {2111, 346499.9, -0.2345, true},
        {2111, 346500.0, -0.2311, false},   // second interval: G05 has none
        {2111, 347399.0, -0.2311, false},
        {2111, 347400.0, 0.0, false},       // end of the last interval: exclusive
        {2111, 345599.0, 0.0, false},       // before the day
        {2110, 345600.0, 0.0, false},
    };
    t_upd upds[pppio::kMaxPackedIndex];
    for (const Case& c : cases) {
        SCOPED_TRACE(c.sow);
        const int valid = p.fill({c.week, c.sow}, upds);
        EXPECT_EQ(valid, (c.g01Nl != 0.0) + c.g05Valid);
        EXPECT_EQ(upds[0].valid, c.g01Nl != 0.0 ? 1 : 0);
        EXPECT_EQ(upds[4].valid, c.g05Valid ? 1 : 0);
        EXPECT_EQ(upds[69].valid, 0);   // wide-lane only
        if (c.g01Nl != 0.0) {
            EXPECT_EQ(upds[0].week, c.week);
            EXPECT_DOUBLE_EQ(upds[0].sow, c.sow);
            EXPECT_DOUBLE_EQ(upds[0].wl, 0.1234);
            EXPECT_DOUBLE_EQ(upds[0].wlSigma, 0.0120);
            EXPECT_EQ(upds[0].wl_num, 57);
            EXPECT_DOUBLE_EQ(upds[0].nl, c.g01Nl);
            EXPECT_EQ(upds[0].nl_num, c.g01Nl == -0.2345 ? 12 : 11);
        } else {
            EXPECT_GE(upds[0].nl, 999.0);
        }
    }
    // The day ends 86400 s after its start, exclusive.
    pppio::UpdProduct day = p;
    day.narrowLane.push_back({1, {2111, 345600.0 + 86400.0 - 900.0}, 0.1, 0.0, 2});
    EXPECT_EQ(day.fill({2111, 345600.0 + 86399.0}, upds), 1);
    EXPECT_EQ(day.fill({2111, 345600.0 + 86400.0}, upds), 0);
}

TEST(UpdFile, MalformedLinesNameFileAndLine)
{
    const std::string head = "% ppplib UPD 1.0\n% NL_INTERVAL 900\nWL 2111 345600.0 G01 0.1 0.01 5\n";
    const struct {
        const char* text;
        long line;
        const char* message;
    } cases[] = {
        {"% ppplib UPD 1.0\nNL 2111 345600.0 G01 0.1 0.01 5\n", 2, "NL_INTERVAL"},
        {"# UPD\n", 1, "header line"},
        {"% ppplib UPD 1.0\n% NL_INTERVAL -5\n", 2, "positive narrow-lane interval"},
        {"% ppplib UPD 1.0\n% NL_INTERVAL 9E15\n", 2, "at most 86400 seconds"},
        {"WL 2111 345600.0 G01 0.1 0.01\n", 4, "expected 7 fields"},
        {"XL 2111 345600.0 G01 0.1 0.01 5\n", 4, "WL or NL"},
        {"NL 2111 604800.0 G01 0.1 0.01 5\n", 4, "seconds of week"},
        {"NL 2111 345600.0 G1 0.1 0.01 5\n", 4, "a satellite"},
        {"NL 2111 345600.0 G01 0.1x 0.01 5\n", 4, "the UPD in cycles"},
        {"NL 2111 345600.0 G01 0.1 -0.01 5\n", 4, "sigma of 0 or more"},
        {"NL 2111 345600.0 G01 0.1 3E230 5\n", 4, "below 1e9 cycles"},
        {"NL 2111 345600.0 G01 -1E9 0.01 5\n", 4, "below 1e9 cycles"},
        {"NL 2111 345600.0 G01 0.1 0.01 5.5\n", 4, "the count"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        const std::string text = c.text[0] == '%' || c.text[0] == '#' ? c.text : head + c.text;
        const std::string path = scratchPath("bad.upd");
        writeText(path, text);
        expectReadError([&] { pppio::UpdProduct::read(path); }, path, c.line, c.message);
    }
}
