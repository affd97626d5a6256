// The ppprun program run as a user runs it: options and exit codes, the
// single point solution of the bundled sample against the station's
// reference coordinates, broken and cut observation files, the JSON summary.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "apps/ProgramRun.h"
#include "io/LineReader.h"

namespace {

const std::string kSample = std::string(PPP_SOURCE_DIR) + "/data/sample/";
const std::string kObs = kSample + "ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz";
const std::string kProducts = " --sp3 " + kSample + "GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz --sp3 " + kSample +
                              "GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz --clk " + kSample +
                              "GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz --atx " + kSample +
                              "ESBC_receiver_antenna.atx";
const std::string kReference = " --ref 3582104.766,532590.178,5232755.139";

using program_test::Outcome;
using program_test::Scratch;
using rinex_test::ReadText;

Outcome RunProgram(const std::string& arguments)
{
    return program_test::RunProgram("ppprun", arguments);
}

int LineCount(const std::string& text)
{
    int lines = 0;
    for (char c : text)
        lines += c == '\n' ? 1 : 0;
    return lines;
}

// The numbers of a JSON array value "key": [a, b, c].
std::vector<double> JsonArray(const std::string& json, const std::string& key)
{
    std::vector<double> values;
    const size_t at = json.find("\"" + key + "\": [");
    if (at == std::string::npos)
        return values;
    const char* p = json.c_str() + json.find('[', at) + 1;
    for (;;) {
        char* end = nullptr;
        const double v = std::strtod(p, &end);
        if (end == p)
            break;
        values.push_back(v);
        p = end;
        while (*p == ',' || *p == ' ')
            ++p;
    }
    return values;
}

// Lines of the sample's observation file, decompressed.
const std::vector<std::string>& SampleLines()
{
    static std::vector<std::string> lines;
    if (lines.empty()) {
        pppio::LineReader reader(kObs);
        while (reader.next())
            lines.push_back(reader.line());
    }
    return lines;
}

std::vector<size_t> EpochStarts(const std::vector<std::string>& lines)
{
    std::vector<size_t> starts;
    for (size_t i = 0; i < lines.size(); ++i)
        if (!lines[i].empty() && lines[i][0] == '>')
            starts.push_back(i);
    return starts;
}

void WriteLines(const std::string& path, const std::vector<std::string>& lines, size_t count, bool cutLast)
{
    std::string text;
    for (size_t i = 0; i < count; ++i)
        text += lines[i] + (cutLast && i + 1 == count ? "" : "\n");
    std::FILE* f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fwrite(text.data(), 1, text.size(), f);
    std::fclose(f);
}

TEST(PpprunOptions, HelpDocumentsEveryOptionWithItsDefault)
{
    const Outcome r = RunProgram("--help");
    EXPECT_EQ(r.exitCode, 0);
    for (const char* option : {"--obs", "--sp3", "--clk", "--atx", "--nav", "--broadcast-fallback", "--sinex",
                               "--mode", "--dynamics", "--systems", "--elev-mask", "--apriori", "--site",
                               "--weights", "--code-ratios", "--trop-noise", "--no-tide", "--no-windup", "--no-rec-antenna", "--no-sat-antenna",
                               "--reset-hours", "--out", "--debug", "--residuals", "--ref", "--summary", "--quiet"}) {
        const size_t at = r.out.find(std::string("\n  ") + option + " ");
        ASSERT_NE(at, std::string::npos) << option;
        const size_t next = r.out.find("\n  --", at + 3);
        EXPECT_NE(r.out.substr(at, next - at).find("default"), std::string::npos) << option;
    }
}

TEST(PpprunOptions, BadOptionsExitWithTwoAndOneLine)
{
    for (const char* arguments : {"--frobnicate", "--obs x --mode fast", "--obs x --elev-mask high",
                                  "--obs x --sp3 y --systems GX", "--obs x --sp3 y --ref 1,2", "--obs x --sp3 y --weights 1,1,1,1",
                                  "--obs x --sp3 y --code-ratios 300,0,600,600,900", "--obs"}) {
        const Outcome r = RunProgram(arguments);
        EXPECT_EQ(r.exitCode, 2) << arguments;
        EXPECT_EQ(LineCount(r.err), 1) << arguments << ": " << r.err;
        EXPECT_TRUE(r.out.empty()) << arguments;
    }
    EXPECT_NE(RunProgram("--frobnicate").err.find("--frobnicate"), std::string::npos);
}

TEST(PpprunOptions, MissingFileExitsWithTwoNamingIt)
{
    const std::string missing = Scratch("no_such_orbit.sp3");
    const Outcome r = RunProgram("--obs " + kObs + " --sp3 " + missing + " --quiet");
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_EQ(LineCount(r.err), 1) << r.err;
    EXPECT_NE(r.err.find(missing), std::string::npos) << r.err;
}

TEST(PpprunSample, SinglePointSolutionOfEveryEpoch)
{
    const std::string json = Scratch("spp_summary.json");
    std::remove(json.c_str());
    const Outcome r = RunProgram("--obs " + kObs + kProducts + kReference +
                                 " --mode spp --systems GRE --quiet --summary " + json);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(r.err.empty()) << r.err;   // --quiet: no progress
    EXPECT_NE(r.out.find("epochs read       240"), std::string::npos) << r.out;

    const std::string summary = ReadText(json);
    EXPECT_NE(summary.find("\"epochs\": 240,"), std::string::npos) << summary;
    EXPECT_NE(summary.find("\"result_codes\": {\"1\": 240}"), std::string::npos) << summary;
    const std::vector<double> rms = JsonArray(summary, "rms_neu_error_m");
    ASSERT_EQ(rms.size(), 3u) << summary;
    EXPECT_LE(std::hypot(rms[0], rms[1]), 1.0);
    EXPECT_LE(rms[2], 2.0);
    const std::vector<double> xyz = JsonArray(summary, "final_xyz");
    ASSERT_EQ(xyz.size(), 3u);
    EXPECT_NEAR(xyz[0], 3582104.766, 5.0);
    EXPECT_NEAR(xyz[2], 5232755.139, 5.0);
}

TEST(PpprunSample, SummaryJsonHasTheDocumentedKeys)
{
    const std::string json = Scratch("ppp_summary.json");
    std::remove(json.c_str());
    const Outcome r = RunProgram("--obs " + kObs + kProducts + kReference + " --quiet --summary " + json);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::string summary = ReadText(json);
    ASSERT_FALSE(summary.empty());
    EXPECT_EQ(summary.front(), '{');
    EXPECT_EQ(summary[summary.find_last_not_of("\n")], '}');
    for (const char* key : {"epochs", "result_codes", "final_xyz", "final_neu_error_m", "rms_neu_error_m",
                            "convergence_s", "wall_s", "missing_products", "signals"})
        EXPECT_NE(summary.find(std::string("\"") + key + "\": "), std::string::npos) << key;
    int depth = 0;
    for (char c : summary) {
        depth += (c == '{' || c == '[') ? 1 : (c == '}' || c == ']') ? -1 : 0;
        ASSERT_GE(depth, 0);
    }
    EXPECT_EQ(depth, 0);
    EXPECT_EQ(JsonArray(summary, "final_neu_error_m").size(), 3u);
    EXPECT_NE(summary.find("\"G\": \"C1W/C2W"), std::string::npos);
}

TEST(PpprunSample, MalformedRecordExitsWithThreeAndKeepsTheResults)
{
    // Epochs 1-20 intact, then a letter inside an observation of epoch 21.
    const std::vector<std::string>& lines = SampleLines();
    const std::vector<size_t> starts = EpochStarts(lines);
    ASSERT_GT(starts.size(), 30u);
    std::vector<std::string> broken(lines.begin(), lines.begin() + static_cast<long>(starts[25]));
    const size_t bad = starts[20] + 3;
    broken[bad].replace(40, 4, "12a4");
    const std::string obs = Scratch("broken.rnx");
    WriteLines(obs, broken, broken.size(), false);
    const std::string out = Scratch("broken_out");

    const Outcome r = RunProgram("--obs " + obs + kProducts + " --mode spp --quiet --out " + out);
    EXPECT_EQ(r.exitCode, 3);
    EXPECT_EQ(LineCount(r.err), 1) << r.err;
    EXPECT_NE(r.err.find(obs + ":" + std::to_string(bad + 1) + ":"), std::string::npos) << r.err;

    // The library's name: site, day, product source, static, systems of the epoch.
    EXPECT_EQ(LineCount(ReadText(out + "/20200625/ESBC_20200625_sp3_S_GRE.spp")), 20);
}

TEST(PpprunSample, TruncatedFileEndsCleanly)
{
    // 30 whole epochs, then half of the 31st with its last line cut.
    const std::vector<std::string>& lines = SampleLines();
    const std::vector<size_t> starts = EpochStarts(lines);
    const std::string obs = Scratch("truncated.rnx");
    WriteLines(obs, lines, starts[30] + 10, true);
    const Outcome r = RunProgram("--obs " + obs + kProducts + " --mode spp --quiet");
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("epochs read       30\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("result codes      1: 30"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("note"), std::string::npos) << r.out;
}

}  // namespace
