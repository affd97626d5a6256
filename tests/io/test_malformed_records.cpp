// Reading past malformed data lines (MalformedRecords::kSkip): a damaged copy
// of a file must read as the intact file less exactly what the damage spoils,
// with the drops counted and warned of by file and line, while kStop still
// throws at that line.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "io/RinexObsReader.h"
#include "io/rinex_obs_test_util.h"

namespace {

using rinex_test::FileCopy;
using rinex_test::ReadAll;
using testfiles::dataPath;
using testfiles::samplePath;

void DropSatellite(FileCopy& file, const std::string& name, size_t first, size_t last)
{
    for (size_t e = first; e <= last; ++e) {
        std::vector<rinex_test::SatCopy>& sats = file.epochs[e].sats;
        sats.erase(std::remove_if(sats.begin(), sats.end(),
                                  [&](const rinex_test::SatCopy& sat) { return rinex_test::SatName(sat) == name; }),
                   sats.end());
    }
}

void DropEpoch(FileCopy& file, size_t e)
{
    file.epochs.erase(file.epochs.begin() + static_cast<std::ptrdiff_t>(e));
}

struct Damage {
    const char* from;  // first occurrence replaced
    const char* to;
    long line;         // of the first warning and of the kStop error
    const char* warning;
    std::function<void(FileCopy&)> loss;  // applied to the intact read
    long skippedEpochs;
    long skippedSatellites;
    size_t warnings;
};

void CheckDamages(const std::string& source, const std::vector<Damage>& damages)
{
    const FileCopy whole = ReadAll(source);
    std::string text;
    for (const std::string& line : testfiles::readLines(source))
        text += line + "\n";
    for (size_t i = 0; i < damages.size(); ++i) {
        const Damage& damage = damages[i];
        SCOPED_TRACE(damage.warning);
        const std::string path = testfiles::writeVariant(text, damage.from, damage.to, "skip" + std::to_string(i));
        const FileCopy read = ReadAll(path, pppio::MalformedRecords::kSkip);
        FileCopy expected = whole;
        damage.loss(expected);
        rinex_test::ExpectSameEpochs(read, expected);
        EXPECT_EQ(read.skippedEpochs, damage.skippedEpochs);
        EXPECT_EQ(read.skippedSatellites, damage.skippedSatellites);
        ASSERT_EQ(read.warnings.size(), damage.warnings);
        const std::string at = path + ":" + std::to_string(damage.line) + ": ";
        EXPECT_EQ(read.warnings[0].compare(0, at.size(), at), 0) << read.warnings[0];
        EXPECT_NE(read.warnings[0].find(damage.warning), std::string::npos) << read.warnings[0];
        testfiles::expectReadError([&] { ReadAll(path); }, path, damage.line, "");
    }
}

TEST(MalformedRecords, Rinex3DropsTheSatelliteOrTheEpoch)
{
    CheckDamages(samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz"), {
        {"C10  38352566.929", "C10  38352566.9x9", 59, "(F14.3) in columns 4-17; C10 dropped from this epoch",
         [](FileCopy& f) { DropSatellite(f, "C10", 0, 0); }, 0, 1, 1},
        {"> 2020 06 25 00 00 30.0", "> 2020 06 25 00 00 3x.0", 100, "epoch time", [](FileCopy& f) { DropEpoch(f, 1); },
         1, 0, 1},
        // One satellite more announced than written: the next epoch is not eaten.
        {"00 01 00.0000000  0 43", "00 01 00.0000000  0 44", 188, "1 more satellite records", [](FileCopy&) {}, 0, 1,
         1},
    });
}

TEST(MalformedRecords, WarningsStopAtTwentyAndASummary)
{
    // G05's line spoilt in every epoch: G05 dropped throughout, nothing else.
    std::string text;
    for (std::string line : testfiles::readLines(samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz")))
        text += (line.compare(0, 4, "G05 ") == 0 ? line.replace(3, 1, "x") : line) + "\n";
    const std::string path = testfiles::scratchPath("skip_g05.rnx");
    testfiles::writeText(path, text);
    const FileCopy read = ReadAll(path, pppio::MalformedRecords::kSkip);
    FileCopy expected = ReadAll(samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz"));
    DropSatellite(expected, "G5", 0, expected.epochs.size() - 1);
    rinex_test::ExpectSameEpochs(read, expected);
    EXPECT_EQ(read.skippedSatellites, 240);
    ASSERT_EQ(read.warnings.size(), 21u);
    EXPECT_EQ(read.warnings[20], "220 more malformed records skipped");
}

TEST(MalformedRecords, Rinex2DropsTheSatelliteOrTheEpoch)
{
    CheckDamages(dataPath("small_v211.rnx"), {
        // G02's second line is still read: the satellites after it stay in step.
        {"  20246914.532 7", "  2024691x.532 7", 21, "columns 1-14; G02 dropped",
         [](FileCopy& f) { DropSatellite(f, "G2", 0, 0); }, 0, 1, 1},
        // Reading goes on at the event epoch line, not at one of the data lines.
        {" 20  6 25  0  0 30.0", " 20 13 25  0  0 30.0", 45, "epoch time", [](FileCopy& f) { DropEpoch(f, 1); }, 1, 0,
         1},
    });
}

TEST(MalformedRecords, CompactRinexEndsArcsOrWaitsForAFullEpochLine)
{
    CheckDamages(dataPath("small_v4.crx"), {
        // G01's arcs end: its later lines continue them and drop it too, with
        // one warning.
        {"-10414401 -52073706", "-10414401 -5207x706", 35, "for G01 L1C; G01 dropped",
         [](FileCopy& f) { DropSatellite(f, "G1", 1, 6); }, 0, 4, 1},
        // Events are read on; the data epochs wait for the full epoch line of
        // 00:01:30, after which only the satellites whose arcs restart (G02,
        // E12) are read, the others are dropped with one warning each.
        {"                   3\n323", "                   x\n323", 33, "up to line 40, the next full epoch line",
         [](FileCopy& f) {
             for (const char* name : {"G1", "G3", "E11", "C20", "R5"})
                 DropSatellite(f, name, 5, 6);
             DropEpoch(f, 3);
             DropEpoch(f, 1);
         },
         1, 10, 6},
    });
    // The sample has no full epoch line after its first.
    CheckDamages(samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.crx.gz"), {
        {"                   3\n", "                   x\n", 103, "rest of the file skipped from line 103",
         [](FileCopy& f) { f.epochs.resize(1); }, 1, 0, 1},
    });
}

}  // namespace
