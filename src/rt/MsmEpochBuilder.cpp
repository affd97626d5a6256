#include "rt/MsmEpochBuilder.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "common/GNSSConst.h"
#include "io/GpsTime.h"

namespace ppprt {
namespace {

constexpr double kSameTime = 5e-4;   // s: MSM epochs have a 1 ms resolution
constexpr char kTypeLetters[] = "CLDS";
constexpr int kTypesPerSignal = 4;

// Signal strength digit of RINEX: 1 below 12 dB-Hz, then one step per 6 dB-Hz up to 9.
uint8_t strengthDigit(double cnr)
{
    if (cnr <= 0.0)
        return 0;
    return static_cast<uint8_t>(std::min(9, std::max(1, static_cast<int>(cnr / 6.0))));
}

size_t signalSlot(int system, int prn, int signalId)
{
    return (static_cast<size_t>(system) * (kMsmMaxSatellites + 1) + static_cast<size_t>(prn)) * (kMsmMaxSignalId + 1) +
           static_cast<size_t>(signalId);
}

}  // namespace

MsmEpochBuilder::MsmEpochBuilder()
{
    m_header.version = 3.04;
    m_header.fileSystem = 'M';
    m_header.timeSystem = "GPS";
    m_header.signalStrengthUnit = "DBHZ";
    for (int sys = 0; sys < kMsmSystemCount; ++sys) {
        pppio::SystemObsTypes& types = m_header.mutableObsTypes(kMsmSystems[sys]);
        m_typeBase[sys][0] = -1;
        for (int id = 1; id <= kMsmMaxSignalId; ++id) {
            const char* code = msmSignalCode(kMsmSystems[sys], id);
            m_typeBase[sys][id] = code ? types.count() : -1;
            for (int k = 0; code && k < kTypesPerSignal; ++k) {
                const std::string type = std::string(1, kTypeLetters[k]) + code;
                types.codes.push_back(type);
                types.original.push_back(type);
                types.scale.push_back(1.0);
            }
        }
    }
    m_stride = m_header.maxTypeCount();
    std::fill(std::begin(m_channel), std::end(m_channel), kNoChannel);
    m_signals.resize(signalSlot(kMsmSystemCount, 0, 0));
}

bool MsmEpochBuilder::glonassChannel(int slot, int& channel) const
{
    if (slot < 1 || slot > kMsmMaxSatellites || m_channel[slot] == kNoChannel)
        return false;
    channel = m_channel[slot];
    return true;
}

void MsmEpochBuilder::setGlonassChannel(int slot, int channel)
{
    if (slot < 1 || slot > kMsmMaxSatellites || channel < -7 || channel > 6)
        return;
    m_channel[slot] = channel;
    m_header.setGlonassChannel(slot, channel);
}

bool MsmEpochBuilder::add(const MsmMessage& msg)
{
    ++m_counts.messages;
    if (msmSystemIndex(msg.system) < 0)
        return false;
    const bool haveTime = m_collecting || m_counts.epochs > 0;
    if (haveTime && pppio::secondsBetween(m_collecting ? m_building.gpsTime : m_done.gpsTime, msg.time) > kRestartJump)
        restart();
    bool completed = false;
    if (m_collecting) {
        const double dt = pppio::secondsBetween(msg.time, m_building.gpsTime);
        if (dt < -kSameTime || (dt <= kSameTime && m_buildingComplete)) {
            ++m_counts.lateMessages;
            return false;
        }
        if (dt > kSameTime) {
            complete();
            completed = true;
        }
    } else if (m_done.gpsTime.week != 0 && pppio::secondsBetween(msg.time, m_done.gpsTime) <= kSameTime) {
        ++m_counts.lateMessages;
        return false;
    }
    if (!m_collecting)
        startEpoch(msg);
    addMessage(msg);
    if (!msg.multipleMessage) {
        if (completed)
            m_buildingComplete = true;   // handed out by the next add() or flush()
        else {
            complete();
            completed = true;
        }
    }
    return completed;
}

bool MsmEpochBuilder::flush()
{
    if (!m_collecting)
        return false;
    complete();
    return true;
}

void MsmEpochBuilder::restart()
{
    ++m_counts.restarts;
    m_collecting = false;
    m_buildingComplete = false;
    m_haveOrigin = false;
    m_done.gpsTime = tagGPSTIME2{0, 0.0};
    for (SignalState& state : m_signals)
        state = SignalState();
}

void MsmEpochBuilder::startEpoch(const MsmMessage& msg)
{
    m_building.clear(m_stride);
    m_building.flag = pppio::ObsEpoch::kOk;
    m_building.gpsTime = msg.time;
    tagGPSTIME2 time = msg.time;
    CGNSSTimeConvert().GPSTime2ToCommonTime(&time, &m_building.time);
    for (auto& rows : m_rowOf)
        std::fill(std::begin(rows), std::end(rows), -1);
    if (!m_haveOrigin) {
        m_origin = msg.time;
        m_haveOrigin = true;
    }
    m_collecting = true;
    m_buildingComplete = false;
}

void MsmEpochBuilder::complete()
{
    std::swap(m_building, m_done);
    m_collecting = false;
    m_buildingComplete = false;
    ++m_counts.epochs;
}

void MsmEpochBuilder::addMessage(const MsmMessage& msg)
{
    const int sys = msmSystemIndex(msg.system);
    const bool extendedLock = msg.msmType >= 6;
    const double now = pppio::secondsBetween(msg.time, m_origin);
    for (int s = 0; s < msg.satelliteCount; ++s) {
        const MsmSatellite& sat = msg.satellites[s];
        if (sat.prn < 1 || sat.prn > kMsmMaxSatellites)
            continue;
        if (msg.system == 'R' && sat.glonassChannel != kNoChannel && sat.glonassChannel != m_channel[sat.prn])
            setGlonassChannel(sat.prn, sat.glonassChannel);
        int& row = m_rowOf[sys][sat.prn];
        if (row < 0) {
            m_building.addSatellite(msg.system, sat.prn);
            row = m_building.satelliteCount() - 1;
        }
        pppio::ObsValue* values = m_building.row(row);
        const int channel = msg.system == 'R' ? m_channel[sat.prn] : 0;
        for (int c = 0; c < sat.cellCount; ++c) {
            const MsmCell& cell = sat.cells[c];
            const int base = m_typeBase[sys][cell.signalId];
            if (base < 0)
                continue;
            const double frequency = msmCarrierFrequency(msg.system, cell.code[0], channel);
            const uint8_t ssi = strengthDigit(cell.cnr);
            pppio::ObsValue* v = values + base;   // C, L, D, S
            if (cell.pseudorange != 0.0)
                v[0] = pppio::ObsValue{cell.pseudorange, 0, ssi};
            if (cell.phaseRange != 0.0 && frequency > 0.0) {
                const uint8_t lli = static_cast<uint8_t>(lossOfLock(sys, sat.prn, cell, extendedLock, now) |
                                                         (cell.halfCycle ? 2 : 0));
                v[1] = pppio::ObsValue{cell.phaseRange * frequency / _LIGHT_SPEED, lli, ssi};
            } else if (cell.phaseRange != 0.0) {
                ++m_counts.noWavelength;
            }
            if (cell.phaseRate != 0.0 && frequency > 0.0)
                v[2] = pppio::ObsValue{-cell.phaseRate * frequency / _LIGHT_SPEED, 0, ssi};
            if (cell.cnr > 0.0)
                v[3] = pppio::ObsValue{cell.cnr, 0, 0};
        }
    }
}

uint8_t MsmEpochBuilder::lossOfLock(int system, int prn, const MsmCell& cell, bool extended, double now)
{
    SignalState& state = m_signals[signalSlot(system, prn, cell.signalId)];
    const double elapsed = now - state.time;
    // Unbroken tracking since the previous observation would have made the
    // lock time at least the previous one plus the time between them.
    const bool lost = !state.seen || elapsed > kMaxGap ||
                      msmLockTimeBound(cell.lockTime, extended) <= state.lockTime + elapsed - 1e-6;
    state.seen = true;
    state.time = now;
    state.lockTime = cell.lockTime;
    return lost ? 1 : 0;
}

}  // namespace ppprt
