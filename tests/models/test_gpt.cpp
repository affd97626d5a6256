// Global Pressure and Temperature: translated routine and member.
#include <gtest/gtest.h>

#include "models/GNSSErrorCorrection.h"
#include "models/gpt.h"

namespace {

constexpr double kTestMjd = 55055.0;
constexpr double kTestLat = 0.6708665767;
constexpr double kTestHeight = 812.546;

struct GptValues {
    double pres;
    double temp;
    double undu;
};

GptValues Routine(double mjd, double lat, double lon, double height)
{
    GptValues v{};
    EXPECT_EQ(gpt_(&mjd, &lat, &lon, &height, &v.pres, &v.temp, &v.undu), 0);
    return v;
}

GptValues Member(double day, double lat, double lon, double height)
{
    CGNSSErrorCorrection models;
    GptValues v{};
    EXPECT_EQ(models.GetGPT(day, tagCRDGEODETIC{lon, lat, height}, &v.pres, &v.temp, &v.undu), 1);
    return v;
}

void ExpectRelative(const GptValues& got, const GptValues& expected, double tolerance)
{
    EXPECT_NEAR(got.pres / expected.pres - 1.0, 0.0, tolerance);
    EXPECT_NEAR(got.temp / expected.temp - 1.0, 0.0, tolerance);
    EXPECT_NEAR(got.undu / expected.undu - 1.0, 0.0, tolerance);
}

// The routine's printed outputs belong to the eastern longitude +1.393397187;
// the printed input -1.393397187 gives the second set.
const GptValues kPrintedEast{919.1930225603726967, 28.94460920276309679, -42.78796423912972813};
const GptValues kWest{918.0710638757364, 19.319141810128823, -42.191856437177705};

TEST(GlobalPressureTemperature, TranslatedRoutineReproducesPublishedCase)
{
    ExpectRelative(Routine(kTestMjd, kTestLat, 1.393397187, kTestHeight), kPrintedEast, 1e-9);
    ExpectRelative(Routine(kTestMjd, kTestLat, -1.393397187, kTestHeight), kWest, 1e-9);
}

TEST(GlobalPressureTemperature, MemberTakesADayCountWithoutMjdOffset)
{
    // Member: day + 1 - 28; routine: mjd - 44239 + 1 - 28.
    const double day = kTestMjd - 44239.0;
    ExpectRelative(Member(day, kTestLat, 1.393397187, kTestHeight), kPrintedEast, 1e-9);
    ExpectRelative(Member(day, kTestLat, -1.393397187, kTestHeight), kWest, 1e-9);

    for (double d : {0.0, 27.0, 100.5, 200.0, 365.0}) {
        const GptValues member = Member(d, -0.6, 2.5, 1200.0);
        const GptValues routine = Routine(44239.0 + d, -0.6, 2.5, 1200.0);
        EXPECT_DOUBLE_EQ(member.pres, routine.pres) << d;
        EXPECT_DOUBLE_EQ(member.temp, routine.temp) << d;
        EXPECT_DOUBLE_EQ(member.undu, routine.undu) << d;
    }
}

}  // namespace
