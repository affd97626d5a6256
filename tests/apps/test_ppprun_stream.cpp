// ppprun on RTCM 3 streams made from the bundled sample by rnx2rtcm: the
// stream run against the file run of the same data, the observations served
// by the NTRIP caster, and damaged streams and refused connections, which
// must end in a message or a counted skip with the positions kept.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "apps/ProgramRun.h"
#include "rt/NtripCaster.h"

namespace {

using program_test::JsonArray;
using program_test::JsonNumber;
using program_test::LineCount;
using program_test::Outcome;
using program_test::Scratch;
using testfiles::readText;

const std::string kSample = std::string(PPP_SOURCE_DIR) + "/data/sample/";
const std::string kAtx = " --atx " + kSample + "ESBC_receiver_antenna.atx";
const std::string kProducts = " --sp3 " + kSample + "GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz --sp3 " + kSample +
                              "GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz --clk " + kSample +
                              "GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz";
const std::string kObs = kSample + "ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz";
const std::string kPosFile = "/20200625/RTCM_20200625_sp3_S_GRE.ppp.pos";

std::vector<uint8_t> ReadBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes)
{
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                static_cast<std::streamsize>(bytes.size()));
}

// Offsets of the frames of a clean stream.
std::vector<size_t> FrameStarts(const std::vector<uint8_t>& bytes)
{
    std::vector<size_t> starts;
    for (size_t at = 0; at + 3 <= bytes.size(); at += (((bytes[at + 1] & 3u) << 8) | bytes[at + 2]) + 6u)
        starts.push_back(at);
    return starts;
}

class PpprunStream : public testing::Test {
protected:
    static std::string obs, corr;

    // The sample as an observation stream and a correction stream (broadcast
    // ephemerides of a committed excerpt, SSR from the precise products).
    static void SetUpTestSuite()
    {
        obs = Scratch("esbc_obs.rtcm3");
        corr = Scratch("esbc_corr.rtcm3");
        const Outcome r = program_test::RunProgram(
            "rnx2rtcm", "--obs " + kObs + " --nav " + PPP_SOURCE_DIR +
                            "/data/sample/ESBC00DNK_R_20201770000_02H_MN.rnx.gz" + kProducts + " --out " +
                            obs + " --out-corr " + corr);
        ASSERT_EQ(r.exitCode, 0) << r.err;
    }

    static Outcome Ppprun(const std::string& arguments) { return program_test::RunProgram("ppprun", arguments); }
};

std::string PpprunStream::obs, PpprunStream::corr;

TEST_F(PpprunStream, StreamsGiveTheFileRunsPositionWithinOneCentimetre)
{
    const std::string fileJson = Scratch("stream_file.json"), streamJson = Scratch("stream_rtcm.json");
    ASSERT_EQ(Ppprun("--obs " + kObs + kProducts + kAtx + " --quiet --summary " + fileJson).exitCode, 0);
    const Outcome r = Ppprun("--rtcm " + obs + " --rtcm-corr " + corr + kAtx + " --quiet --summary " + streamJson);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::string stream = readText(streamJson);
    EXPECT_EQ(JsonNumber(stream, "epochs"), 240);
    EXPECT_EQ(JsonNumber(stream, "bad_frames"), 0);
    const std::vector<double> a = JsonArray(readText(fileJson), "final_xyz"), b = JsonArray(stream, "final_xyz");
    ASSERT_EQ(a.size(), 3u);
    ASSERT_EQ(b.size(), 3u);
    EXPECT_LT(std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]), 0.01);
}

