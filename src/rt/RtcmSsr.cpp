#include "rt/RtcmSsr.h"

#include <cmath>

#include "io/GpsTime.h"
#include "rt/RtcmBits.h"
#include "rt/RtcmTime.h"

namespace ppprt {

namespace {

constexpr double kPi = 3.141592653589793;

// Field widths that differ between the systems.
struct SystemLayout {
    char system;
    int firstMessage;   // orbit; clock, code bias, combined, URA, high-rate clock follow
    int phaseBiasMessage;
    int satelliteBits;
    int iodBits;
    int beforeIod;      // bits ahead of the IOD, zero in the recordings seen
};

const SystemLayout kSystems[] = {
    {'G', 1057, 1265, 6, 8, 0}, {'R', 1063, 1266, 5, 8, 0}, {'E', 1240, 1267, 6, 10, 0}, {'J', 1246, 1268, 4, 8, 0},
    // BeiDou: a 10-bit toe field, then the IOD (toe / 720 s modulo 240).
    {'C', 1258, 1270, 6, 8, 10},
};
constexpr int kSbasFirst = 1252, kSbasLast = 1257, kSbasPhaseBias = 1269, kVtecMessage = 1264;

const SsrType kTypeOrder[6] = {SsrType::kOrbit, SsrType::kClock,
                               SsrType::kCodeBias, SsrType::kCombined, SsrType::kUra, SsrType::kHighRateClock};

const SystemLayout* findSystem(int messageNumber, SsrType& type)
{
    for (const SystemLayout& layout : kSystems) {
        if (messageNumber == layout.phaseBiasMessage) {
            type = SsrType::kPhaseBias;
            return &layout;
        }
        const int offset = messageNumber - layout.firstMessage;
        if (offset >= 0 && offset < 6) {
            type = kTypeOrder[offset];
            return &layout;
        }
    }
    return nullptr;
}

const double kUpdateIntervals[16] = {1, 2, 5, 10, 15, 30, 60, 120, 240, 300, 600, 900, 1800, 3600, 7200, 10800};

// Scaled per-satellite values, in message order.
struct ScaledField {
    double SsrSatellite::*member;
    int bits;
    double scale;
};
const ScaledField kOrbitFields[] = {{&SsrSatellite::radial, 22, 1e-4},   {&SsrSatellite::along, 20, 4e-4},
                                    {&SsrSatellite::cross, 20, 4e-4},    {&SsrSatellite::dotRadial, 21, 1e-6},
                                    {&SsrSatellite::dotAlong, 19, 4e-6}, {&SsrSatellite::dotCross, 19, 4e-6}};
const ScaledField kClockFields[] = {
    {&SsrSatellite::c0, 22, 1e-4}, {&SsrSatellite::c1, 21, 1e-6}, {&SsrSatellite::c2, 27, 2e-8}};
const ScaledField kHighRateFields[] = {{&SsrSatellite::highRateClock, 22, 1e-4}};

// One description of each message serves both directions: Io is a reader
// filling a SsrMessage or a writer reading a const one.
class Reader {
public:
    Reader(const uint8_t* payload, size_t length, const tagGPSTIME2& reference)
        : m_in(payload, length), m_reference(reference) {}
    void integer(int& value, int bits, int offset = 0) { value = static_cast<int>(m_in.unsigned64(bits)) + offset; }
    void reserved(int bits)
    {
        if (bits > 0)
            m_in.skip(bits);
    }
    void flag(bool& value) { value = m_in.flag(); }
    void scaled(double& value, int bits, double scale) { value = static_cast<double>(m_in.signed64(bits)) * scale; }
    void unsignedScaled(double& value, int bits, double scale) { value = m_in.unsigned64(bits) * scale; }
    void epoch(tagGPSTIME2& time, char system)
    {
        const double seconds = m_in.unsigned64(system == 'R' ? 17 : 20);
        if (!knownTime(m_reference) || seconds >= (system == 'R' ? pppio::kSecondsPerDay : pppio::kSecondsPerWeek)) {
            m_badEpoch = true;
            return;
        }
        if (system == 'R')
            time = glonassDayTimeToGps(seconds, m_reference);
        else if (system == 'C')
            time = pppio::shiftedTime(
                nearestTimeOfWeek(seconds, pppio::shiftedTime(m_reference, -pppio::kBdtToGps)), pppio::kBdtToGps);
        else
            time = nearestTimeOfWeek(seconds, m_reference);
    }
    // A count that must stay within an array; false stops the message.
    bool within(int value, int limit)
    {
        if (value > limit)
            m_overflow = true;
        return value <= limit && m_in.ok();
    }
    bool ok() const { return m_in.ok(); }
    bool badEpoch() const { return m_badEpoch; }
    bool overflow() const { return m_overflow; }

private:
    BitReader m_in;
    tagGPSTIME2 m_reference;
    bool m_badEpoch = false;
    bool m_overflow = false;
};

class Writer {
public:
    Writer(uint8_t* payload, size_t capacity) : m_out(payload, capacity) {}
    void integer(const int& value, int bits, int offset = 0)
    {
        if (value - offset < 0)
            m_failed = true;
        else
            m_out.putUnsigned(static_cast<uint64_t>(value - offset), bits);
    }
    void reserved(int bits)
    {
        if (bits > 0)
            m_out.putUnsigned(0, bits);
    }
    void flag(const bool& value) { m_out.putFlag(value); }
    void scaled(const double& value, int bits, double scale) { m_out.putSigned(std::llround(value / scale), bits); }
    void unsignedScaled(const double& value, int bits, double scale)
    {
        integer(static_cast<int>(std::llround(value / scale)), bits);
    }
    void epoch(const tagGPSTIME2& time, char system)
    {
        double seconds = time.sow;
        if (system == 'R')
            seconds = gpsToGlonassDayTime(time);
        else if (system == 'C')
            seconds = pppio::shiftedTime(time, -pppio::kBdtToGps).sow;
        integer(static_cast<int>(std::llround(seconds)), system == 'R' ? 17 : 20);
    }
    bool within(int value, int limit)
    {
        if (value > limit)
            m_failed = true;
        return value <= limit;
    }
    bool ok() const { return m_out.ok() && !m_failed; }
    size_t bytes() const { return m_out.bytes(); }

private:
    BitWriter m_out;
    bool m_failed = false;
};

template <class Io, class Satellite, size_t N>
void codeScaled(Io& io, Satellite& sat, const ScaledField (&fields)[N])
{
    for (const ScaledField& f : fields)
        io.scaled(sat.*f.member, f.bits, f.scale);
}

template <class Io, class Bias>
void codeBias(Io& io, Bias& bias, bool phase)
{
    io.integer(bias.signal, 5);
    if (!phase) {
        io.scaled(bias.bias, 14, 0.01);
        return;
    }
    io.flag(bias.integer);
    io.integer(bias.wideLaneInteger, 2);
    io.integer(bias.discontinuity, 4);
    io.scaled(bias.bias, 20, 1e-4);
}

// A decoded satellite carries only what its message gave: the scalars and
// bias counts of an earlier message are cleared (the bias arrays are left).
void clearSatellite(SsrSatellite& sat)
{
    sat.prn = sat.iode = sat.iodCrc = sat.uraIndex = sat.codeBiasCount = sat.phaseBiasCount = 0;
    sat.radial = sat.along = sat.cross = sat.dotRadial = sat.dotAlong = sat.dotCross = 0.0;
    sat.c0 = sat.c1 = sat.c2 = sat.highRateClock = sat.ura = sat.yaw = sat.yawRate = 0.0;
}
void clearSatellite(const SsrSatellite&) {}

template <class Io, class Satellite>
void codeSatellite(Io& io, Satellite& sat, SsrType type, const SystemLayout& layout)
{
    clearSatellite(sat);
    io.integer(sat.prn, layout.satelliteBits);
    switch (type) {
    case SsrType::kOrbit:
    case SsrType::kCombined:
        io.reserved(layout.beforeIod);
        io.integer(sat.iode, layout.iodBits);
        codeScaled(io, sat, kOrbitFields);
        if (type == SsrType::kCombined)
            codeScaled(io, sat, kClockFields);
        return;
    case SsrType::kClock: codeScaled(io, sat, kClockFields); return;
    case SsrType::kHighRateClock: codeScaled(io, sat, kHighRateFields); return;
    case SsrType::kUra: io.integer(sat.uraIndex, 6); return;
    case SsrType::kCodeBias:
        io.integer(sat.codeBiasCount, 5);
        for (int k = 0; k < sat.codeBiasCount && io.within(sat.codeBiasCount, kSsrMaxBiases); ++k)
            codeBias(io, sat.codeBias[k], false);
        return;
    case SsrType::kPhaseBias:
        io.integer(sat.phaseBiasCount, 5);
        io.unsignedScaled(sat.yaw, 9, kPi / 256);
        io.scaled(sat.yawRate, 8, kPi / 8192);
        for (int k = 0; k < sat.phaseBiasCount && io.within(sat.phaseBiasCount, kSsrMaxBiases); ++k)
            codeBias(io, sat.phaseBias[k], true);
        return;
    case SsrType::kVtec: return;
    }
}

template <class Io, class Message>
void codeCorrections(Io& io, Message& m, const SystemLayout& layout)
{
    auto& h = m.header;
    io.epoch(h.time, layout.system);
    io.integer(h.updateIntervalIndex, 4);
    io.flag(h.multipleMessage);
    if (m.type == SsrType::kOrbit || m.type == SsrType::kCombined)
        io.integer(h.datum, 1);
    io.integer(h.iodSsr, 4);
    io.integer(h.provider, 16);
    io.integer(h.solution, 4);
    if (m.type == SsrType::kPhaseBias) {
        io.flag(h.dispersiveConsistent);
        io.flag(h.mwConsistent);
    }
    io.integer(m.satelliteCount, 6);
    for (int i = 0; i < m.satelliteCount && io.within(m.satelliteCount, kSsrMaxSatellites); ++i)
        codeSatellite(io, m.satellites[i], m.type, layout);
}

// Spherical harmonics by order, then degree: cosines for m = 0..M, sines
// for m = 1..M, each for n = m..N.
template <class Io, class Message>
void codeVtec(Io& io, Message& m)
{
    auto& h = m.header;
    auto& v = m.vtec;
    io.epoch(h.time, 'G');
    io.integer(h.updateIntervalIndex, 4);
    io.flag(h.multipleMessage);
    io.integer(h.iodSsr, 4);
    io.integer(h.provider, 16);
    io.integer(h.solution, 4);
    io.unsignedScaled(v.quality, 9, 0.05);
    io.integer(v.layers, 2, 1);
    for (int layer = 0; layer < v.layers && io.within(v.layers, kVtecMaxLayers); ++layer) {
        io.unsignedScaled(v.height[layer], 8, 10000.0);
        io.integer(v.degree[layer], 4, 1);
        io.integer(v.order[layer], 4, 1);
        if (!io.within(v.degree[layer], kVtecMaxDegree) || !io.within(v.order[layer], v.degree[layer]))
            return;
        for (int order = 0; order <= v.order[layer]; ++order)
            for (int degree = order; degree <= v.degree[layer]; ++degree)
                io.scaled(v.cosine[layer][degree][order], 16, 0.005);
        for (int order = 1; order <= v.order[layer]; ++order)
            for (int degree = order; degree <= v.degree[layer]; ++degree)
                io.scaled(v.sine[layer][degree][order], 16, 0.005);
    }
}

}  // namespace

double uraMetres(int index)
{
    if (index <= 0)
        return 0.0;
    const int uraClass = (index >> 3) & 7, value = index & 7;
    return (std::pow(3.0, uraClass) * (1.0 + value / 4.0) - 1.0) * 1e-3;
}

bool isSsrMessage(int messageNumber)
{
    SsrType type;
    return messageNumber == kVtecMessage || findSystem(messageNumber, type) != nullptr;
}

SsrStatus decodeSsr(const uint8_t* payload, size_t length, const tagGPSTIME2& reference, SsrMessage& out)
{
    Reader io(payload, length, reference);
    io.integer(out.messageNumber, 12);
    out.satelliteCount = 0;
    out.header = SsrHeader();
    const bool sbas = (out.messageNumber >= kSbasFirst && out.messageNumber <= kSbasLast) ||
                      out.messageNumber == kSbasPhaseBias;
    if (out.messageNumber == kVtecMessage) {
        out.type = SsrType::kVtec;
        out.vtec = SsrVtec();
        codeVtec(io, out);
    } else if (const SystemLayout* layout = findSystem(out.messageNumber, out.type)) {
        out.header.system = layout->system;
        codeCorrections(io, out, *layout);
        for (int i = 0; i < out.satelliteCount; ++i)
            out.satellites[i].ura = uraMetres(out.satellites[i].uraIndex);
    } else {
        return !io.ok() ? SsrStatus::kTruncated : sbas ? SsrStatus::kUnsupportedSystem : SsrStatus::kNotSsr;
    }
    out.header.updateInterval = kUpdateIntervals[out.header.updateIntervalIndex & 15];
    if (!io.ok())
        return SsrStatus::kTruncated;
    if (io.overflow())
        return SsrStatus::kBadValue;
    if (io.badEpoch())
        return knownTime(reference) ? SsrStatus::kBadValue : SsrStatus::kNoReference;
    return SsrStatus::kOk;
}

size_t encodeSsr(const SsrMessage& message, uint8_t* payload, size_t capacity)
{
    Writer io(payload, capacity);
    io.integer(message.messageNumber, 12);
    if (message.type == SsrType::kVtec) {
        if (message.messageNumber != kVtecMessage)
            return 0;
        codeVtec(io, message);
    } else {
        SsrType type;
        const SystemLayout* layout = findSystem(message.messageNumber, type);
        if (layout == nullptr || type != message.type || layout->system != message.header.system)
            return 0;
        codeCorrections(io, message, *layout);
    }
    return io.ok() ? io.bytes() : 0;
}

const char* ssrStatusName(SsrStatus status)
{
    switch (status) {
    case SsrStatus::kOk: return "ok";
    case SsrStatus::kTruncated: return "truncated";
    case SsrStatus::kNotSsr: return "not an SSR message";
    case SsrStatus::kUnsupportedSystem: return "unsupported system (SBAS)";
    case SsrStatus::kNoReference: return "no reference time";
    case SsrStatus::kBadValue: return "implausible value";
    }
    return "?";
}

}  // namespace ppprt
