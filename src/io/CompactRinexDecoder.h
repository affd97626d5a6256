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

namespace pppio {

class CompactRinexDecoder {
public:
    // Keeps a reference to the header, which may change at event epochs.
    explicit CompactRinexDecoder(const RinexObsHeader& header);

    // Reads the next epoch record (data or event). Fails through `in` on a
    // malformed line.
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
    };

    static FieldResult decodeField(const char* begin, const char* end, Arc& arc);
    static void applyTextDifference(std::string& text, const char* begin, const char* end);
    bool decodeEpochLine(const LineReader& in);
    void decodeClock(const LineReader& in, ObsEpoch& epoch);
    SatelliteState& stateOf(const ObsSatellite& satellite, int typeCount, const LineReader& in);
    void decodeSatellite(const LineReader& in, int sat, ObsEpoch& epoch);
    [[noreturn]] static void failField(const LineReader& in, FieldResult result, const std::string& what);

    const RinexObsHeader& m_header;
    std::string m_epochLine;    // last data epoch line, decoded
    std::string m_decoded;      // the epoch line being decoded
    Arc m_clock;
    long m_epochSerial = 0;
    std::array<int16_t, kSystemCount*(kMaxPrn + 1)> m_slot;  // satellite -> index in m_states, -1 none
    std::vector<SatelliteState> m_states;
};

}  // namespace pppio

#endif
