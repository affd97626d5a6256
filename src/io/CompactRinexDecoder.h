// Decoder of the data section of Compact RINEX (Hatanaka) files: version 1.0
// for RINEX 2 and 3.0 for RINEX 3 and 4. It reads the compressed lines and
// fills ObsEpoch records directly, without making RINEX text.
//
// The compressed form, epoch by epoch:
// - Epoch line: the RINEX epoch line without the clock offset, with the whole
//   satellite list appended (from column 33 in 1.0, 42 in 3.0). It is either
//   written in full ('&' in column 1 in 1.0, '>' in 3.0) or as its text
//   difference to the previous epoch line: a blank keeps the old character,
//   '&' makes it a blank, any other character replaces it.
// - Clock line: the receiver clock offset as an integer in units of the last
//   decimal of the RINEX field (1e-9 s in 1.0, 1e-12 s in 3.0); empty when
//   there is none.
// - One line per listed satellite: one field per observation type of its
//   system, separated by single blanks, then the flags. A field "n&v" starts
//   an arc with the value v (the RINEX value without its decimal point,
//   1e-3 units) to be continued with differences up to order n; a plain
//   integer is the next difference of the arc (order 1, 2, ... up to n as
//   the arc grows); an empty field is a missing observation and ends the
//   arc. Missing fields at the end of the line may be left out. The flags
//   (loss of lock and signal strength, two characters per type) are the text
//   difference to the satellite's flags of the previous epoch.
// - Events (flags 2-5): the epoch line is written in full and followed by
//   the special records as they are; no clock line.
// A satellite that was not in the previous epoch starts afresh: every value
// must start an arc, and its flags are taken relative to blanks. Epochs with
// flag 6 (cycle-slip records) are read like data epochs.
//
// Given a SkippedRecords, the decoder goes on past malformed data lines:
// - a bad field or flag in a satellite's line drops the satellite from the
//   epoch and ends all its arcs; its later lines that continue an ended arc
//   drop it again (one warning, each drop counted) until every arc has
//   started anew ("n&");
// - a bad clock line leaves the epoch without a clock offset until the
//   clock's arc starts anew;
// - a bad epoch line loses the reference of the differenced epoch lines
//   that follow: reading goes on at the next full epoch line ('>' in 3.0,
//   '&' in 1.0) with every arc forgotten, and the epochs in between are
//   counted as one skip;
// - a full epoch line met where satellite lines were still announced ends
//   the epoch there, without the missing satellites.
//
// Memory stays constant: one state per satellite ever seen, reused.
#ifndef PPPIO_COMPACTRINEXDECODER_H
#define PPPIO_COMPACTRINEXDECODER_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "io/LineReader.h"
#include "io/ObsEpoch.h"
#include "io/RinexEpochLine.h"
#include "io/RinexObsHeader.h"
#include "io/SkippedRecords.h"

namespace pppio {

class CompactRinexDecoder {
public:
    // Keeps a reference to the header, which may change at event epochs.
    // Without `skipped` every malformed line fails.
    explicit CompactRinexDecoder(const RinexObsHeader& header, SkippedRecords* skipped = nullptr);

    // Reads the next epoch record (data or event). Fails through `in` on a
    // malformed line that is not skipped.
    EpochStatus read(LineReader& in, ObsEpoch& epoch);

    // Forgets every arc and flag, as after new observation types.
    void reset();

    static constexpr int kMaxOrder = 9;

private:
    // An arc of one observable: the value and its differences of order 1..n
    // at the last epoch. Unsigned arithmetic wraps on garbage instead of
    // overflowing.
    struct Arc {
        bool active = false;
        int order = 0;
        int filled = 0;  // highest difference order known so far
        uint64_t difference[kMaxOrder + 1] = {};

        void start(int n, int64_t value);
        void add(int64_t difference);
        int64_t value() const { return static_cast<int64_t>(difference[0]); }
    };
    enum class FieldResult { kEmpty, kValue, kBadNumber, kBadOrder, kNoArc };

    struct SatelliteState {
        long lastEpoch = -1;     // serial of the last data epoch holding it
        std::vector<Arc> arcs;   // one per observation type
        std::string flags;       // two characters per type
        bool lossTold = false;   // its drops for ended arcs are warned of
    };

    static FieldResult decodeField(const char* begin, const char* end, Arc& arc);
    static void applyTextDifference(std::string& text, const char* begin, const char* end);
    static std::string fieldProblem(FieldResult result, const std::string& what);
    bool isFullEpochLine(const std::string& line) const;
    EpochStatus readEpoch(LineReader& in, ObsEpoch& epoch);
    bool decodeEpochLine(const LineReader& in);
    void decodeClock(const LineReader& in, ObsEpoch& epoch);
    SatelliteState& stateOf(const ObsSatellite& satellite, int typeCount, const LineReader& in);
    // False when the satellite continues an ended arc and is dropped.
    bool decodeSatellite(const LineReader& in, int sat, ObsEpoch& epoch);
    // decodeSatellite, with a malformed line dropping the satellite.
    bool keepSatellite(const LineReader& in, int sat, ObsEpoch& epoch);
    void endArcs(const ObsSatellite& satellite);

    const RinexObsHeader& m_header;
    SkippedRecords* m_skipped;
    bool m_lineHeld = false;       // the current line of the reader starts the next epoch
    bool m_referenceLost = false;  // waiting for a full epoch line after a bad one
    bool m_clockLossTold = false;
    std::string m_epochLine;    // last data epoch line, decoded
    std::string m_decoded;      // the epoch line being decoded
    Arc m_clock;
    long m_epochSerial = 0;
    std::array<int16_t, kSystemCount*(kMaxPrn + 1)> m_slot;  // satellite -> index in m_states, -1 none
    std::vector<SatelliteState> m_states;
};

}  // namespace pppio

#endif
