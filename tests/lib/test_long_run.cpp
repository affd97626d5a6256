// Three days of 30 s epochs through the facade with result and delay files:
// the files are reopened at each day and hour, and no descriptor is lost.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>

#include "LibFixtures.h"

using namespace libtest;

namespace {

TEST(LongRun, ThreeDaysOfEpochsKeepTheDescriptorCountAndFillEachDay)
{
    TempDir dir;
    const int descriptorsBefore = OpenDescriptorCount();
    const int epochsPerDay = 2880;
    {
        Host host({'G'});
        std::strcpy(host.conf.res_dir, (dir / "res").c_str());
        std::strcpy(host.conf.ztd_dir, (dir / "ztd").c_str());
        ASSERT_EQ(mkdir(host.conf.res_dir, 0777), 0);
        ASSERT_EQ(mkdir(host.conf.ztd_dir, 0777), 0);
        host.Start({'G'});

        int descriptorsOpen = -1;
        int failures = 0;
        for (int day = 0; day < 3; ++day) {
            for (int k = 0; k < epochsPerDay; ++k) {
                // Saturday 2015-03-07 to Monday 2015-03-09: a change of GPS week on the way.
                host.SetEpoch(2015, 3, 7 + day, 0, 0, 30.0 * k);
                failures += host.Run() != 1;
                if (descriptorsOpen < 0)
                    descriptorsOpen = OpenDescriptorCount();
            }
            EXPECT_EQ(OpenDescriptorCount(), descriptorsOpen) << "day " << day;
        }
        EXPECT_EQ(failures, 0);
        // Result files .spp, .ppp, .ppp.pos and the delay file.
        EXPECT_EQ(descriptorsOpen, descriptorsBefore + 4);
    }
    // The driver closes all but the position file, which is left to the process exit.
    EXPECT_EQ(OpenDescriptorCount(), descriptorsBefore + 1);

    for (const char* day : {"20150307", "20150308", "20150309"}) {
        const std::string stem = dir / (std::string("res/") + day + "/ABCD_" + day + "_rtp_K_G");
        EXPECT_EQ(CountLines(stem + ".spp"), epochsPerDay) << day;
        EXPECT_EQ(CountLines(stem + ".ppp"), 0) << day;
        EXPECT_EQ(CountLines(stem + ".ppp.pos"), 2) << day;
    }
    EXPECT_EQ(ListDir(dir / "ztd"), (std::vector<std::string>{"w1834", "w1835"}));
    EXPECT_EQ(ListDir(dir / "ztd/w1834").size(), 24u);
    EXPECT_EQ(ListDir(dir / "ztd/w1835").size(), 48u);
}

}  // namespace
