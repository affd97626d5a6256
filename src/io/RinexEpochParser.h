// Epochs of plain RINEX observation files: RINEX 2 (satellite list in the
// epoch line, five observations per line) and RINEX 3/4 (one line per
// satellite).
//
// Given a SkippedRecords, the parser goes on past malformed data lines:
// - a bad observation or satellite line drops that satellite from the epoch
//   (in RINEX 2 its remaining lines are still read, to stay in step);
// - a bad epoch line drops the epoch: reading goes on at the next line
//   starting with '>' (RINEX 3/4), or at the next line that reads as a whole
//   RINEX 2 epoch line (time, flag, count, satellite list) not earlier than
//   a day before the last good epoch;
// - an epoch line met where satellite lines were still announced ends the
//   epoch there, without the missing satellites, and starts the next one.
#ifndef PPPIO_RINEXEPOCHPARSER_H
#define PPPIO_RINEXEPOCHPARSER_H

#include "io/LineReader.h"
#include "io/ObsEpoch.h"
#include "io/RinexEpochLine.h"
#include "io/RinexObsHeader.h"
#include "io/SkippedRecords.h"

namespace pppio {

class RinexEpochParser {
public:
    // Keeps a reference to the header, which may change at event epochs.
    // Without `skipped` every malformed line fails.
    explicit RinexEpochParser(const RinexObsHeader& header, SkippedRecords* skipped = nullptr)
        : m_header(header), m_skipped(skipped)
    {
    }

    // Reads the next epoch record (data or event). Fails through `in` on a
    // malformed line that is not skipped.
    EpochStatus read(LineReader& in, ObsEpoch& epoch);

private:
    EpochStatus readEpoch(LineReader& in, ObsEpoch& epoch);
    EpochStatus readSatellites2(LineReader& in, int count, ObsEpoch& epoch);
    EpochStatus readSatellites3(LineReader& in, int count, ObsEpoch& epoch);
    void readSatellite3(const LineReader& in, int i, int count, ObsEpoch& epoch);
    // Observation k of a satellite from the 16 columns at `column`.
    static void parseObservation(const std::string& line, size_t column, double scale, const LineReader& in,
                                 ObsValue& obs);
    // After a malformed epoch line: moves to the next epoch line and keeps
    // it for the next read; false when the file ends first.
    bool skipToEpochLine(LineReader& in);
    // Whether the current line reads as a RINEX 2 epoch line in time.
    bool startsEpoch2(const LineReader& in) const;

    const RinexObsHeader& m_header;
    SkippedRecords* m_skipped;
    bool m_lineHeld = false;      // the current line of the reader starts the next epoch
    tagCOMMONTIME m_lastTime{};   // of the last epoch read whole
};

}  // namespace pppio

#endif
