// The epoch line of RINEX observation files, shared by the plain reader and
// the Compact RINEX decoder (whose decoded epoch lines have the same
// columns, with the satellite list in place of the clock offset).
#ifndef PPPIO_RINEXEPOCHLINE_H
#define PPPIO_RINEXEPOCHLINE_H

#include <string>

#include "io/LineReader.h"
#include "io/ObsEpoch.h"
#include "io/RinexObsHeader.h"

namespace pppio {

// Columns (0-based) of the epoch line of one format generation.
struct EpochLineLayout {
    bool rinex2;
    size_t satellites;   // satellite list: RINEX 2, and Compact RINEX of both
    size_t clock;        // receiver clock offset of plain RINEX
    size_t clockWidth;
    int clockDecimals;   // implied decimals of the clock in Compact RINEX
    size_t count;        // number of satellites or special records

    static const EpochLineLayout& of(const RinexObsHeader& header);
};

struct EpochLineFields {
    bool hasTime;   // false only for an event without a time
    int flag;
    int count;      // satellites, or special records for flags 2-5
};

// Reads time, flag and count of an epoch line into `fields` and `epoch`
// (time and flag); fails through `in` on a malformed line.
void ParseEpochLine(const std::string& text, const EpochLineLayout& layout, const LineReader& in,
                    EpochLineFields& fields, ObsEpoch& epoch);

// Moves to the next line that is not blank (blank lines between epochs
// carry nothing); false at the end of the file.
bool NextNonBlankLine(LineReader& in);

// Reads the special records of an event epoch; false when the file ends
// before all are read.
bool ReadEventRecords(LineReader& in, int count, ObsEpoch& epoch);

// Adds the satellites listed from `column` on, `count` of them, to the epoch;
// fails through `in` on a malformed identifier.
void AddListedSatellites(const std::string& text, size_t column, int count, const LineReader& in, ObsEpoch& epoch);

// The observation types of a satellite's system; fails through `in` when the
// header has none for it.
const SystemObsTypes& TypesOfSatellite(const RinexObsHeader& header, char system, const LineReader& in);

// "G05" style name of a satellite, for messages.
std::string SatelliteName(const ObsSatellite& satellite);

// Loss-of-lock or signal-strength flag from its character: a digit, or 0
// for a blank; -1 for anything else.
inline int FlagValue(char c)
{
    if (c == ' ')
        return 0;
    return c >= '0' && c <= '9' ? c - '0' : -1;
}

// Result of reading one epoch, with the end of the file told apart from a
// file that ends inside an epoch.
enum class EpochStatus { kEpoch, kEnd, kTruncated };

}  // namespace pppio

#endif
