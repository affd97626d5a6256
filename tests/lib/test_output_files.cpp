// The day's result files: names, day directories, which files each mode and
// switch opens, the reopening at a change of day, append mode, the headers of
// the position files, and a reopening that fails.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstring>
#include <set>

#include "LibFixtures.h"

using namespace libtest;

namespace {

const char* const kPppPosHeader =
    "% (x/y/z-ecef=WGS84,Q=1:fix,2:float,3:sbas,4:dgps,5:single,6:ppp,ns=# of satellites)\n"
    "%   GPST                x-ecef(m)      y-ecef(m)      z-ecef(m)   Q  ns   sdx(m)   sdy(m)   sdz(m)  sdxy(m)  "
    "sdyz(m)  sdzx(m) age(s)  ratio\n";
const char* const kPppArPosHeader =
    "% (x/y/z-ecef=WGS84,Q=1:fix,2:float,3:sbas,4:dgps,5:single,6:ppp,ns=# of satellites)\n"
    "%   GPST                   x-ecef(m)      y-ecef(m)      z-ecef(m)   Q  ns   sdx(m)   sdy(m)   sdz(m)  sdxy(m)  "
    "sdyz(m)  sdzx(m) age(s)  ratio\n";

// A host writing result files below a scratch directory.
struct ResultHost : Host {
    explicit ResultHost(std::vector<char> observed = {'G', 'R', 'E'}) : Host(observed)
    {
        std::strcpy(conf.res_dir, dir.path().c_str());
    }
    std::string DayFile(const std::string& day, const std::string& stem, const std::string& extension) const
    {
        return dir / (day + "/" + stem + extension);
    }
    TempDir dir;
};

std::set<std::string> Names(const std::string& stem, const std::set<std::string>& extensions)
{
    std::set<std::string> names;
    for (const std::string& e : extensions)
        names.insert(stem + e);
    return names;
}

// Leaves only the GPS satellites (the first entries of a synthetic epoch).
void KeepGpsOnly(tagGPSOBSONEEPO* epoch)
{
    tagEPOHEAD& head = epoch->epoHead;
    epoch->nSatNum = head.nSysSat[0];
    head.nUsedSat = head.nSysSat[0];
    for (int s = 1; s < 4; ++s)
        head.nSysSat[s] = head.nUsedSys[s] = 0;
}

std::set<std::string> AsSet(const std::vector<std::string>& v)
{
    return std::set<std::string>(v.begin(), v.end());
}

TEST(ResultFiles, NamesFollowSiteDateSourceDynamicsAndPresentSystems)
{
    struct Case {
        int source, posMode;
        const char* stem;
    };
    const Case cases[] = {
        {1, 3, "ABCD_20200625_rtp_K_GC"},  {2, 1, "ABCD_20200625_rix_F_GRE"}, {3, 2, "ABCD_20200625_sp3_S_GRE"},
        {4, 4, "ABCD_20200625_pst_D_GRE"}, {5, 0, "ABCD_20200625_epo_U_GRE"}, {6, 5, "ABCD_20200625_lib_U_GRE"},
        {0, 3, "ABCD_20200625_ukn_K_GRE"}, {7, -1, "ABCD_20200625_ukn_U_GRE"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.stem);
        // The first case configures G and C and observes G only, the host reporting BeiDou as well.
        const bool gc = c.source == 1;
        ResultHost host(gc ? std::vector<char>{'G'} : std::vector<char>{'G', 'R', 'E'});
        host.conf.product_source = c.source;
        host.conf.pos_mode = c.posMode;
        host.Start(gc ? std::vector<char>{'G', 'C'} : std::vector<char>{'G', 'R', 'E'});
        host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
        if (gc)
            host.epoch->epoHead.nSysSat[3] = 2;
        host.Run();
        EXPECT_EQ(ListDir(host.dir.path()), (std::vector<std::string>{"20200625"}));
        EXPECT_TRUE(Exists(host.DayFile("20200625", c.stem, ".spp")));
    }
}

TEST(ResultFiles, EachModeAndSwitchOpensItsFiles)
{
    struct Case {
        int mode;
        uint8_t outRes, outDebug, outAmb;
        std::set<std::string> extensions;
    };
    const std::set<std::string> base = {".spp", ".ppp", ".ppp.pos"};
    auto with = [&](std::set<std::string> more) {
        more.insert(base.begin(), base.end());
        return more;
    };
    const Case cases[] = {
        {0, 0, 0, 0, base},
        {1, 0, 0, 1, base},
        {2, 0, 0, 1, base},
        {3, 0, 0, 1, base},
        {4, 0, 0, 0, with({".pppar", ".pppar.pos", ".ppprtk", ".ion"})},
        {4, 0, 0, 1, with({".pppar", ".pppar.pos", ".ppprtk", ".ion", ".wl"})},
        {5, 0, 0, 1, with({".pppar", ".pppar.pos", ".wl"})},
        {5, 0, 1, 0, with({".pppar", ".pppar.pos", ".outlier", ".slip", ".tmp", ".amb"})},
        {6, 0, 0, 1, with({".pppar", ".pppar.pos", ".aug", ".augpara"})},
        {7, 0, 0, 0, with({".ppprtk"})},
        {7, 0, 0, 1, with({".ppprtk", ".ambwl", ".ambnl"})},
        {8, 0, 0, 1, base},
        {3, 1, 0, 0, with({".resc", ".resp"})},
        {3, 0, 1, 0, with({".outlier", ".slip", ".tmp"})},
        {2, 1, 1, 1, with({".resc", ".resp", ".outlier", ".slip", ".tmp"})},
    };
    for (const Case& c : cases) {
        ResultHost host;
        host.conf.mode = c.mode;
        host.conf.out_res = c.outRes;
        host.conf.out_debug = c.outDebug;
        host.conf.out_amb = c.outAmb;
        host.Start();
        host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
        host.Run();
        EXPECT_EQ(AsSet(ListDir(host.dir / "20200625")), Names("ABCD_20200625_rtp_K_GRE", c.extensions))
            << "mode " << c.mode << " res " << int(c.outRes) << " debug " << int(c.outDebug) << " amb "
            << int(c.outAmb);
    }
}

TEST(ResultFiles, PositionFileHeadersByteForByte)
{
    ResultHost host;
    host.conf.mode = 4;
    host.Start();
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    host.Run();
    const std::string stem = "ABCD_20200625_rtp_K_GRE";
    // The float file may hold the epoch's line already.
    EXPECT_EQ(ReadFile(host.DayFile("20200625", stem, ".ppp.pos")).substr(0, std::strlen(kPppPosHeader)),
              kPppPosHeader);
    EXPECT_EQ(ReadFile(host.DayFile("20200625", stem, ".pppar.pos")), kPppArPosHeader);
}

TEST(ResultFiles, NoResultDirectoryNoFiles)
{
    TempDir dir;
    Host host;
    host.Start();
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    EXPECT_EQ(host.Run(), 1);
    EXPECT_FALSE(host.process().res_on);
    EXPECT_EQ(host.process().fp_spp, nullptr);
    EXPECT_EQ(host.process().last_day, -1);
}

TEST(ResultFiles, ChangeOfDayOpensTheNewDaysFilesWithThePresentSystems)
{
    ResultHost host;
    host.Start();
    host.SetEpoch(2015, 3, 2, 23, 59, 0.0);
    EXPECT_EQ(host.Run(), 1);
    host.SetEpoch(2015, 3, 2, 23, 59, 30.0);
    KeepGpsOnly(host.epoch.get());
    EXPECT_EQ(host.Run(), 1);   // same day: no reopening, the system tag stays
    host.SetEpoch(2015, 3, 3, 0, 0, 0.0);
    KeepGpsOnly(host.epoch.get());
    EXPECT_EQ(host.Run(), 1);
    host.SetEpoch(2015, 3, 3, 0, 0, 30.0);
    EXPECT_EQ(host.Run(), 1);

    EXPECT_EQ(ListDir(host.dir.path()), (std::vector<std::string>{"20150302", "20150303"}));
    EXPECT_EQ(CountLines(host.DayFile("20150302", "ABCD_20150302_rtp_K_GRE", ".spp")), 2);
    EXPECT_EQ(CountLines(host.DayFile("20150303", "ABCD_20150303_rtp_K_G", ".spp")), 2);
    EXPECT_EQ(host.process().last_day, 3);

    // The same day of the next month does not reopen: only the day is compared.
    host.SetEpoch(2015, 4, 3, 12, 0, 0.0);
    EXPECT_EQ(host.Run(), 1);
    EXPECT_EQ(ListDir(host.dir.path()).size(), 2u);
    EXPECT_EQ(CountLines(host.DayFile("20150303", "ABCD_20150303_rtp_K_G", ".spp")), 3);
}

TEST(ResultFiles, AppendContinuesTheDaysFilesAndRepeatsThePositionHeaders)
{
    TempDir dir;
    const std::string stem = dir / "20200625/ABCD_20200625_rtp_K_GRE";
    auto runSession = [&](uint8_t append, int epochs, int firstEpoch) {
        Host host;
        host.conf.mode = 2;
        host.conf.append = append;
        std::strcpy(host.conf.res_dir, dir.path().c_str());
        host.Start();
        for (int k = firstEpoch; k < firstEpoch + epochs; ++k) {
            host.SetEpoch(2020, 6, 25, 0, 15, 30.0 * k);
            AddPhases(host.epoch.get(), 4.0);
            ASSERT_EQ(host.Run(), 2);
        }
    };
    runSession(1, 2, 0);
    runSession(1, 1, 2);
    EXPECT_EQ(CountLines(stem + ".spp"), 3);
    EXPECT_EQ(CountLines(stem + ".ppp"), 3);
    const std::string pos = ReadFile(stem + ".ppp.pos");
    const std::string header = kPppPosHeader;
    ASSERT_EQ(pos.compare(0, header.size(), header), 0);
    const size_t second = pos.find(header, header.size());
    ASSERT_NE(second, std::string::npos) << pos;
    // Two data lines of the first session, then the header again, then one line.
    const std::string firstSession = pos.substr(header.size(), second - header.size());
    EXPECT_EQ(std::count(firstSession.begin(), firstSession.end(), '\n'), 2);
    const std::string secondSession = pos.substr(second + header.size());
    EXPECT_EQ(std::count(secondSession.begin(), secondSession.end(), '\n'), 1);
    EXPECT_EQ(secondSession.compare(0, 21, "2020/06/25 00:16:00.0"), 0) << secondSession;

    // Without append a restart on the same day starts the files afresh.
    runSession(0, 1, 3);
    EXPECT_EQ(CountLines(stem + ".spp"), 1);
    EXPECT_EQ(ReadFile(stem + ".ppp.pos").compare(0, header.size(), header), 0);
    EXPECT_EQ(CountLines(stem + ".ppp.pos"), 3);
}

TEST(ResultFiles, UnwritableDirectoryFailsOnlyTheEpochThatReopens)
{
    TempDir dir;
    Host host;
    std::strcpy(host.conf.res_dir, MakeEmptyFile(dir / "not_a_directory").c_str());
    host.Start();
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    EXPECT_EQ(host.Run(), -2);
    EXPECT_EQ(host.process().fp_spp, nullptr);
    host.SetEpoch(2020, 6, 25, 0, 15, 30.0);
    EXPECT_EQ(host.Run(), 1) << "no retry on the same day";
    host.SetEpoch(2020, 6, 26, 0, 0, 0.0);
    EXPECT_EQ(host.Run(), -2) << "the next day tries again";
}

TEST(ResultFiles, FailedReopeningKeepsTheHandlesAsFarAsItGot)
{
    ResultHost host;
    host.Start();
    host.SetEpoch(2020, 6, 25, 23, 59, 30.0);
    ASSERT_EQ(host.Run(), 1);
    FILE* const firstDayPos = host.process().fp_ppp_pos;
    ASSERT_NE(firstDayPos, nullptr);

    // A directory where the next day's ".ppp" file should go makes its open fail.
    const std::string stem = "ABCD_20200626_rtp_K_GRE";
    ASSERT_EQ(mkdir((host.dir / "20200626").c_str(), 0777), 0);
    ASSERT_EQ(mkdir(host.DayFile("20200626", stem, ".ppp").c_str(), 0777), 0);

    host.SetEpoch(2020, 6, 26, 0, 0, 0.0);
    EXPECT_EQ(host.Run(), -2);
    EXPECT_NE(host.process().fp_spp, nullptr);
    EXPECT_EQ(host.process().fp_ppp, nullptr);
    EXPECT_EQ(host.process().fp_ppp_pos, firstDayPos) << "files after the failing one keep the old handle";
    EXPECT_FALSE(Exists(host.DayFile("20200626", stem, ".ppp.pos")));

    host.SetEpoch(2020, 6, 26, 0, 0, 30.0);
    EXPECT_EQ(host.Run(), 1);
    EXPECT_EQ(CountLines(host.DayFile("20200626", stem, ".spp")), 1);
}

TEST(ResultFiles, UndatedFilesOfCreatFilesForOutput)
{
    ResultHost host;
    host.conf.out_amb = 1;
    host.conf.out_debug = 1;
    host.Start();
    EXPECT_TRUE(host.process().CreatFilesForOutput());
    EXPECT_EQ(AsSet(ListDir(host.dir.path())),
              Names("ABCD", {".spp", ".ppp", ".pppar", ".ppprtk", ".resc", ".resp", ".outlier"}));
    for (const std::string& name : ListDir(host.dir.path()))
        EXPECT_EQ(ReadFile(host.dir / name), "") << name;
}

}  // namespace
