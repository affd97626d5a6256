#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "TestFiles.h"
#include "common/GNSSConst.h"
#include "io/PhaseBiasUpd.h"

using namespace testfiles;

namespace {

const tagGPSTIME2 kDay{2168, 345600.0};

// A Bias-SINEX file with the given OSB lines ("G01 L1C 0.3").
std::string BiasFile(const std::vector<std::string>& entries)
{
    std::string text = "%=BIA 1.00 PPL 2021:210:00000 PPL 2021:210:00000 2021:211:00000 A 00000001\n+BIAS/SOLUTION\n";
    for (const std::string& e : entries) {
        char line[128];
        std::snprintf(line, sizeof line,
                      " OSB  X000 %.3s           %.3s       2021:210:00000 2021:211:00000 ns   %21.14E\n", e.c_str(),
                      e.c_str() + 4, std::stod(e.substr(8)));
        text += line;
    }
    text += "-BIAS/SOLUTION\n%=ENDBIA\n";
    const std::string path = scratchPath("osb_" + std::to_string(entries.size()) + ".BIA");
    writeText(path, text);
    return path;
}

}  // namespace

TEST(PhaseBiasUpd, HandComputedSatelliteAndCodeCorrection)
{
    // G01: OSB(L1C) = 0.3 ns, OSB(L2W) = -0.7 ns.
    //   a1 = -0.3e-9 * 1575.42e6 = -0.472626, a2 = 0.7e-9 * 1227.6e6 = 0.85932 cycles
    //   W = a1 - a2 = -1.331946 -> k = -1, W' = -0.331946
    //   NL = (77 a1 - 60 a2) / 17 = -5.1736118824 (f1 : f2 = 77 : 60)
    //   NL' = NL + 60/17 = -1.6442001176 -> wrapped 0.3557998824
    // G01 C1W 10 ns: 10e-9 * 299792458 = 2.99792458 m.
    // G02 lacks L2W, L2L and L2X: no entry. E01 uses the preferred L1X over L1C.
    const pppio::BiasSinex biases = pppio::BiasSinex::read(BiasFile(
        {"G01 L1C 0.3", "G01 L2W -0.7", "G01 C1W 10", "G02 L1C 0.1", "G02 L2S 0.2", "E01 L1C 5.0", "E01 L1X 0.3",
         "E01 L5Q -0.7"}));
    pppio::PhaseSignalPreference preferred;
    std::snprintf(preferred.gal[0], 4, "L1X");
    t_upd upds[pppio::kMaxPackedIndex];
    const tagGPSTIME2 t{kDay.week, kDay.sow + 30.0};
    EXPECT_EQ(pppio::fillUpdsFromOsb(biases, t, upds, preferred), 2);
    EXPECT_EQ(upds[0].valid, 1);
    EXPECT_EQ(upds[0].week, t.week);
    EXPECT_DOUBLE_EQ(upds[0].sow, t.sow);
    EXPECT_NEAR(upds[0].wl, -0.331946, 1e-12);
    EXPECT_NEAR(upds[0].nl, 0.3557998824, 1e-10);
    EXPECT_EQ(upds[0].wl_num, pppio::kOsbUpdCount);
    EXPECT_EQ(upds[0].nl_num, pppio::kOsbUpdCount);
    EXPECT_EQ(upds[0].wlSigma, 0.0);
    EXPECT_EQ(upds[1].valid, 0);
    // E01 with L1X: a1 = -0.472626, a2 = 0.7e-9 * 1176.45e6 = 0.823515; W = -1.296141 -> W' = -0.296141;
    // NL = (1575.42 a1 - 1176.45 a2) / 398.97 = -4.2945802308; NL' = NL + 1176.45/398.97 = -1.3458622821
    // -> wrapped -0.3458622821.
    EXPECT_EQ(upds[59].valid, 1);
    EXPECT_NEAR(upds[59].wl, -0.296141, 1e-12);
    EXPECT_NEAR(upds[59].nl, -0.3458622821, 1e-10);
    EXPECT_NEAR(*pppio::codeBiasMetres(biases, 1, "C1W", t), 2.99792458, 1e-12);
    EXPECT_FALSE(pppio::codeBiasMetres(biases, 1, "C2W", t));
}

TEST(PhaseBiasUpd, MatchesTheLibraryDomainUpdOfKnownPhaseBiases)
{
    // Made-up satellite phase biases a1, a2 (cycles) and the OSBs that encode
    // them, OSB = -a / (1e-9 f). The published W', NL' must differ from the
    // truth W = a1 - a2, NL = (f1 a1 - f2 a2)/(f1 - f2) by the integer k of
    // the wide-lane wrap and an integer narrow-lane shift.
    const double a[][2] = {{0.12, -0.31}, {2.7, 1.1}, {-3.45, 0.05}, {0.49, -0.01}, {-0.26, 0.25}};
    const struct {
        double f1, f2;
    } bands[] = {{_GPS_F1, _GPS_F2}, {_GAL_F1, _GAL_F5}};
    for (const auto& b : bands) {
        for (const auto& ai : a) {
            const pppio::WideNarrowUpd u =
                pppio::updFromPhaseOsb(-ai[0] / (1e-9 * b.f1), -ai[1] / (1e-9 * b.f2), b.f1, b.f2);
            const double w = ai[0] - ai[1];
            const double nl = (b.f1 * ai[0] - b.f2 * ai[1]) / (b.f1 - b.f2);
            const double k = w - u.wl;
            EXPECT_NEAR(k, std::round(k), 1e-9);
            const double shift = nl - b.f2 / (b.f1 - b.f2) * std::round(k) - u.nl;
            EXPECT_NEAR(shift, std::round(shift), 1e-9);
            EXPECT_TRUE(u.wl >= -0.5 && u.wl < 0.5 && u.nl >= -0.5 && u.nl < 0.5) << u.wl << " " << u.nl;
        }
    }
}
