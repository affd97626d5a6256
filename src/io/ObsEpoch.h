// One epoch of a RINEX observation file as the readers deliver it: time,
// flag, receiver clock offset and, per satellite, one value, loss-of-lock
// indicator and signal strength per observation type of the header.
//
// The record is meant to be reused from epoch to epoch: its arrays keep
// their capacity, so reading a file allocates only while the largest epoch
// seen so far grows.
#ifndef PPPIO_OBSEPOCH_H
#define PPPIO_OBSEPOCH_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"

namespace pppio {

// An observation as written in the file. An absent observation (blank field,
// or the value 0.0, which RINEX also defines as "not observed") has value 0.0
// and both flags 0; test with present(). Flags are the digits of the file,
// a blank flag reads as 0.
struct ObsValue {
    double value;
    uint8_t lli;  // loss-of-lock indicator
    uint8_t ssi;  // signal strength indicator 1-9 (0: unknown)

    bool present() const { return value != 0.0; }
};

struct ObsSatellite {
    char system;  // 'G', 'R', 'E', 'C', 'J', 'S' or 'I'
    uint8_t prn;  // number within the system, 1-99
};

class ObsEpoch {
public:
    // Epoch flags of RINEX: 0 ok, 1 power failure since the previous epoch,
    // 2 start moving, 3 new site occupation, 4 header information follows,
    // 5 external event, 6 cycle-slip records.
    enum Flag { kOk = 0, kPowerFailure = 1, kStartMoving = 2, kNewSite = 3, kHeaderInfo = 4,
                kExternalEvent = 5, kCycleSlips = 6 };

    // Epoch time as written in the file (the header's time system, normally
    // GPS), and the same instant as GPS week and seconds. An event without a
    // time of its own carries the time of the previous epoch.
    tagCOMMONTIME time{};
    tagGPSTIME2 gpsTime{};
    int flag = kOk;
    bool hasClockOffset = false;
    double clockOffset = 0.0;  // receiver clock offset, seconds

    // Flags 2-5: the special records that follow the epoch line (header
    // lines for flags 3 and 4, already applied to the reader's header).
    // Such an epoch has no satellites.
    std::vector<std::string> eventRecords;

    bool isEvent() const { return flag >= kStartMoving && flag <= kExternalEvent; }

    int satelliteCount() const { return m_count; }
    const ObsSatellite& satellite(int sat) const { return m_satellites[static_cast<size_t>(sat)]; }

    // Observation `type` (index into the header's list for the satellite's
    // system, see RinexObsHeader::obsIndex) of satellite `sat`.
    const ObsValue& obs(int sat, int type) const { return m_values[index(sat, type)]; }

    // ---- filling, used by the readers
    // Empties the epoch; `stride` is the largest number of types per system.
    void clear(int stride)
    {
        m_count = 0;
        m_stride = stride;
        hasClockOffset = false;
        clockOffset = 0.0;
        eventRecords.clear();
    }

    // Appends a satellite with all its observations absent and returns its
    // row of `stride` values.
    ObsValue* addSatellite(char system, int prn)
    {
        const size_t sat = static_cast<size_t>(m_count);
        if (m_satellites.size() <= sat)
            m_satellites.resize(sat + 1);
        const size_t rowSize = static_cast<size_t>(m_stride);
        if (m_values.size() < (sat + 1) * rowSize)
            m_values.resize((sat + 1) * rowSize);
        m_satellites[sat] = ObsSatellite{system, static_cast<uint8_t>(prn)};
        ObsValue* row = m_values.data() + sat * rowSize;   // no element when the stride is 0
        for (size_t k = 0; k < rowSize; ++k)
            row[k] = ObsValue{0.0, 0, 0};
        ++m_count;
        return row;
    }

    // Row of a satellite added before, for readers that list the satellites
    // before their observations.
    ObsValue* row(int sat) { return m_values.data() + index(sat, 0); }

    // Removes satellite `sat` (a record found malformed), moving the later
    // ones up; allocates nothing.
    void removeSatellite(int sat)
    {
        const std::ptrdiff_t stride = m_stride;
        std::copy(m_satellites.begin() + sat + 1, m_satellites.begin() + m_count, m_satellites.begin() + sat);
        std::copy(m_values.begin() + (sat + 1) * stride, m_values.begin() + m_count * stride,
                  m_values.begin() + sat * stride);
        --m_count;
    }

private:
    size_t index(int sat, int type) const
    {
        return static_cast<size_t>(sat) * static_cast<size_t>(m_stride) + static_cast<size_t>(type);
    }

    std::vector<ObsSatellite> m_satellites;
    std::vector<ObsValue> m_values;
    int m_count = 0;
    int m_stride = 0;
};

}  // namespace pppio

#endif
