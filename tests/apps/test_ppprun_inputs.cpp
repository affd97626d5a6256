// The wrong inputs users give ppprun, each with the exit code and the one
// line on standard error that the README's table promises.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cmath>
#include <string>
#include <vector>

#include "apps/ProgramRun.h"

namespace {

using program_test::Outcome;
using program_test::Scratch;

const std::string kSample = std::string(PPP_SOURCE_DIR) + "/data/sample/";
const std::string kObs = kSample + "ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz";
const std::string kSp3 = kSample + "GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz";
const std::string kSp3Before = kSample + "GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz";
const std::string kClk = kSample + "GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz";
const std::string kNav = kSample + "ESBC00DNK_R_20201770000_02H_MN.rnx.gz";

// The first `bytes` bytes of a file: a cut download.
std::string CutCopy(const std::string& path, size_t bytes, const std::string& name)
{
    const std::string out = Scratch(name);
    testfiles::writeText(out, testfiles::readText(path).substr(0, bytes));
    return out;
}

}  // namespace

TEST(PpprunInputs, WrongInputsEndWithTheirCodeAndOneLine)
{
    const std::string empty = Scratch("empty.rnx"), folder = Scratch("a_folder");
    testfiles::writeText(empty, "");
    mkdir(folder.c_str(), 0777);
    const std::string cutObs = CutCopy(kObs, 200000, "cut_obs.rnx.gz");
    const std::string cutClk = CutCopy(kClk, 300000, "cut_clk.CLK.gz");
    std::vector<std::string> clockLines = testfiles::readLines(kClk);
    clockLines.resize(3000);   // about the first 20 minutes
    const std::string earlyClk = Scratch("early.CLK");
    testfiles::writeLines(earlyClk, clockLines);
    const std::string otherDayUpd = Scratch("other_day.upd");
    testfiles::writeText(otherDayUpd, "% ppplib UPD 1.0\n% NL_INTERVAL 900\n"
                                      "WL 2110 345600.0 G01  0.1234 0.0120 57\n"
                                      "NL 2110 345600.0 G01 -0.2345 0.0210 12\n");
    const std::string products = " --sp3 " + kSp3 + " --clk " + kClk;

    const struct {
        const char* what;
        std::string arguments;
        int code;
        std::string message;   // part of the line on standard error
    } cases[] = {
        {"observation and orbit files swapped", "--obs " + kSp3 + " --sp3 " + kObs + " --clk " + kClk, 3,
         "expected an SP3-c or SP3-d first line"},
        {"orbits of another day", "--obs " + kObs + " --sp3 " + kSp3Before, 4, "products of another day"},
        {"clocks that end early", "--obs " + kObs + " --sp3 " + kSp3 + " --clk " + earlyClk, 4,
         "the clocks end at 2020-06-25 00:"},
        {"a system without products", "--obs " + kObs + products + " --systems c", 4,
         "no precise orbits for system C"},
        {"ar with UPDs of another day", "--obs " + kObs + products + " --mode ar --upd " + otherDayUpd, 4,
         "no UPDs for the epochs of the run"},
        {"a time window outside the data", "--obs " + kObs + products +
         " --time-window 2020-06-26T00:00:00 2020-06-26T01:00:00", 4, "no data epochs in"},
        {"a truncated compressed observation file", "--obs " + cutObs + products, 5, "the file is truncated"},
        {"a truncated compressed clock file", "--obs " + kObs + " --sp3 " + kSp3 + " --clk " + cutClk, 5,
         "the file looks truncated"},
        {"an empty observation file", "--obs " + empty + products, 2, "the file is empty"},
        {"a folder as observation file", "--obs " + folder + products, 2, "it is a directory"},
        {"a missing clock file", "--obs " + kObs + " --sp3 " + kSp3 + " --clk " + kSample + "no.CLK", 2,
         "cannot read"},
        {"a navigation file as clock file", "--obs " + kObs + " --sp3 " + kSp3 + " --clk " + kNav, 3,
         "expected file type C (clock data)"},
        {"an observation file as navigation file", "--obs " + kObs + products + " --nav " + kObs, 3,
         "expected RINEX 3 navigation data"},
        {"a folder as --summary", "--obs " + kObs + products + " --summary " + folder, 2, "it is a directory"},
        {"an --out that cannot be made", "--obs " + kObs + products + " --out /proc/ppprun_out", 2,
         "cannot create /proc/ppprun_out"},
        {"latitude, longitude as --apriori", "--obs " + kObs + products + " --apriori 55.6,9.5,40", 2,
         "not near its surface"},
        {"an elevation mask of 95 degrees", "--obs " + kObs + products + " --elev-mask 95", 2,
         "--elev-mask expects degrees"},
        {"mode ar without UPDs", "--obs " + kObs + products + " --mode ar", 2, "give --upd FILE or --bias FILE"},
        {"fixed dynamics without coordinates", "--obs " + kObs + products + " --dynamics fixed", 2,
         "needs the site's coordinates"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Outcome r = program_test::RunProgram("ppprun", c.arguments + " --quiet");
        EXPECT_EQ(r.exitCode, c.code) << r.err;
        EXPECT_EQ(program_test::LineCount(r.err), 1) << r.err;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
    }
}

// An antenna file with G01 and R01 only: the satellites without an antenna
// are named, and by default no system gets satellite antennas, so the
// position equals that of --sat-antenna none; with all, G01 and R01 move it.
TEST(PpprunInputs, PartialSatelliteAntennasAreNamedAndLeftOutPerSystem)
{
    const std::string atx = std::string(PPP_SOURCE_DIR) + "/tests/data/igs08_1719_excerpt.atx";
    const std::string run = "--obs " + kObs + " --sp3 " + kSp3 + " --clk " + kClk + " --atx " + atx +
                            " --time-window 2020-06-25T00:00:00 2020-06-25T00:30:00 --quiet --sat-antenna ";
    const Outcome complete = program_test::RunProgram("ppprun", run + "complete-systems");
    const Outcome none = program_test::RunProgram("ppprun", run + "none");
    const Outcome all = program_test::RunProgram("ppprun", run + "all");
    ASSERT_EQ(complete.exitCode, 0) << complete.err;
    const size_t named = complete.out.find("satellites in use without an antenna in " + atx + ": G02 ");
    ASSERT_NE(named, std::string::npos) << complete.out;
    const std::string note = complete.out.substr(named, complete.out.find('\n', named) - named);
    EXPECT_EQ(note.find("G01"), std::string::npos) << note;
    EXPECT_EQ(note.find("R01"), std::string::npos) << note;
    EXPECT_NE(complete.out.find("not applied to system GRE"), std::string::npos) << complete.out;
    auto finalLine = [](const std::string& out) { return out.substr(out.find("final position"), 60); };
    EXPECT_EQ(finalLine(complete.out), finalLine(none.out));
    EXPECT_NE(finalLine(all.out), finalLine(none.out));
}

// Without the receiver calibration the marker's antenna height (0.216 m for
// ESBC) still applies: the heights differ by the antenna's phase centre
// offset (a few centimetres), not by the antenna height.
TEST(PpprunInputs, NoReceiverAntennaKeepsTheHeightAndASinexWithoutTheSiteIsNoted)
{
    const std::string run = "--obs " + kObs + " --sp3 " + kSp3 + " --clk " + kClk + " --atx " + kSample +
                            "ESBC_receiver_antenna.atx --ref 3582104.766,532590.178,5232755.139 --quiet";
    auto upError = [](const std::string& out) {
        const size_t at = out.find(" U ", out.find("final error"));
        return at == std::string::npos ? 99.0 : std::stod(out.substr(at + 3));
    };
    const Outcome calibrated = program_test::RunProgram("ppprun", run);
    const Outcome heightOnly = program_test::RunProgram("ppprun", run + " --no-rec-antenna");
    ASSERT_EQ(heightOnly.exitCode, 0) << heightOnly.err;
    EXPECT_NE(heightOnly.out.find("receiver antenna height only"), std::string::npos);
    EXPECT_LT(std::fabs(upError(heightOnly.out) - upError(calibrated.out)), 0.06);

    // A SINEX file without the site is said out loud; the run goes on.
    const std::string sinex = std::string(PPP_SOURCE_DIR) + "/tests/data/igs20P2131_excerpt.snx";
    const Outcome noSite = program_test::RunProgram("ppprun", run + " --sinex " + sinex);
    EXPECT_EQ(noSite.exitCode, 0) << noSite.err;
    EXPECT_NE(noSite.out.find("site ESBC is not in " + sinex), std::string::npos) << noSite.out;
}
