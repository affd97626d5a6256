// The hour's COST-716 zenith delay file: week directory, name, header lines,
// hourly reopening and a directory that cannot be written.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "LibFixtures.h"

using namespace libtest;

namespace {

const std::string kLine1 = "COST-716 V2.2            E-GVAP              DEMO                ";
const std::string kLine2 = "ESBC XXXXXXXXX           Unknown (Unknown) [XX]                                      ";
const std::string kLine7 = "KVB_                     KVB-OLVEN V1.3           IGSULT                   OBS/LOCAL ";

struct ZtdHost : Host {
    ZtdHost()
    {
        std::strcpy(conf.ztd_dir, dir.path().c_str());
        const double toRadians = 3.141592653589793 / 180.0;
        site.blh.lat = 55.4913 * toRadians;
        site.blh.lon = 8.4501 * toRadians;
        site.blh.height = 60.123;
        site.height_ref = 1.25;
        std::strcpy(site.text_a, "ESBJERG");
        std::strcpy(site.text_b, "DNK");
    }
    TempDir dir;
};

std::string Header(const std::string& times)
{
    return kLine1 + "\r\n" + kLine2 + "\r\n" + "DNK                      ESBJERG                  \r\n" +
           "   55.491300     8.450100       60.123        0.000        1.250\r\n" + times + "\r\n" + kLine7 +
           "\r\n" + "    5   60   60\r\n" + "000000c5\r\n" + "-999\r\n";
}

TEST(ZtdFile, NameWeekDirectoryAndHeaderOfANovemberEveningEpoch)
{
    ZtdHost host;
    host.Start();
    host.SetEpoch(2015, 11, 30, 23, 15, 30.0);
    ASSERT_EQ(host.epoch->tGpsTime.week, 1873);
    EXPECT_EQ(host.Run(), 1);

    EXPECT_EQ(ListDir(host.dir.path()), (std::vector<std::string>{"w1873"}));
    const std::string name = "cost_h_d_201511302315_201511302359_ESBC_KVB_.dat";
    ASSERT_EQ(ListDir(host.dir / "w1873"), (std::vector<std::string>{name}));
    // "NEV" for November, and the end of the 23rd hour on the same date.
    EXPECT_EQ(ReadFile(host.dir / ("w1873/" + name)), Header("30-NEV-2015 23:15:30     30-NEV-2015 00:00:00"));
}

TEST(ZtdFile, MonthAbbreviationsAndTheNextHour)
{
    const char* const months[12] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                    "JUL", "AUG", "SEP", "OCT", "NEV", "DEC"};
    for (int month = 1; month <= 12; ++month) {
        ZtdHost host;
        host.Start();
        host.SetEpoch(2015, month, 7, 9, 59, 59.75);
        host.Run();
        char stamp[64];
        std::snprintf(stamp, sizeof(stamp), "2015%02d070959_2015%02d070959", month, month);
        const std::string week = ListDir(host.dir.path()).at(0);
        const std::string name = std::string("cost_h_d_") + stamp + "_ESBC_KVB_.dat";
        char times[64];
        std::snprintf(times, sizeof(times), "07-%s-2015 09:59:59     07-%s-2015 10:00:00", months[month - 1],
                      months[month - 1]);
        EXPECT_EQ(ReadFile(host.dir / (week + "/" + name)), Header(times)) << "month " << month;
    }
}

TEST(ZtdFile, ReopensAtEachNewHourAndInTheNewWeeksDirectory)
{
    ZtdHost host;
    host.Start();
    // Saturday 2015-03-07 is the last day of week 1834.
    const int times[][3] = {{22, 0, 0}, {22, 30, 0}, {23, 0, 30}, {23, 59, 30}};
    for (const auto& t : times) {
        host.SetEpoch(2015, 3, 7, t[0], t[1], t[2]);
        EXPECT_EQ(host.Run(), 1);
    }
    host.SetEpoch(2015, 3, 8, 0, 10, 0.0);
    EXPECT_EQ(host.Run(), 1);

    EXPECT_EQ(ListDir(host.dir.path()), (std::vector<std::string>{"w1834", "w1835"}));
    EXPECT_EQ(ListDir(host.dir / "w1834"),
              (std::vector<std::string>{"cost_h_d_201503072200_201503072259_ESBC_KVB_.dat",
                                        "cost_h_d_201503072300_201503072359_ESBC_KVB_.dat"}));
    EXPECT_EQ(ListDir(host.dir / "w1835"),
              (std::vector<std::string>{"cost_h_d_201503080010_201503080059_ESBC_KVB_.dat"}));
    EXPECT_EQ(host.process().last_hour, 0);
    EXPECT_EQ(host.process().last_week, -1) << "the week marker is never set";

    // The same hour of the next day does not reopen: only the hour is compared.
    host.SetEpoch(2015, 3, 9, 0, 20, 0.0);
    EXPECT_EQ(host.Run(), 1);
    EXPECT_EQ(ListDir(host.dir / "w1835").size(), 1u);
}

TEST(ZtdFile, AppendDoesNotApplyToTheDelayFile)
{
    ZtdHost host;
    host.conf.append = 1;
    const std::string path = host.dir / "w1834/cost_h_d_201503021000_201503021059_ESBC_KVB_.dat";
    for (int session = 0; session < 2; ++session) {
        host.Start();
        host.SetEpoch(2015, 3, 2, 10, 0, 0.0);
        EXPECT_EQ(host.Run(), 1);
        host.lib.reset();
    }
    EXPECT_EQ(ReadFile(path), Header("02-MAR-2015 10:00:00     02-MAR-2015 11:00:00"));
}

TEST(ZtdFile, UnwritableDirectoryFailsOnlyTheEpochThatReopens)
{
    TempDir scratch;
    Host host;
    std::strcpy(host.conf.ztd_dir, MakeEmptyFile(scratch / "plain").c_str());
    host.Start();
    host.SetEpoch(2015, 3, 2, 10, 0, 0.0);
    EXPECT_EQ(host.Run(), -2);
    EXPECT_EQ(host.process().fp_ztd, nullptr);
    host.SetEpoch(2015, 3, 2, 10, 30, 0.0);
    EXPECT_EQ(host.Run(), 1);
    host.SetEpoch(2015, 3, 2, 11, 0, 0.0);
    EXPECT_EQ(host.Run(), -2);
}

}  // namespace
