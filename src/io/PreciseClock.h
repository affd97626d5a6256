// Store of precise satellite clocks from one or more RINEX clock files,
// with the clock at any GPS time by linear interpolation.
//
// Merging: samples are kept per satellite in time order; where two files
// hold the same epoch of a satellite the file loaded LAST wins.
// Interpolation is linear between the two samples around the time; it is
// refused (false) outside the data and across a gap longer than the gap
// limit: twice the satellite's sampling interval (the median spacing of its
// samples; one missing epoch is tolerated, two are not), unless set
// explicitly. A query at a sample epoch returns the sample. Optionally a
// time just outside the data (the signal of the first epoch of a day left
// the satellite before midnight) is extrapolated from the two samples at
// that end.
#ifndef PPPIO_PRECISECLOCK_H
#define PPPIO_PRECISECLOCK_H

#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"
#include "io/ClockReader.h"
#include "io/SampleSeries.h"

namespace pppio {

class PreciseClock {
public:
    PreciseClock();

    // Largest sample spacing interpolated across, in seconds; 0 restores the
    // default of twice each satellite's sampling interval.
    void setMaxGap(double seconds) { m_maxGap = seconds; }
    // Largest distance (s) beyond the first or last sample at which the clock
    // is extrapolated linearly; 0 (the default) refuses any time outside.
    void setEdgeExtrapolation(double seconds) { m_edge = seconds; }

    // Reads one clock file (ReadError on a malformed line) and merges it.
    void load(const std::string& path, const SatelliteSet& wanted = SatelliteSet::all());
    void add(const ClockFile& file);

    // Satellite clock offset (s) of satellite iprn (1..124) at GPS time t.
    bool clock(int iprn, const tagGPSTIME2& t, double& clock) const;

    // First and last sample time of all satellites; false when empty.
    bool span(tagGPSTIME2& first, tagGPSTIME2& last) const { return m_table.span(first, last); }

    size_t sampleCount(int iprn) const { return m_table.sampleCount(iprn); }
    double nominalInterval(int iprn) const { return m_table.nominalInterval(iprn); }
    const std::vector<std::string>& warnings() const { return m_warnings; }

private:
    bool extrapolate(int iprn, const tagGPSTIME2& t, double& clock) const;

    SatelliteTable<double> m_table;
    std::vector<std::string> m_warnings;
    double m_maxGap;
    double m_edge;
};

}  // namespace pppio

#endif
