// Satellite positions and clocks from broadcast ephemerides: a fallback
// where precise orbits are missing, and the GLONASS frequency channels.
//
// Positions are Earth-fixed (WGS84 / PZ-90 / CGCS2000 / GTRF as broadcast)
// and refer to the antenna phase centre as the broadcast orbits do. The
// satellite clock is the broadcast polynomial only: neither the relativistic
// correction (applied by the caller) nor group delays (TGD/BGD, kept in the
// ephemeris record) are applied.
//
// Selection: the healthy ephemeris whose reference time (toe) is nearest to
// the requested time, within the validity of its system: toe in the middle
// of the fit interval for GPS, BeiDou and GLONASS; for Galileo the orbit is
// fitted forward from toe, so an ephemeris is used at most 10 minutes
// before its toe (backward extrapolation reaches 10-20 m). Galileo broadcasts the same
// orbit in F/NAV and I/NAV records with clocks for E1/E5a and E1/E5b: of
// records with the same reference time, the E1/E5a one (data source bit 8)
// is taken, matching precise clocks of the E1/E5a combination.
#ifndef PPPIO_BROADCASTORBIT_H
#define PPPIO_BROADCASTORBIT_H

#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"
#include "io/NavReader.h"
#include "models/GNSSNav.h"

namespace pppio {

struct SatelliteState {
    double position[3];   // m, Earth-fixed
    double velocity[3];   // m/s, Earth-fixed
    double clock;         // s, broadcast polynomial
    double clockRate;     // s/s
};

// Anything that gives a satellite's antenna phase centre and clock at a
// time: broadcast ephemerides, or broadcast ephemerides corrected by a
// state-space correction stream.
class SatelliteStateSource {
public:
    virtual ~SatelliteStateSource() = default;
    // Position, velocity and clock of satellite iprn (1..124) at GPS time t.
    virtual bool state(int iprn, const tagGPSTIME2& t, SatelliteState& state) const = 0;
};

// Keplerian orbit (IS-GPS-200 algorithm with the constants of each system;
// BeiDou GEO satellites C01-C05 with their own rotation) at GPS time t.
void keplerState(const KeplerEphemeris& eph, const tagGPSTIME2& t, SatelliteState& state);

// GLONASS orbit: the PZ-90 equations of motion with J2 and the broadcast
// luni-solar accelerations, integrated by Runge-Kutta 4 in steps of at most
// kGlonassStep seconds from the ephemeris epoch to GPS time t.
constexpr double kGlonassStep = 60.0;
void glonassState(const GlonassEphemeris& eph, const tagGPSTIME2& t, SatelliteState& state);

// The issue number by which correction streams refer to an ephemeris.
int keplerIssue(const KeplerEphemeris& eph);
int glonassIssue(const GlonassEphemeris& eph);

class BroadcastOrbit : public SatelliteStateSource {
public:
    // Accepted distance of the requested time from toe (s).
    static constexpr double kGpsAroundToe = 7200.0;        // 4-hour fit interval
    static constexpr double kGalileoBeforeToe = 600.0;     // one issue interval
    static constexpr double kGalileoAfterToe = 14400.0;    // nominal validity
    static constexpr double kBeidouAroundToe = 3600.0;     // hourly updates
    static constexpr double kGlonassAroundToe = 1800.0;    // half-hourly updates

    BroadcastOrbit();

    // Reads one navigation file (ReadError on a malformed line) and adds its
    // records; several files (e.g. consecutive days) may be loaded.
    void load(const std::string& path);
    void add(const NavFile& file);

    // Adds one ephemeris as a stream delivers it: a repeat of a record
    // already held (same satellite, reference time, issue and data source)
    // replaces it, and only the kMaxRecords latest reference times of a
    // satellite are kept, so a stream that runs for months stays small.
    // True when the record was new.
    static constexpr size_t kMaxRecords = 16;
    bool addEphemeris(const KeplerEphemeris& eph);
    bool addEphemeris(const GlonassEphemeris& eph);

    // Frequency channel of a GLONASS slot (1..27), from its latest record.
    bool glonassChannel(int slot, int& channel) const;

    // Position, velocity and clock of satellite iprn (1..124) at GPS time t.
    bool state(int iprn, const tagGPSTIME2& t, SatelliteState& state) const override;

    // The ephemeris that state() would use; null when none qualifies.
    const KeplerEphemeris* selectKepler(int iprn, const tagGPSTIME2& t) const;
    const GlonassEphemeris* selectGlonass(int iprn, const tagGPSTIME2& t) const;

    // The healthy ephemeris of a given issue that a correction refers to,
    // nearest to t within the system's validity; null when none. The issue
    // is the IODE (GPS, QZSS), IODnav (Galileo; the I/NAV record is taken
    // when both navigation messages carry it), the BeiDou IOD as the
    // correction stream defines it (toe / 720 modulo 256 here, the 8-bit
    // issue of the RTCM SSR messages) or the GLONASS tb (toe in 15-minute
    // units of the Moscow day, see glonassIssue).
    const KeplerEphemeris* keplerByIssue(int iprn, int issue, const tagGPSTIME2& t) const;
    const GlonassEphemeris* glonassByIssue(int iprn, int issue, const tagGPSTIME2& t) const;

    // GPS broadcast ionosphere coefficients (Klobuchar) of the header;
    // false when no file loaded had them.
    bool klobuchar(tagGMNHDR& coefficients) const;

    const std::vector<std::string>& warnings() const { return m_warnings; }

private:
    std::vector<std::vector<KeplerEphemeris>> m_kepler;    // slot iprn - 1
    std::vector<std::vector<GlonassEphemeris>> m_glonass;  // slot iprn - 1
    bool m_hasKlobuchar;
    tagGMNHDR m_klobuchar;
    std::vector<std::string> m_warnings;
};

}  // namespace pppio

#endif
