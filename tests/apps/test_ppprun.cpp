// The ppprun program run as a user runs it: options and exit codes, the
// single point solution of the bundled sample against the station's
// reference coordinates, broken and cut observation files, the JSON summary,
// and mode ppprtk with the sample as its own reference station.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "apps/ProgramRun.h"
#include "common/GNSSConst.h"
#include "common/GNSSCoordConvert.h"
#include "io/AmbiguityExport.h"

namespace {

const std::string kSample = std::string(PPP_SOURCE_DIR) + "/data/sample/";
const std::string kObs = kSample + "ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz";
const std::string kProducts = " --sp3 " + kSample + "GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz --sp3 " + kSample +
                              "GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz --clk " + kSample +
                              "GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz --atx " + kSample +
                              "ESBC_receiver_antenna.atx";
const double kReferenceXyz[3] = {3582104.766, 532590.178, 5232755.139};
const std::string kReference = " --ref 3582104.766,532590.178,5232755.139";

using program_test::Outcome;
using program_test::Scratch;
using testfiles::readText;
using program_test::JsonArray;
using program_test::JsonNumber;
using program_test::LineCount;

Outcome RunProgram(const std::string& arguments)
{
    return program_test::RunProgram("ppprun", arguments);
}

// Indexes of the epoch lines of the sample's observation file, decompressed.
std::vector<size_t> EpochStarts(const std::vector<std::string>& lines)
{
    std::vector<size_t> starts;
    for (size_t i = 0; i < lines.size(); ++i)
        if (!lines[i].empty() && lines[i][0] == '>')
            starts.push_back(i);
    return starts;
}

TEST(PpprunOptions, HelpDocumentsEveryOptionWithItsDefault)
{
    const Outcome r = RunProgram("--help");
    EXPECT_EQ(r.exitCode, 0);
    for (const char* option : {"--obs", "--sp3", "--clk", "--atx", "--nav", "--broadcast-fallback", "--sinex",
                               "--mode", "--dynamics", "--systems", "--elev-mask", "--apriori", "--site",
                               "--weights", "--code-ratios", "--trop-noise", "--no-tide", "--no-windup", "--no-rec-antenna", "--no-sat-antenna", "--sat-antenna",
                               "--reset-hours", "--time-window", "--interval", "--pos", "--pos-format", "--plot", "--out", "--debug", "--residuals", "--ref", "--summary", "--quiet"}) {
        const size_t at = r.out.find(std::string("\n  ") + option + " ");
        ASSERT_NE(at, std::string::npos) << option;
        const size_t next = r.out.find("\n  --", at + 3);
        EXPECT_NE(r.out.substr(at, next - at).find("default"), std::string::npos) << option;
    }
}

TEST(PpprunOptions, BadOptionsAndMissingFilesExitWithTwoAndOneLine)
{
    const std::string missing = Scratch("no_such_orbit.sp3");
    const struct {
        std::string arguments;
        std::string named;   // part of the message
    } cases[] = {
        {"--frobnicate", "--frobnicate"},
        {"--obs x --mode fast", ""},
        {"--obs x --elev-mask high", ""},
        {"--obs x --sp3 y --systems GX", ""},
        {"--obs x --sp3 y --ref 1,2", ""},
        {"--obs x --sp3 y --weights 1,1,1,1", ""},
        {"--obs x --sp3 y --code-ratios 300,0,600,600,900", ""},
        {"--obs x --sp3 y --code-ratios 1e-300,600,600,600,900", ""},
        {"--obs x --sp3 y --apriori nan,0,0", "--apriori"},
        {"--obs x --sp3 y --reset-hours inf", "--reset-hours"},
        {"--obs", ""},
        {"--obs x --sp3 y --mode ar", "--upd"},
        {"--obs x --sp3 y --mode ar --upd a --bias b", "--bias"},
        {"--obs x --sp3 y --mode upd-export", "--export"},
        {"--obs x --sp3 y --mode ar --upd a --ratio 0.5", "--ratio"},
        {"--obs x --sp3 y --pos-format neu", "--pos-format"},
        {"--obs x --sp3 y --plot run.png", "--plot"},
        {"--obs x --sp3 y --time-window 2020-06-25T01:00:00 2020-06-25T00:00:00", "--time-window"},
        {"--obs x --sp3 y --time-window 2020-06-25T25:00:00 2020-06-26T00:00:00", "--time-window"},
        {"--obs x --sp3 y --interval 0", "--interval"},
        {"--obs " + kObs + " --sp3 " + missing + " --quiet", missing},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        const Outcome r = RunProgram(c.arguments);
        EXPECT_EQ(r.exitCode, 2);
        EXPECT_EQ(LineCount(r.err), 1) << r.err;
        EXPECT_NE(r.err.find(c.named), std::string::npos) << r.err;
        EXPECT_TRUE(r.out.empty());
    }
}

// Single point solutions (result code 1) and float PPP (code 2) on every
// epoch, near the station's reference coordinates, with a well-formed summary.
TEST(PpprunSample, SppAndFloatPppOfEveryEpochWithTheSummary)
{
    const struct {
        const char* mode;
        const char* codes;
        double horizontalRms, verticalRms;   // m
    } runs[] = {{"spp", "{\"1\": 240}", 1.0, 2.0}, {"ppp", "{\"2\": 240}", 0.1, 0.2}};
    for (const auto& run : runs) {
        SCOPED_TRACE(run.mode);
        const std::string json = Scratch(std::string(run.mode) + "_summary.json");
        std::remove(json.c_str());
        const Outcome r = RunProgram("--obs " + kObs + kProducts + kReference + " --mode " + run.mode +
                                     " --systems GRE --quiet --summary " + json);
        ASSERT_EQ(r.exitCode, 0) << r.err;
        EXPECT_TRUE(r.err.empty()) << r.err;   // --quiet: no progress
        EXPECT_NE(r.out.find("epochs read       240"), std::string::npos) << r.out;

        const std::string summary = readText(json);
        ASSERT_FALSE(summary.empty());
        EXPECT_EQ(summary.front(), '{');
        int depth = 0;
        for (char c : summary) {
            depth += (c == '{' || c == '[') ? 1 : (c == '}' || c == ']') ? -1 : 0;
            ASSERT_GE(depth, 0);
        }
        EXPECT_EQ(depth, 0);
        for (const char* key : {"epochs", "result_codes", "final_xyz", "final_neu_error_m", "rms_neu_error_m",
                                "convergence_s", "wall_s", "library_s", "missing_products", "signals"})
            EXPECT_NE(summary.find(std::string("\"") + key + "\": "), std::string::npos) << key;
        EXPECT_NE(summary.find("\"epochs\": 240,"), std::string::npos) << summary;
        EXPECT_NE(summary.find(std::string("\"result_codes\": ") + run.codes), std::string::npos) << summary;
        EXPECT_NE(summary.find("\"G\": \"C1W/C2W"), std::string::npos);
        // The sample's antenna file has the receiver only: PPP tells the user what that costs.
        EXPECT_EQ(summary.find("holds no satellite antennas") != std::string::npos, std::string(run.mode) == "ppp");
        const std::vector<double> rms = JsonArray(summary, "rms_neu_error_m");
        ASSERT_EQ(rms.size(), 3u) << summary;
        EXPECT_LE(std::hypot(rms[0], rms[1]), run.horizontalRms);
        EXPECT_LE(rms[2], run.verticalRms);
        const std::vector<double> xyz = JsonArray(summary, "final_xyz");
        ASSERT_EQ(xyz.size(), 3u);
        EXPECT_NEAR(xyz[0], 3582104.766, 5.0);
        EXPECT_NEAR(xyz[2], 5232755.139, 5.0);
    }
}

// Mode upd-export: the float solution of every epoch and its float
// ambiguities, which read back epoch by epoch.
TEST(PpprunSample, UpdExportWritesTheFloatAmbiguitiesOfEveryEpoch)
{
    const std::string exported = Scratch("sample.famb");
    std::remove(exported.c_str());
    const Outcome r = RunProgram("--obs " + kObs + kProducts + " --mode upd-export --systems GRE --quiet --export " +
                                 exported);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("result codes      3: 240"), std::string::npos) << r.out;
    const pppio::AmbiguityExport e = pppio::readAmbiguityExport(exported);
    EXPECT_EQ(e.site, "ESBC");
    EXPECT_EQ(e.interval, 30.0);
    ASSERT_EQ(e.epochs.size(), 240u);
    for (const pppio::AmbiguityEpoch& epoch : e.epochs) {
        EXPECT_GE(epoch.satellites.size(), 15u);
    }
}

