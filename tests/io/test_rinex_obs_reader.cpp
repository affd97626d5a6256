#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "io/RinexObsReader.h"
#include "io/rinex_obs_test_util.h"

namespace {

using rinex_test::EpochCopy;
using rinex_test::FileCopy;
using rinex_test::ReadAll;
using rinex_test::SatCopy;
using testfiles::dataPath;

// Observation `code` of a satellite in a read file; fails the test when the
// satellite is missing.
pppio::ObsValue Obs(const FileCopy& file, size_t epoch, char system, int prn, const char* code)
{
    const SatCopy* sat = file.epochs.at(epoch).find(system, prn);
    EXPECT_NE(sat, nullptr) << system << prn << " missing in epoch " << epoch;
    const int k = file.header.obsIndex(system, code);
    EXPECT_GE(k, 0) << code;
    if (!sat || k < 0)
        return pppio::ObsValue{-1.0, 0, 0};
    return sat->obs[static_cast<size_t>(k)];
}

std::vector<std::string> SatelliteNames(const EpochCopy& epoch)
{
    std::vector<std::string> names;
    for (const SatCopy& sat : epoch.sats)
        names.push_back(rinex_test::SatName(sat));
    return names;
}

TEST(RinexObsReader, Rinex211EpochsEventsAndContinuationLines)
{
    const FileCopy file = ReadAll(dataPath("small_v211.rnx"));
    ASSERT_EQ(file.epochs.size(), 5u);
    EXPECT_TRUE(file.warnings.empty());

    // First epoch: 13 satellites, the 13th on the continuation line.
    const EpochCopy& first = file.epochs[0];
    EXPECT_EQ(first.gpsTime.week, 2111);  // two-digit year 20
    EXPECT_EQ(first.gpsTime.sow, 4 * 86400.0);
    ASSERT_EQ(first.sats.size(), 13u);
    EXPECT_EQ(rinex_test::SatName(first.sats[12]), "R8");
    ASSERT_TRUE(first.hasClock);
    EXPECT_EQ(first.clock, 0.123456789);

    // Values from both lines of a satellite's record, flags as written.
    EXPECT_EQ(Obs(file, 0, 'G', 1, "C1").value, 20123457.828);
    EXPECT_EQ(Obs(file, 0, 'G', 1, "C1").ssi, 6);
    EXPECT_EQ(Obs(file, 0, 'G', 1, "L1C").value, 100620499.512);
    EXPECT_EQ(Obs(file, 0, 'G', 1, "D1").ssi, 0);  // blank signal strength
    EXPECT_EQ(Obs(file, 0, 'G', 1, "C2W").value, 20123458.717);
    EXPECT_EQ(Obs(file, 0, 'R', 8, "P2").value, 22487655.645);

    // Second epoch: G05 has gone; G07 lost lock on L1.
    EXPECT_EQ(file.epochs[1].sats.size(), 12u);
    EXPECT_EQ(file.epochs[1].find('G', 5), nullptr);
    EXPECT_EQ(Obs(file, 1, 'G', 7, "L1").lli, 1);
    EXPECT_EQ(Obs(file, 1, 'G', 7, "L1").ssi, 8);

    // Event: header information, applied to the header.
    const EpochCopy& event = file.epochs[2];
    EXPECT_EQ(event.flag, pppio::ObsEpoch::kHeaderInfo);
    ASSERT_EQ(event.records.size(), 2u);
    EXPECT_EQ(event.records[0].substr(0, 22), "ANTENNA HEIGHT CHANGED");
    EXPECT_EQ(file.header.antennaDeltaH, 1.2345);

    // Third data epoch: 14 satellites, blank fields read as absent.
    EXPECT_EQ(file.epochs[3].sats.size(), 14u);
    EXPECT_FALSE(Obs(file, 3, 'G', 11, "P2").present());
    EXPECT_TRUE(Obs(file, 3, 'G', 11, "C2").present());
    EXPECT_FALSE(Obs(file, 3, 'R', 2, "C2").present());

    // Last epoch: power failure flag, no clock offset.
    const EpochCopy& last = file.epochs[4];
    EXPECT_EQ(last.flag, pppio::ObsEpoch::kPowerFailure);
    EXPECT_FALSE(last.hasClock);
    EXPECT_FALSE(Obs(file, 4, 'G', 9, "L1").present());
    EXPECT_EQ(Obs(file, 4, 'G', 13, "L2").lli, 5);
}

TEST(RinexObsReader, Rinex4EpochsEventsAndScaleFactors)
{
    const FileCopy file = ReadAll(dataPath("small_v4.rnx"));
    ASSERT_EQ(file.epochs.size(), 7u);
    EXPECT_TRUE(file.warnings.empty());

    const EpochCopy& first = file.epochs[0];
    EXPECT_EQ(SatelliteNames(first), (std::vector<std::string>{"G1", "G2", "E11", "C20", "R5"}));
    ASSERT_TRUE(first.hasClock);
    EXPECT_EQ(first.clock, 0.000012345678);
    EXPECT_EQ(Obs(file, 0, 'G', 1, "C1C").value, 22098766.459);
    // Galileo signal strengths carry a scale factor of 10 in the file.
    EXPECT_EQ(Obs(file, 0, 'E', 11, "S1C").value, 43.25);
    EXPECT_EQ(Obs(file, 0, 'E', 11, "C5Q").value, 23786420.373);

    EXPECT_EQ(Obs(file, 1, 'G', 1, "L1C").lli, 1);
    EXPECT_FALSE(Obs(file, 1, 'G', 2, "L2W").present());

    // New site occupation: the marker name and the antenna height change.
    EXPECT_EQ(file.epochs[2].flag, pppio::ObsEpoch::kNewSite);
    EXPECT_EQ(file.epochs[2].records.size(), 2u);
    EXPECT_EQ(file.header.markerName, "TEST5");
    EXPECT_EQ(file.header.antennaDeltaH, 0.25);

    EXPECT_EQ(SatelliteNames(file.epochs[3]), (std::vector<std::string>{"G1", "G3", "E11", "C20", "R5"}));
    EXPECT_FALSE(Obs(file, 3, 'C', 20, "C2I").present());

    // External event without special records.
    EXPECT_EQ(file.epochs[4].flag, pppio::ObsEpoch::kExternalEvent);
    EXPECT_TRUE(file.epochs[4].records.empty());

    EXPECT_FALSE(file.epochs[5].hasClock);
    EXPECT_FALSE(Obs(file, 5, 'G', 3, "C1C").present());
    EXPECT_EQ(Obs(file, 5, 'G', 3, "L1C").value, 111374385.417);

    EXPECT_EQ(file.epochs[6].sats.size(), 7u);
    EXPECT_EQ(Obs(file, 6, 'R', 5, "L2P").lli, 1);
    EXPECT_EQ(Obs(file, 6, 'R', 5, "C2P").lli, 0);
}

TEST(RinexObsReader, MalformedDataLinesNameFileAndLine)
{
    const auto read = [](const std::string& path) { ReadAll(path); };
    const std::string bad = dataPath("small_v4_bad_value.rnx");
    testfiles::expectReadError([&] { read(bad); }, bad, 47, "expected an observation (F14.3) in columns 4-17");

    // Variants of the RINEX 4 file with one line replaced.
    testfiles::expectEditErrors(dataPath("small_v4.rnx"), {
        {"> 2020 06 25 00 00 30", "  2020 06 25 00 00 30", 30, "expected an epoch line starting with '>'"},
        {"> 2020 06 25 00 00 30.0000000  0", "> 2020 13 25 00 00 30.0000000  0", 30, "expected the epoch time"},
        {"> 2020 06 25 00 00 30.0000000  0", "> 2020 06 25 00 00 30.0000000  9", 30, "expected an epoch flag 0-6"},
        {"> 2020 06 25 00 00 30.0000000  0  5", "> 2020 06 25 00 00 30.0000000  0 x5", 30,
         "expected the number of satellites"},
        {"0.000012346001", "0.0000123460x1", 30, "expected the receiver clock offset"},
        {"G02  22188710.105 6", "X02  22188710.105 6", 32, "expected a satellite identifier in columns 1-3"},
        {"G02  22188710.105 6", "J02  22188710.105 6", 32, "no observation types for system 'J'"},
        {"22188710.105 6", "22188710.105 x", 32, "expected a digit or blank"},
    }, read);
}

// Reads a file cut after `length` bytes: never an error, never a crash.
FileCopy ReadCut(const std::string& text, size_t length, const std::string& name)
{
    const std::string path = testfiles::scratchPath(name);
    testfiles::writeText(path, text.substr(0, length));
    return ReadAll(path);
}

TEST(RinexObsReader, TruncatedFilesEndCleanlyWithAWarning)
{
    const std::string text = testfiles::readText(dataPath("small_v4.rnx"));
    const FileCopy whole = ReadAll(dataPath("small_v4.rnx"));
    const size_t dataStart = text.find("END OF HEADER") + 14;

    // Where each epoch record ends: where the next one starts, or the end.
    std::vector<size_t> recordEnds;
    for (size_t at = text.find("\n>", dataStart - 1); at != std::string::npos; at = text.find("\n>", at + 1))
        if (at + 1 > dataStart)
            recordEnds.push_back(at + 1);
    recordEnds.push_back(text.size());
    ASSERT_EQ(recordEnds.size(), whole.epochs.size());

    // Cuts in the data: the records wholly before the cut are read as in
    // the whole file, a cut record is dropped with a warning.
    for (size_t length : rinex_test::CutLengths(text, dataStart + 1)) {
        SCOPED_TRACE("cut after " + std::to_string(length) + " bytes");
        const FileCopy cut = ReadCut(text, length, "cut_v4.rnx");
        size_t complete = 0;
        bool atRecordEnd = false;
        for (size_t recordEnd : recordEnds) {
            complete += recordEnd <= length;
            atRecordEnd = atRecordEnd || recordEnd == length;
        }
        EXPECT_EQ(cut.epochs.size(), complete);
        EXPECT_EQ(cut.warnings.empty(), atRecordEnd);
        rinex_test::ExpectPrefixOf(cut, whole);
    }
}

TEST(RinexObsReader, TruncatedGzipEndsCleanly)
{
    const std::string sample = testfiles::samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz");
    const std::string bytes = testfiles::readText(sample);
    const FileCopy cut = ReadCut(bytes, bytes.size() / 3, "cut_sample.rnx.gz");
    EXPECT_GT(cut.epochs.size(), 20u);
    EXPECT_LT(cut.epochs.size(), 200u);
    ASSERT_EQ(cut.warnings.size(), 1u);
    EXPECT_NE(cut.warnings[0].find("truncated"), std::string::npos);
}

// Random damage to a file: the reader either reads it or throws ReadError.
void FuzzFile(const std::string& source, const std::string& name, unsigned seed)
{
    const std::string text = testfiles::readText(source);
    std::mt19937 random(seed);
    const char alphabet[] = " 0123456789.-&>GREC\nx";
    int errors = 0;
    for (int trial = 0; trial < 150; ++trial) {
        std::string damaged = text;
        const int edits = 1 + static_cast<int>(random() % 4);
        for (int e = 0; e < edits; ++e) {
            const size_t at = random() % damaged.size();
            const char c = alphabet[random() % (sizeof alphabet - 1)];
            switch (random() % 3) {
            case 0: damaged[at] = c; break;
            case 1: damaged.erase(at, 1 + random() % 40); break;
            default: damaged.insert(at, 1, c); break;
            }
        }
        const std::string path = testfiles::scratchPath(name);
        testfiles::writeText(path, damaged);
        // Skipping stops only where stopping would have stopped already.
        bool stopped = false;
        for (pppio::MalformedRecords policy : {pppio::MalformedRecords::kStop, pppio::MalformedRecords::kSkip}) {
            try {
                pppio::RinexObsReader reader(path, policy);
                pppio::ObsEpoch epoch;
                while (reader.next(epoch))
                    for (int s = 0; s < epoch.satelliteCount(); ++s)
                        EXPECT_TRUE(std::isfinite(epoch.obs(s, 0).value));
            } catch (const pppio::ReadError& e) {
                EXPECT_EQ(e.file(), path);
                EXPECT_TRUE(policy == pppio::MalformedRecords::kStop || stopped) << e.what();
                stopped = true;
                errors += policy == pppio::MalformedRecords::kStop;
            }
        }
    }
    EXPECT_GT(errors, 0);  // the damage is noticed, at least sometimes
}

TEST(RinexObsReader, FuzzedPlainAndCompactFilesNeverCrash)
{
    unsigned seed = 1;
    for (const char* name : {"small_v4.rnx", "small_v211.rnx", "small_v4.crx", "small_v211.crx"}) {
        SCOPED_TRACE(name);
        FuzzFile(dataPath(name), std::string("fuzz_") + name, seed++);
    }
}

}  // namespace