// A network source never ends (it reconnects, and the caster replays from
// the start, which the epoch builder drops as late), so the run is stopped
// once its position file holds every epoch of the run from the file.
TEST_F(PpprunStream, ObservationsFromTheCasterGiveTheFileRunsPositions)
{
    const std::string fromFile = Scratch("stream_out_file"), fromCaster = Scratch("stream_out_ntrip");
    ASSERT_EQ(Ppprun("--rtcm " + obs + " --rtcm-corr " + corr + kAtx + " --quiet --out " + fromFile).exitCode, 0);
    const std::string expected = readText(fromFile + kPosFile);
    std::remove((fromCaster + kPosFile).c_str());   // a previous run's must not end the wait
    ppprt::NtripCaster caster({{"OBS", obs, false}}, ppprt::CasterOptions());
    const std::string command = std::string("exec ") + PPP_EMULATOR + " " + PPP_BINARY_DIR + "/bin/ppprun --rtcm ntrip://127.0.0.1:" +
                                std::to_string(caster.port()) + "/OBS --rtcm-corr " + corr + kAtx + " --quiet --out " +
                                fromCaster + " > /dev/null 2>&1";
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(300);
    while (LineCount(readText(fromCaster + kPosFile)) < LineCount(expected) &&
           std::chrono::steady_clock::now() < deadline && waitpid(pid, nullptr, WNOHANG) == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    kill(pid, SIGTERM);
    waitpid(pid, nullptr, 0);
    EXPECT_EQ(readText(fromCaster + kPosFile), expected);
    EXPECT_GE(caster.stats().streams, 1);
}

// Damage to the streams costs the damaged frames or the epochs after it,
// is counted or noted, and the run ends normally with what it solved.
TEST_F(PpprunStream, DamagedStreamsAreCountedAndTheRunCompletes)
{
    const std::vector<uint8_t> obsBytes = ReadBytes(obs), corrBytes = ReadBytes(corr);
    const std::vector<size_t> frames = FrameStarts(obsBytes);
    ASSERT_EQ(frames.size(), 998u);
    std::vector<uint8_t> flipped = obsBytes;
    long corrupted = 0;
    for (size_t k = 7; k < frames.size(); k += 50, ++corrupted)
        flipped[frames[k] + 10] ^= 0x5A;
    const std::vector<uint8_t> cut(obsBytes.begin(), obsBytes.begin() + static_cast<long>(frames[500] + 40));
    const std::vector<size_t> corrFrames = FrameStarts(corrBytes);
    const std::vector<uint8_t> corrCut(corrBytes.begin(), corrBytes.begin() + static_cast<long>(corrFrames[corrFrames.size() / 2]));
    WriteBytes(Scratch("esbc_obs_flipped.rtcm3"), flipped);
    WriteBytes(Scratch("esbc_obs_cut.rtcm3"), cut);
    WriteBytes(Scratch("esbc_corr_cut.rtcm3"), corrCut);
    struct Case {
        std::string obs, corr;
        long badFrames;
        int minEpochs, maxEpochs;   // read
        int minSolved;              // positions written
        const char* shows;          // in the JSON summary
    };
    const Case cases[] = {
        {Scratch("esbc_obs_flipped.rtcm3"), corr, corrupted, 235, 240, 230, "\"bad_frames\""},
        {Scratch("esbc_obs_cut.rtcm3"), corr, 0, 100, 140, 100, "ends inside a frame"},
        {obs, Scratch("esbc_corr_cut.rtcm3"), 0, 240, 240, 100, "\"correction older than its maximum age\""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.obs + " " + c.corr);
        const std::string json = Scratch("stream_damage.json"), out = Scratch("stream_damage_out");
        const Outcome r = Ppprun("--rtcm " + c.obs + " --rtcm-corr " + c.corr + kAtx + " --quiet --out " + out +
                                 " --summary " + json);
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const std::string summary = readText(json);
        EXPECT_EQ(JsonNumber(summary, "bad_frames"), c.badFrames);
        EXPECT_GE(JsonNumber(summary, "epochs"), c.minEpochs);
        EXPECT_LE(JsonNumber(summary, "epochs"), c.maxEpochs);
        EXPECT_NE(summary.find(c.shows), std::string::npos) << summary;
        EXPECT_GE(LineCount(readText(out + kPosFile)) - 2, c.minSolved);
    }
}

// A refused login and an unknown mount are final: the run ends at once as
// for an unreadable input (exit code 2) with the caster's reply, and the
// password is not shown.
TEST_F(PpprunStream, RefusedConnectionsEndTheRunWithTheReason)
{
    ppprt::CasterOptions options;
    options.user = "rover";
    options.password = "secret";
    ppprt::NtripCaster caster({{"OBS", obs, false}}, options);
    const std::string at = "@127.0.0.1:" + std::to_string(caster.port());
    const struct {
        std::string source;
        const char* reason;
    } cases[] = {
        {"ntrip://rover:wrong" + at + "/OBS", "401 Unauthorized"},
        {"ntrip://rover:secret" + at + "/NOPE", "404 Not Found"},
    };
    for (const auto& c : cases) {
        const Outcome r = Ppprun("--rtcm " + c.source + " --rtcm-corr " + corr + " --quiet");
        EXPECT_EQ(r.exitCode, 2) << c.source << r.err;
        EXPECT_NE(r.err.find(c.reason), std::string::npos) << r.err;
        EXPECT_EQ(r.err.find("secret"), std::string::npos) << r.err;
    }
    EXPECT_EQ(caster.stats().refused, 2);
}

}  // namespace
