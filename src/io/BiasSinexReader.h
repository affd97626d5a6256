// Reader of Bias-SINEX 1.00 files (plain or gzip): the satellite
// observable-specific biases (OSB) of code and phase in BIAS/SOLUTION.
//
// A line of BIAS/SOLUTION (columns 1-based):
//   2-5 BIAS type, 7-10 SVN (ignored), 12-14 PRN, 16-24 STATION, 26-29 OBS1,
//   31-34 OBS2, 36-49 BIAS_START, 51-64 BIAS_END (YYYY:DDD:SSSSS), 66-69 UNIT,
//   71-91 value, 93-103 its standard deviation (ignored).
// Kept: OSB lines of satellites for code (unit ns) and phase (ns, or cyc
// converted to ns with the carrier frequency). Station lines (non-empty
// STATION) are skipped; other bias types (DSB, ISB) are counted as
// unsupported. A time of 0000:000:00000 leaves the window open on that side;
// an entry without BIAS_END holds until a later one. Times are taken as GPS
// time (a TIME_SYSTEM other than G gives a warning).
//
//   const pppio::BiasSinex biases = pppio::BiasSinex::read("WUM0MGXRAP_...BIA.gz");
//   if (auto ns = biases.osb(iprn, "C1W", t)) p1 -= *ns * 1e-9 * _LIGHT_SPEED;
//   if (biases.unsupported() > 0) ...  // report the skipped DSB/ISB lines
#ifndef PPPIO_BIASSINEXREADER_H
#define PPPIO_BIASSINEXREADER_H

#include <optional>
#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"
#include "io/SatelliteId.h"

namespace pppio {

// Carrier frequency (Hz) of a RINEX 3 band of a system ('G', 'R', 'E', 'C',
// 'J'); 0 when unknown or channel-dependent (GLONASS bands 1 and 2).
double signalFrequency(char system, char band);

struct BiasValue {
    int iprn;              // packed satellite index
    char code[4];          // RINEX 3 observation code, e.g. "L2W"
    double start;          // s since the file's reference week; -inf when open
    double end;            // s; +inf when open or absent
    double ns;             // OSB in nanoseconds
};

class BiasSinex {
public:
    // Throws ReadError for a malformed line (naming file and line); a file
    // that ends early keeps what was read and records a warning.
    static BiasSinex read(const std::string& path);

    // OSB of a satellite's observation code ("C1C", "L2W") valid at t (start
    // inclusive, end exclusive; of several, the one starting last), in ns.
    std::optional<double> osb(int iprn, const char* code, const tagGPSTIME2& t) const;

    // Observation codes with an OSB for a system, sorted: "C1C C1W L1C L2W".
    std::string codes(char system) const;

    long unsupported() const { return m_unsupported; }    // DSB, ISB and other non-OSB lines
    long stationLines() const { return m_stationLines; }  // skipped
    const std::vector<std::string>& warnings() const { return m_warnings; }
    const std::vector<BiasValue>& values() const { return m_values; }   // by satellite

private:
    friend class BiasSinexParser;
    void index();

    int m_referenceWeek = 0;
    std::vector<BiasValue> m_values;
    size_t m_first[kMaxPackedIndex + 2] = {};   // values of iprn k: [m_first[k], m_first[k + 1])
    long m_unsupported = 0;
    long m_stationLines = 0;
    std::vector<std::string> m_warnings;
};

}  // namespace pppio

#endif
