#include "io/BroadcastOrbit.h"

#include <cmath>

#include "common/gnsscmn.h"
#include "io/GpsTime.h"
#include "io/SatelliteId.h"

namespace pppio {

namespace {

// Accepted range of t - toe for an ephemeris of the system.
struct Validity {
    double before;   // largest toe - t
    double after;    // largest t - toe
};

Validity ValidityOf(char system)
{
    switch (system) {
    case 'E': return {BroadcastOrbit::kGalileoBeforeToe, BroadcastOrbit::kGalileoAfterToe};
    case 'C': return {BroadcastOrbit::kBeidouAroundToe, BroadcastOrbit::kBeidouAroundToe};
    case 'R': return {BroadcastOrbit::kGlonassAroundToe, BroadcastOrbit::kGlonassAroundToe};
    default: return {BroadcastOrbit::kGpsAroundToe, BroadcastOrbit::kGpsAroundToe};
    }
}

// Galileo data source bit 8: clock parameters for the E1/E5a combination.
int PreferE1E5aClock(const KeplerEphemeris& eph)
{
    return eph.system == 'E' && (static_cast<long>(eph.l2CodesOrDataSources) & 256) != 0 ? 1 : 0;
}

int NoPreference(const GlonassEphemeris&)
{
    return 0;
}

// The healthy record nearest in time; among records of the same reference
// time (within a second) the one of highest preference, then the one
// loaded last.
template <class Ephemeris, class Preference>
const Ephemeris* Nearest(const std::vector<Ephemeris>& records, const tagGPSTIME2& t, Validity validity,
                         Preference preference)
{
    const Ephemeris* best = nullptr;
    double bestDistance = 0.0;
    int bestRank = 0;
    for (const Ephemeris& eph : records) {
        const double age = secondsBetween(t, eph.toe);
        if (eph.health != 0 || age > validity.after || -age > validity.before)
            continue;
        const double distance = std::fabs(age);
        const int rank = preference(eph);
        const bool sameEpoch = best && std::fabs(distance - bestDistance) < 1.0;
        if (!best || (sameEpoch ? rank >= bestRank : distance < bestDistance)) {
            best = &eph;
            bestDistance = distance;
            bestRank = rank;
        }
    }
    return best;
}

// Galileo data source bit 0 or 9: an I/NAV record.
bool IsInav(const KeplerEphemeris& eph)
{
    return eph.system == 'E' && (static_cast<long>(eph.l2CodesOrDataSources) & (1 | 512)) != 0;
}

bool IsInav(const GlonassEphemeris&)
{
    return false;
}

bool SameKeplerRecord(const KeplerEphemeris& a, const KeplerEphemeris& b)
{
    return std::fabs(secondsBetween(a.toe, b.toe)) < 1.0 && a.iode == b.iode &&
           std::fabs(secondsBetween(a.toc, b.toc)) < 1.0 && IsInav(a) == IsInav(b);
}

bool SameGlonassRecord(const GlonassEphemeris& a, const GlonassEphemeris& b)
{
    return std::fabs(secondsBetween(a.toe, b.toe)) < 1.0;
}

// Replaces a repeat or appends; beyond `limit` records the oldest goes.
template <class Ephemeris, class Same>
bool AddRecord(std::vector<Ephemeris>& records, const Ephemeris& eph, size_t limit, Same same)
{
    for (Ephemeris& held : records)
        if (same(held, eph)) {
            held = eph;
            return false;
        }
    if (records.size() >= limit) {
        auto oldest = records.begin();
        for (auto it = records.begin(); it != records.end(); ++it)
            if (secondsBetween(it->toe, oldest->toe) < 0.0)
                oldest = it;
        records.erase(oldest);
    }
    records.push_back(eph);
    return true;
}

template <class Ephemeris, class Issue>
const Ephemeris* ByIssue(const std::vector<Ephemeris>& records, int issue, const tagGPSTIME2& t, Validity validity,
                         Issue issueOf, bool preferInav)
{
    const Ephemeris* best = nullptr;
    for (const Ephemeris& eph : records) {
        const double age = secondsBetween(t, eph.toe);
        if (eph.health != 0 || issueOf(eph) != issue || age > validity.after || -age > validity.before)
            continue;
        if (!best || std::fabs(age) < std::fabs(secondsBetween(t, best->toe)) - 1.0)
            best = &eph;
        else if (preferInav && std::fabs(age - secondsBetween(t, best->toe)) < 1.0 && IsInav(eph))
            best = &eph;
    }
    return best;
}

}  // namespace

int keplerIssue(const KeplerEphemeris& eph)
{
    if (eph.system == 'C')
        return static_cast<int>(std::floor(eph.toeSeconds / 720.0 + 0.5)) % 240;
    return static_cast<int>(eph.iode);
}

int glonassIssue(const GlonassEphemeris& eph)
{
    // tb: minutes of the Moscow day (UTC + 3 h) in units of 15.
    const double moscow = eph.toe.sow - leapSecondsAt(eph.toe) + 3.0 * 3600.0;
    const double ofDay = moscow - 86400.0 * std::floor(moscow / 86400.0);
    return static_cast<int>(std::floor(ofDay / 900.0 + 0.5)) % 96;
}

BroadcastOrbit::BroadcastOrbit()
    : m_kepler(kMaxPackedIndex), m_glonass(kMaxPackedIndex), m_hasKlobuchar(false), m_klobuchar()
{
}

void BroadcastOrbit::load(const std::string& path)
{
    add(readNav(path));
}

void BroadcastOrbit::add(const NavFile& file)
{
    m_warnings.insert(m_warnings.end(), file.warnings.begin(), file.warnings.end());
    for (const KeplerEphemeris& eph : file.kepler)
        m_kepler[static_cast<size_t>(eph.iprn - 1)].push_back(eph);
    for (const GlonassEphemeris& eph : file.glonass)
        m_glonass[static_cast<size_t>(eph.iprn - 1)].push_back(eph);
    if (file.header.hasGpsIonosphere) {
        for (int k = 0; k < 4; ++k) {
            m_klobuchar.ionAlpha[k] = file.header.gpsAlpha[k];
            m_klobuchar.ionBeta[k] = file.header.gpsBeta[k];
        }
        m_hasKlobuchar = true;
    }
}

bool BroadcastOrbit::addEphemeris(const KeplerEphemeris& eph)
{
    if (eph.iprn < 1 || eph.iprn > kMaxPackedIndex)
        return false;
    return AddRecord(m_kepler[static_cast<size_t>(eph.iprn - 1)], eph, kMaxRecords, SameKeplerRecord);
}

bool BroadcastOrbit::addEphemeris(const GlonassEphemeris& eph)
{
    if (eph.iprn < 1 || eph.iprn > kMaxPackedIndex)
        return false;
    return AddRecord(m_glonass[static_cast<size_t>(eph.iprn - 1)], eph, kMaxRecords, SameGlonassRecord);
}

bool BroadcastOrbit::glonassChannel(int slot, int& channel) const
{
    if (slot < 1 || slot > _MAX_PRN_GLO)
        return false;
    const GlonassEphemeris* latest = nullptr;
    for (const GlonassEphemeris& eph : m_glonass[static_cast<size_t>(prn2iprn(slot, 'R') - 1)])
        if (!latest || secondsBetween(eph.toe, latest->toe) >= 0.0)
            latest = &eph;
    if (!latest)
        return false;
    channel = latest->frequencyChannel;
    return true;
}

const KeplerEphemeris* BroadcastOrbit::selectKepler(int iprn, const tagGPSTIME2& t) const
{
    if (iprn < 1 || iprn > kMaxPackedIndex)
        return nullptr;
    const auto& records = m_kepler[static_cast<size_t>(iprn - 1)];
    if (records.empty())
        return nullptr;
    return Nearest(records, t, ValidityOf(records.front().system), PreferE1E5aClock);
}

const GlonassEphemeris* BroadcastOrbit::selectGlonass(int iprn, const tagGPSTIME2& t) const
{
    if (iprn < 1 || iprn > kMaxPackedIndex)
        return nullptr;
    return Nearest(m_glonass[static_cast<size_t>(iprn - 1)], t, ValidityOf('R'), NoPreference);
}

const KeplerEphemeris* BroadcastOrbit::keplerByIssue(int iprn, int issue, const tagGPSTIME2& t) const
{
    if (iprn < 1 || iprn > kMaxPackedIndex)
        return nullptr;
    const auto& records = m_kepler[static_cast<size_t>(iprn - 1)];
    if (records.empty())
        return nullptr;
    return ByIssue(records, issue, t, ValidityOf(records.front().system), keplerIssue, true);
}

const GlonassEphemeris* BroadcastOrbit::glonassByIssue(int iprn, int issue, const tagGPSTIME2& t) const
{
    if (iprn < 1 || iprn > kMaxPackedIndex)
        return nullptr;
    return ByIssue(m_glonass[static_cast<size_t>(iprn - 1)], issue, t, ValidityOf('R'), glonassIssue, false);
}

bool BroadcastOrbit::state(int iprn, const tagGPSTIME2& t, SatelliteState& out) const
{
    if (const KeplerEphemeris* eph = selectKepler(iprn, t)) {
        keplerState(*eph, t, out);
        return true;
    }
    if (const GlonassEphemeris* eph = selectGlonass(iprn, t)) {
        glonassState(*eph, t, out);
        return true;
    }
    return false;
}

bool BroadcastOrbit::klobuchar(tagGMNHDR& coefficients) const
{
    if (m_hasKlobuchar)
        coefficients = m_klobuchar;
    return m_hasKlobuchar;
}

}  // namespace pppio
