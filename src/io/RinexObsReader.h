// Reader of RINEX observation files: RINEX 2.10/2.11, 3.0x and 4.0x, plain
// or Compact RINEX (Hatanaka 1.0 and 3.0), each possibly gzip-compressed.
// The kind of file is found from its content, not its name.
//
//   pppio::RinexObsReader reader("ESBC00DNK_R_20201770000_01D_30S_MO.crx.gz");
//   const int c1w = reader.header().obsIndex('G', "C1W");  // -1 when absent
//   pppio::ObsEpoch epoch;
//   while (reader.next(epoch)) {
//       if (epoch.isEvent()) continue;
//       for (int s = 0; s < epoch.satelliteCount(); ++s)
//           if (epoch.satellite(s).system == 'G' && c1w >= 0 && epoch.obs(s, c1w).present())
//               use(epoch.obs(s, c1w).value);
//   }
//
// Values: absent observations read as 0.0 with flags 0 (RINEX itself
// defines 0.0 as "not observed"). Times are passed on as written, in the
// header's time system (GPS for the usual files).
//
// Errors: a malformed header line (also one in the header records of an
// event) throws ReadError naming file, line and what was expected. In the
// data, the caller chooses:
// - MalformedRecords::kStop (the default): a malformed line throws as well;
// - MalformedRecords::kSkip: the reader drops what the line spoils and goes
//   on, a satellite's observation line only that satellite, an epoch line
//   the epoch (see RinexEpochParser.h and CompactRinexDecoder.h for how each
//   format finds its footing again). Each drop is counted (skippedEpochs(),
//   skippedSatellites()) and warned of with the error text and what was
//   dropped, "obs.rnx:1234: expected an observation (F14.3) in columns
//   20-33; G05 dropped from this epoch"; after 20 such warnings the rest
//   are summed up in one last warning "N more malformed records skipped".
//
//   pppio::RinexObsReader reader(path, pppio::MalformedRecords::kSkip);
//   while (reader.next(epoch)) use(epoch);
//   if (reader.skippedEpochs() + reader.skippedSatellites() > 0) report(reader.warnings());
//
// Either way, a file that ends inside an epoch, or whose last line has no
// line end, or whose gzip stream is cut, ends the reading after the last
// complete epoch and leaves a warning in warnings().
//
// Memory: one epoch at a time, in the caller's reusable ObsEpoch.
#ifndef PPPIO_RINEXOBSREADER_H
#define PPPIO_RINEXOBSREADER_H

#include <memory>
#include <string>
#include <vector>

#include "io/CompactRinexDecoder.h"
#include "io/LineReader.h"
#include "io/ObsEpoch.h"
#include "io/RinexEpochParser.h"
#include "io/RinexObsHeader.h"
#include "io/SkippedRecords.h"

namespace pppio {

// What the reader does with a malformed data line.
enum class MalformedRecords { kStop, kSkip };

class RinexObsReader {
public:
    // Opens the file and reads its header; throws ReadError.
    explicit RinexObsReader(const std::string& path, MalformedRecords policy = MalformedRecords::kStop);
    RinexObsReader(const RinexObsReader&) = delete;
    RinexObsReader& operator=(const RinexObsReader&) = delete;

    // The header, updated by the header records of events (flags 3 and 4).
    const RinexObsHeader& header() const { return m_header; }
    bool isCompact() const { return m_header.compactVersion != 0; }

    // Reads the next epoch record into `epoch`: data epochs and events
    // (flags 2-5, see ObsEpoch::eventRecords) in file order. False at the end
    // of the data. Throws ReadError for a malformed line unless skipping.
    bool next(ObsEpoch& epoch);

    // Epoch records delivered so far.
    long epochCount() const { return m_epochCount; }
    // With MalformedRecords::kSkip: epoch records dropped whole, and
    // satellite records dropped from epochs that were kept.
    long skippedEpochs() const { return m_skipped.epochs(); }
    long skippedSatellites() const { return m_skipped.satellites(); }
    // Notes about the file met while reading, e.g. that it was truncated.
    const std::vector<std::string>& warnings() const { return m_warnings; }

private:
    EpochStatus readRecord(ObsEpoch& epoch);
    void applyEvent(ObsEpoch& epoch);
    void finish();

    std::vector<std::string> m_warnings;
    SkippedRecords m_skipped{m_warnings};
    LineReader m_in;
    RinexObsHeader m_header;
    RinexEpochParser m_plain;
    std::unique_ptr<CompactRinexDecoder> m_compact;
    tagCOMMONTIME m_lastTime{};
    long m_epochCount = 0;
    bool m_finished = false;
};

}  // namespace pppio

#endif
