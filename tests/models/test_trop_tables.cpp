// Coefficient tables and the power helpers of the translated routines.
#include <gtest/gtest.h>

#include <cmath>

#include "models/TropTables.h"
#include "models/gmf.h"

namespace {

using namespace trop_tables;

TEST(TropTables, SizesAndPublishedValues)
{
    EXPECT_EQ(kHarmonicTerms, 55);
    EXPECT_EQ(sizeof(ah_mean) / sizeof(ah_mean[0]), 55u);
    EXPECT_EQ(sizeof(bt_amp) / sizeof(bt_amp[0]), 55u);
    EXPECT_EQ(sizeof(niell_rows) / sizeof(niell_rows[0]), 5u);

    // First, some middle and last terms, as printed in the publications.
    EXPECT_EQ(ah_mean[0], 125.17);
    EXPECT_EQ(aw_mean[0], 56.40);
    EXPECT_EQ(ah_amp[1], -2.837);
    EXPECT_EQ(bh_mean[2], 3.249e-02);    // (1,1)
    EXPECT_EQ(aw_amp[30], 1.255e-02);    // (7,2)
    EXPECT_EQ(bw_amp[54], -5.7e-09);     // (9,9)
    EXPECT_EQ(a_geoid[0], -0.56195);
    EXPECT_EQ(ap_mean[0], 1010.8);
    EXPECT_EQ(at_mean[0], 16.257);
    EXPECT_EQ(bp_amp[2], 0.9334);
    EXPECT_EQ(bt_amp[54], -9.2323e-09);

    EXPECT_EQ(niell_rows[0].latitudeDeg, 15.0);
    EXPECT_EQ(niell_rows[4].latitudeDeg, 75.0);
    EXPECT_EQ(niell_rows[0].hydroAverage[0], 1.2769934e-3);
    EXPECT_EQ(niell_rows[3].hydroAmplitude[2], 84.795348e-5);
    EXPECT_EQ(niell_rows[4].wet[2], 5.4736038e-2);
    EXPECT_EQ(niell_height[0], 2.53e-5);
    EXPECT_EQ(niell_height[2], 1.14e-3);
}

TEST(TropTables, SineCoefficientsVanishForZonalTerms)
{
    // Terms of order 0 have no sine part: a check of the (n, m) ordering.
    const double* sineTables[] = {bh_mean, bh_amp, bw_mean, bw_amp, b_geoid, bp_mean, bp_amp, bt_mean, bt_amp};
    for (int n = 0; n <= kHarmonicDegree; ++n)
        for (const double* table : sineTables)
            EXPECT_EQ(table[n * (n + 1) / 2], 0.0) << "degree " << n;
}

TEST(PowerHelpers, IntegerAndFloatingPowers)
{
    auto ii = [](int b, int e) { return pow_ii(&b, &e); };
    auto di = [](double b, int e) { return pow_di(&b, &e); };
    auto dd = [](double b, double e) { return pow_dd(&b, &e); };
    EXPECT_EQ(ii(2, 10), 1024);
    EXPECT_EQ(ii(-3, 3), -27);
    EXPECT_EQ(ii(7, 0), 1);
    EXPECT_EQ(ii(0, 0), 1);
    EXPECT_EQ(ii(2, -1), 0);
    EXPECT_EQ(ii(0, -2), 0);
    EXPECT_EQ(ii(1, -5), 1);
    EXPECT_EQ(ii(-1, -3), -1);
    EXPECT_EQ(ii(-1, -4), 1);
    EXPECT_DOUBLE_EQ(di(1.5, 3), 3.375);
    EXPECT_DOUBLE_EQ(di(2.0, -2), 0.25);
    EXPECT_DOUBLE_EQ(di(-0.5, 5), -0.03125);
    EXPECT_DOUBLE_EQ(di(9.3, 0), 1.0);
    EXPECT_DOUBLE_EQ(dd(2.0, 0.5), std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(dd(0.9, 5.225), std::pow(0.9, 5.225));
}

}  // namespace