// A letter inside an observation costs that satellite of epoch 21; a
// broken epoch line costs epoch 21: both are warned of with file and line,
// counted, and the run goes on to the end.
TEST(PpprunSample, CorruptLinesCostTheirSatelliteOrEpochAndTheRunGoesOn)
{
    const std::vector<std::string> lines = testfiles::readLines(kObs);
    const std::vector<size_t> starts = EpochStarts(lines);
    ASSERT_GT(starts.size(), 30u);
    const struct {
        const char* name;
        size_t line;       // index of the corrupted line
        size_t column;
        const char* text;
        const char* skipped;
        int solvedEpochs;
    } cases[] = {
        {"satellite", starts[20] + 3, 40, "12a4", "skipped 0 epochs and 1 satellite records", 25},
        {"epoch", starts[20], 2, "2O2", "skipped 1 epochs and 0 satellite records", 24},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<std::string> broken(lines.begin(), lines.begin() + static_cast<long>(starts[25]));
        broken[c.line].replace(c.column, 4, c.text);
        const std::string obs = Scratch(std::string("broken_") + c.name + ".rnx");
        testfiles::writeLines(obs, broken);
        const std::string out = Scratch(std::string("broken_") + c.name + "_out");
        const Outcome r = RunProgram("--obs " + obs + kProducts + " --mode spp --quiet --out " + out);
        EXPECT_EQ(r.exitCode, 0) << r.err;
        EXPECT_NE(r.out.find(obs + ":" + std::to_string(c.line + 1) + ":"), std::string::npos) << r.out;
        EXPECT_NE(r.out.find(c.skipped), std::string::npos) << r.out;
        // The library's name: site, day, product source, static, systems of the epoch.
        EXPECT_EQ(LineCount(readText(out + "/20200625/ESBC_20200625_sp3_S_GRE.spp")), c.solvedEpochs);
    }
}

