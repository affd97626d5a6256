// Helpers of the RINEX observation tests: whole-file reads into plain
// copies and an exact comparison of two reads.
#ifndef TESTS_IO_RINEX_OBS_TEST_UTIL_H
#define TESTS_IO_RINEX_OBS_TEST_UTIL_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "io/RinexObsReader.h"
#include "io/TestFiles.h"

namespace rinex_test {

// Lengths at which to cut `text` after `from`: around every line end and a
// spread of places inside lines (every byte would take long).
inline std::vector<size_t> CutLengths(const std::string& text, size_t from)
{
    std::vector<size_t> lengths;
    for (size_t at = from; at < text.size(); ++at)
        if (text[at - 1] == '\n' || text[at] == '\n' || at % 23 == 0)
            lengths.push_back(at);
    return lengths;
}

// One epoch copied out of the reader's reusable record.
struct SatCopy {
    char system;
    int prn;
    std::vector<pppio::ObsValue> obs;
};
struct EpochCopy {
    tagCOMMONTIME time;
    tagGPSTIME2 gpsTime;
    int flag;
    bool hasClock;
    double clock;
    std::vector<std::string> records;
    std::vector<SatCopy> sats;

    const SatCopy* find(char system, int prn) const
    {
        for (const SatCopy& sat : sats)
            if (sat.system == system && sat.prn == prn)
                return &sat;
        return nullptr;
    }
};

struct FileCopy {
    pppio::RinexObsHeader header;
    std::vector<EpochCopy> epochs;
    std::vector<std::string> warnings;
    long skippedEpochs;
    long skippedSatellites;
};

inline FileCopy ReadAll(const std::string& path, pppio::MalformedRecords policy = pppio::MalformedRecords::kStop)
{
    FileCopy file;
    pppio::RinexObsReader reader(path, policy);
    pppio::ObsEpoch epoch;
    while (reader.next(epoch)) {
        EpochCopy copy{epoch.time, epoch.gpsTime, epoch.flag, epoch.hasClockOffset, epoch.clockOffset,
                       epoch.eventRecords, {}};
        for (int s = 0; s < epoch.satelliteCount(); ++s) {
            SatCopy sat{epoch.satellite(s).system, epoch.satellite(s).prn, {}};
            const int types = reader.header().obsTypes(sat.system).count();
            for (int k = 0; k < types; ++k)
                sat.obs.push_back(epoch.obs(s, k));
            copy.sats.push_back(sat);
        }
        file.epochs.push_back(copy);
    }
    file.header = reader.header();
    file.warnings = reader.warnings();
    file.skippedEpochs = reader.skippedEpochs();
    file.skippedSatellites = reader.skippedSatellites();
    return file;
}

inline std::string SatName(const SatCopy& sat)
{
    return std::string(1, sat.system) + std::to_string(sat.prn);
}

// The first difference between two reads, empty when every epoch, flag,
// clock, satellite, value, LLI and SSI is identical (doubles compared
// exactly).
inline std::string FirstDifference(const FileCopy& a, const FileCopy& b)
{
    if (a.epochs.size() != b.epochs.size())
        return "epoch counts " + std::to_string(a.epochs.size()) + " and " + std::to_string(b.epochs.size());
    for (size_t e = 0; e < a.epochs.size(); ++e) {
        const EpochCopy& x = a.epochs[e];
        const EpochCopy& y = b.epochs[e];
        const std::string where = "epoch " + std::to_string(e) + ": ";
        if (x.flag != y.flag || x.time.year != y.time.year || x.time.month != y.time.month ||
            x.time.day != y.time.day || x.time.hour != y.time.hour || x.time.minute != y.time.minute ||
            x.time.second != y.time.second || x.gpsTime.week != y.gpsTime.week || x.gpsTime.sow != y.gpsTime.sow)
            return where + "time or flag";
        if (x.hasClock != y.hasClock || x.clock != y.clock)
            return where + "clock offset";
        if (x.records != y.records)
            return where + "event records";
        if (x.sats.size() != y.sats.size())
            return where + "satellite counts";
        for (size_t s = 0; s < x.sats.size(); ++s) {
            const SatCopy& p = x.sats[s];
            const SatCopy& q = y.sats[s];
            if (p.system != q.system || p.prn != q.prn || p.obs.size() != q.obs.size())
                return where + "satellite " + SatName(p) + " against " + SatName(q);
            for (size_t k = 0; k < p.obs.size(); ++k)
                if (p.obs[k].value != q.obs[k].value || p.obs[k].lli != q.obs[k].lli || p.obs[k].ssi != q.obs[k].ssi)
                    return where + SatName(p) + " type " + std::to_string(k) + ": " + std::to_string(p.obs[k].value) +
                           " against " + std::to_string(q.obs[k].value);
        }
    }
    return std::string();
}

inline void ExpectSameEpochs(const FileCopy& a, const FileCopy& b)
{
    EXPECT_EQ(FirstDifference(a, b), "");
}

// Expects a read of `part` to equal the first epochs of `whole`.
inline void ExpectPrefixOf(const FileCopy& part, const FileCopy& whole)
{
    FileCopy prefix = whole;
    prefix.epochs.resize(part.epochs.size());
    ExpectSameEpochs(part, prefix);
}

}  // namespace rinex_test

#endif
