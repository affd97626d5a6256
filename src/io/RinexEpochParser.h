// Epochs of plain RINEX observation files: RINEX 2 (satellite list in the
// epoch line, five observations per line) and RINEX 3/4 (one line per
// satellite).
#ifndef PPPIO_RINEXEPOCHPARSER_H
#define PPPIO_RINEXEPOCHPARSER_H

#include "io/LineReader.h"
#include "io/ObsEpoch.h"
#include "io/RinexEpochLine.h"
#include "io/RinexObsHeader.h"

namespace pppio {

class RinexEpochParser {
public:
    // Keeps a reference to the header, which may change at event epochs.
    explicit RinexEpochParser(const RinexObsHeader& header) : m_header(header) {}

    // Reads the next epoch record (data or event). Fails through `in` on a
    // malformed line.
    EpochStatus read(LineReader& in, ObsEpoch& epoch);

private:
    EpochStatus readSatellites2(LineReader& in, int count, ObsEpoch& epoch);
    EpochStatus readSatellites3(LineReader& in, int count, ObsEpoch& epoch);
    // Observation k of a satellite from the 16 columns at `column`.
    static void parseObservation(const std::string& line, size_t column, double scale, const LineReader& in,
                                 ObsValue& obs);

    const RinexObsHeader& m_header;
};

}  // namespace pppio

#endif