TEST(PpprunSample, TruncatedFileIsProcessedAndEndsWithFive)
{
    // 30 whole epochs, then half of the 31st with its last line cut.
    std::vector<std::string> lines = testfiles::readLines(kObs);
    lines.resize(EpochStarts(lines).at(30) + 10);
    const std::string obs = Scratch("truncated.rnx");
    testfiles::writeLines(obs, lines, true);
    const Outcome r = RunProgram("--obs " + obs + kProducts + " --mode spp --quiet");
    EXPECT_EQ(r.exitCode, 5) << r.err;
    EXPECT_NE(r.err.find(obs + ": the file is truncated"), std::string::npos) << r.err;
    EXPECT_NE(r.out.find("epochs read       30\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("result codes      1: 30"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("note"), std::string::npos) << r.out;
}

// Mode ppprtk with the sample as its own reference station (zero baseline):
// the corrected code of every epoch gives the reference position. A
// reference position 1 m north of the truth moves the user's by that vector.
TEST(PpprunPpprtk, ZeroBaselineSolvesEveryEpochAndAWrongReferenceMovesTheUser)
{
    tagCRDCARTESIAN xyz{kReferenceXyz[0], kReferenceXyz[1], kReferenceXyz[2]};
    tagCRDGEODETIC blh;
    CGNSSCoordConvert().CartesianToGeodetic(&xyz, &blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    const double north[3] = {-std::sin(blh.lat) * std::cos(blh.lon), -std::sin(blh.lat) * std::sin(blh.lon),
                             std::cos(blh.lat)};
    const struct {
        double shiftNorth;   // m, of --aug-ref-xyz
        double tolerance;    // m, per N/E/U component
    } cases[] = {{0.0, 0.001}, {1.0, 0.005}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.shiftNorth);
        char ref[96];
        std::snprintf(ref, sizeof(ref), "%.4f,%.4f,%.4f", kReferenceXyz[0] + c.shiftNorth * north[0],
                      kReferenceXyz[1] + c.shiftNorth * north[1], kReferenceXyz[2] + c.shiftNorth * north[2]);
        const std::string json = Scratch("ppprtk_zero_baseline.json");
        std::remove(json.c_str());
        const Outcome r = RunProgram("--obs " + kObs + kProducts + kReference + " --mode ppprtk --systems GE --aug-obs " +
                                     kObs + " --aug-ref-xyz " + ref + " --quiet --summary " + json);
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const std::string summary = readText(json);
        EXPECT_NE(summary.find("\"result_codes\": {\"6\": 240}"), std::string::npos) << summary;
        EXPECT_EQ(JsonNumber(summary, "aug_reference_epochs"), 240);
        EXPECT_EQ(JsonNumber(summary, "aug_user_epochs"), 240);
        EXPECT_GE(JsonNumber(summary, "aug_corrected_satellite_epochs"), 240 * 8);
        EXPECT_EQ(JsonNumber(summary, "aug_dropped_for_age"), 0);
        EXPECT_EQ(JsonNumber(summary, "aug_too_few_epochs"), 0);
        EXPECT_EQ(JsonArray(summary, "aug_age_counts").size(), 10u);
        EXPECT_GE(JsonNumber(summary, "aug_generator_s"), 0.0);
        const std::vector<double> rms = JsonArray(summary, "rms_neu_error_m"),
                                  last = JsonArray(summary, "final_neu_error_m");
        ASSERT_EQ(rms.size(), 3u);
        ASSERT_EQ(last.size(), 3u);
        EXPECT_NEAR(rms[0], c.shiftNorth, c.tolerance);
        EXPECT_NEAR(last[0], c.shiftNorth, c.tolerance);
        for (int k = 1; k < 3; ++k) {
            EXPECT_NEAR(rms[k], 0.0, c.tolerance) << k;
            EXPECT_NEAR(last[k], 0.0, c.tolerance) << k;
        }
    }
}

// A reference whose epochs fall 15 s after the user's: each user epoch finds
// only corrections 15 s old, which the library drops, so every epoch fails
// for too few corrected satellites; the run still ends normally.
TEST(PpprunPpprtk, ReferenceEpochsOutOfStepAreAllTooOld)
{
    std::vector<std::string> lines = testfiles::readLines(kObs);
    for (size_t i : EpochStarts(lines)) {
        ASSERT_EQ(lines[i].compare(20, 1, "0"), 0) << lines[i];   // 00 or 30 seconds
        lines[i][19] = lines[i][19] == '0' ? '1' : '4';
        lines[i][20] = '5';
    }
    const std::string shifted = Scratch("shifted_reference.rnx");
    testfiles::writeLines(shifted, lines);
    const std::string json = Scratch("ppprtk_shifted.json");
    std::remove(json.c_str());
    const Outcome r = RunProgram("--obs " + kObs + kProducts + " --mode ppprtk --systems GE --aug-obs " + shifted +
                                 " --aug-ref-xyz 3582104.766,532590.178,5232755.139 --quiet --summary " + json);
    ASSERT_EQ(r.exitCode, 4) << r.err;
    EXPECT_NE(r.err.find("240 epochs had too few satellites with corrections"), std::string::npos) << r.err;
    EXPECT_NE(r.out.find("too few corrected 240 epochs failed"), std::string::npos) << r.out;
    const std::string summary = readText(json);
    EXPECT_NE(summary.find("\"result_codes\": {\"0\": 240}"), std::string::npos) << summary;
    EXPECT_EQ(JsonNumber(summary, "aug_too_few_epochs"), 240);
    EXPECT_GE(JsonNumber(summary, "aug_dropped_for_age"), 239 * 8);
    EXPECT_EQ(JsonNumber(summary, "aug_corrected_satellite_epochs"), 0);
}

}  // namespace

namespace {

// Well-formed XML as far as a picture needs: every element closed in order.
bool BalancedTags(const std::string& xml)
{
    std::vector<std::string> open;
    for (size_t at = xml.find('<'); at != std::string::npos; at = xml.find('<', at + 1)) {
        const size_t end = xml.find('>', at);
        if (end == std::string::npos)
            return false;
        const std::string tag = xml.substr(at + 1, end - at - 1);
        if (tag.empty() || tag[0] == '!' || tag.back() == '/')
            continue;
        const std::string name = tag.substr(tag[0] == '/', tag.find_first_of(" \n") - (tag[0] == '/'));
        if (tag[0] != '/')
            open.push_back(name);
        else if (open.empty() || open.back() != name)
            return false;
        else
            open.pop_back();
    }
    return open.empty();
}

size_t Count(const std::string& text, const std::string& part)
{
    size_t n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++n;
    return n;
}

// The data rows of a position file, as numbers after the date and time.
std::vector<std::vector<double>> PositionRows(const std::string& path)
{
    std::vector<std::vector<double>> rows;
    for (const std::string& line : testfiles::readLines(path)) {
        if (line.empty() || line[0] == '%')
            continue;
        std::vector<double> row;
        char* at = const_cast<char*>(line.c_str()) + 23;   // after "YYYY/MM/DD HH:MM:SS.sss"
        for (char* end = at;; at = end) {
            const double v = std::strtod(at, &end);
            if (end == at)
                break;
            row.push_back(v);
        }
        rows.push_back(row);
    }
    return rows;
}

}  // namespace

// Half an hour every minute in the three position layouts and the picture:
// the layouts agree with each other (the same point, the same total
// variance), the static filter gives real covariances, and the picture
// holds its panels, one line per series.
TEST(PpprunSample, PositionFilesAndPictureOfATimeWindow)
{
    const std::string window = " --time-window 2020-06-25T00:30:00 2020-06-25T01:00:00 --interval 60";
    std::vector<std::vector<double>> rows[3];
    const char* formats[3] = {"xyz", "llh", "enu"};
    const std::string svg = Scratch("window.svg"), json = Scratch("window.json");
    for (int f = 0; f < 3; ++f) {
        const std::string pos = Scratch(std::string("window_") + formats[f] + ".pos");
        const Outcome r = RunProgram("--obs " + kObs + kProducts + kReference + window + " --quiet --pos " + pos +
                                     " --pos-format " + formats[f] + (f == 0 ? " --plot " + svg + " --summary " + json : ""));
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const std::string text = readText(pos);
        for (const char* line : {"% program   : ppprun ", "% obs start : 2020/06/25 00:30:00.000 GPST",
                                 "% obs end   : 2020/06/25 01:00:00.000 GPST", "% pos mode  : ppp-static",
                                 "% elev mask : 7.0 deg", "Q=1:fix,2:float", "%  GPST "})
            EXPECT_NE(text.find(line), std::string::npos) << line;
        rows[f] = PositionRows(pos);
        ASSERT_EQ(rows[f].size(), 31u);
        EXPECT_NE(text.find("2020/06/25 00:31:00.000"), std::string::npos);
    }
    EXPECT_NE(readText(json).find("\"epochs\": 31,"), std::string::npos);
    const std::vector<double> finalXyz = JsonArray(readText(json), "final_xyz");
    CGNSSCoordConvert convert;
    for (size_t i = 0; i < rows[0].size(); ++i) {
        const std::vector<double>&x = rows[0][i], &l = rows[1][i], &e = rows[2][i];
        ASSERT_EQ(x.size(), 13u);
        EXPECT_EQ(x[3], 2.0);   // float
        EXPECT_GE(x[4], 8.0);
        tagCRDGEODETIC g{l[1] * _PI / 180.0, l[0] * _PI / 180.0, l[2]};
        tagCRDCARTESIAN back{};
        convert.GeodeticToCartesian(&g, &back, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
        const double backXyz[3] = {back.x, back.y, back.z};
        tagCRDCARTESIAN point{x[0], x[1], x[2]}, ref{kReferenceXyz[0], kReferenceXyz[1], kReferenceXyz[2]};
        tagCRDTOPOCENTRIC neu{};
        convert.CartesianToTopocentric(&point, &neu, &ref, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
        const double enu[3] = {neu.east, neu.north, neu.up};
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(backXyz[k], x[k], 2e-3);
            EXPECT_NEAR(e[k], enu[k], 2e-4);
        }
        // A rotation keeps the total variance; the covariances are the
        // filter's, not zero (its first epoch records no deviations yet).
        if (i == 0)
            continue;
        auto total = [](const std::vector<double>& v) { return v[5] * v[5] + v[6] * v[6] + v[7] * v[7]; };
        EXPECT_GT(total(x), 0.0);
        EXPECT_NEAR(total(l), total(x), 2e-4 + 1e-3 * total(x));
        EXPECT_NEAR(total(e), total(x), 2e-4 + 1e-3 * total(x));
        EXPECT_NE(std::fabs(x[8]) + std::fabs(x[9]) + std::fabs(x[10]), 0.0);
    }
    ASSERT_EQ(finalXyz.size(), 3u);
    EXPECT_NEAR(rows[0].back()[0], finalXyz[0], 1e-3);

    const std::string picture = readText(svg);
    EXPECT_TRUE(BalancedTags(picture));
    EXPECT_EQ(Count(picture, "<polyline"), 3u + 3u + 1u);   // north, east, up; G, R, E; ZTD
    for (const char* label : {"error against --ref (m)", "satellites used", "zenith total delay (m)",
                              "hours since the first solution", ">north<", ">Galileo<", ">float<", "ESBC"})
        EXPECT_NE(picture.find(label), std::string::npos) << label;
}

// The picture as a browser shows it: a headless Chromium, where the machine
// has one, renders the SVG of the window run above; an empty page of the same
// size gives a PNG of about 4 KB, the drawn run over 20 KB.
TEST(PpprunSample, PictureRendersInAHeadlessBrowser)
{
    const std::string browser = "/usr/bin/chromium";
    const std::string svg = Scratch("window.svg");
    if (access(browser.c_str(), X_OK) != 0 || access(svg.c_str(), R_OK) != 0)
        GTEST_SKIP() << "no headless browser here (the XML check above stands)";
    const std::string png = Scratch("window.png");
    std::remove(png.c_str());
    const std::string command = browser + " --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
                                "--disable-background-networking --disable-component-update --disable-sync "
                                "--user-data-dir=" + Scratch("browser_profile") + " --window-size=1000,760 "
                                "--screenshot=" + png + " file://" + svg + " > /dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);
    const std::string image = readText(png);
    ASSERT_GT(image.size(), 20000u);
    EXPECT_EQ(image.compare(1, 3, "PNG"), 0);
}

TEST(PpprunOptions, VersionNamesProgramAndLibrary)
{
    const Outcome r = RunProgram("--version");
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out.rfind("ppprun ", 0), 0u) << r.out;
    EXPECT_NE(r.out.find("ppplib "), std::string::npos) << r.out;
}
