#include "rt/RtcmEphemeris.h"

#include <algorithm>
#include <cmath>

#include "io/GpsTime.h"
#include "io/SatelliteId.h"
#include "rt/RtcmBits.h"
#include "rt/RtcmTime.h"

namespace ppprt {

namespace {

using pppio::GlonassEphemeris;
using pppio::KeplerEphemeris;

// Semicircles to radians with the value of pi the orbit definitions use.
constexpr double kGpsPi = 3.1415926535898;
// With a wrong week field, toe taken from the reference must still be this
// close to it to be believed.
constexpr double kReconcileWindow = 86400.0;

constexpr double pow2(int n)
{
    double x = 1.0;
    for (; n > 0; --n)
        x *= 2.0;
    for (; n < 0; ++n)
        x *= 0.5;
    return x;
}

// Every value a message carries, in the units of the records (radians,
// metres, seconds) or as the raw count where the record wants a code.
enum Slot {
    kIgnored, kPrn, kWeek, kAccuracy, kCodesL2, kIdot, kIode, kToc, kAf0, kAf1, kAf2, kIodc,
    kCrs, kDeltaN, kM0, kCuc, kEccentricity, kCus, kSqrtA, kToe, kCic, kOmega0, kCis, kI0, kCrc,
    kOmega, kOmegaDot, kGroupDelay1, kGroupDelay2, kHealth, kL2pFlag, kFitFlag,
    kHealthE1, kValidityE1, kHealthE5a, kValidityE5a, kHealthE5b, kValidityE5b,
    kChannel, kTk, kBn, kTb, kVx, kX, kAx, kVy, kY, kAy, kVz, kZ, kAz, kGamma, kTau, kAge,
    kSlotCount
};

enum class Coding { kUnsigned, kTwos, kSignMagnitude };

struct Field {
    Slot slot;
    int bits;
    Coding coding;
    double scale;
};

constexpr Coding U = Coding::kUnsigned;
constexpr Coding S = Coding::kTwos;
constexpr Coding M = Coding::kSignMagnitude;
constexpr double kSemi31 = pow2(-31) * kGpsPi;
constexpr double kSemi43 = pow2(-43) * kGpsPi;

const Field kGps[] = {
    {kPrn, 6, U, 1}, {kWeek, 10, U, 1}, {kAccuracy, 4, U, 1}, {kCodesL2, 2, U, 1}, {kIdot, 14, S, kSemi43},
    {kIode, 8, U, 1}, {kToc, 16, U, 16}, {kAf2, 8, S, pow2(-55)}, {kAf1, 16, S, pow2(-43)},
    {kAf0, 22, S, pow2(-31)}, {kIodc, 10, U, 1}, {kCrs, 16, S, pow2(-5)}, {kDeltaN, 16, S, kSemi43},
    {kM0, 32, S, kSemi31}, {kCuc, 16, S, pow2(-29)}, {kEccentricity, 32, U, pow2(-33)}, {kCus, 16, S, pow2(-29)},
    {kSqrtA, 32, U, pow2(-19)}, {kToe, 16, U, 16}, {kCic, 16, S, pow2(-29)}, {kOmega0, 32, S, kSemi31},
    {kCis, 16, S, pow2(-29)}, {kI0, 32, S, kSemi31}, {kCrc, 16, S, pow2(-5)}, {kOmega, 32, S, kSemi31},
    {kOmegaDot, 24, S, kSemi43}, {kGroupDelay1, 8, S, pow2(-31)}, {kHealth, 6, U, 1}, {kL2pFlag, 1, U, 1},
    {kFitFlag, 1, U, 1}};

const Field kBeidou[] = {
    {kPrn, 6, U, 1}, {kWeek, 13, U, 1}, {kAccuracy, 4, U, 1}, {kIdot, 14, S, kSemi43}, {kIode, 5, U, 1},
    {kToc, 17, U, 8}, {kAf2, 11, S, pow2(-66)}, {kAf1, 22, S, pow2(-50)}, {kAf0, 24, S, pow2(-33)},
    {kIodc, 5, U, 1}, {kCrs, 18, S, pow2(-6)}, {kDeltaN, 16, S, kSemi43}, {kM0, 32, S, kSemi31},
    {kCuc, 18, S, pow2(-31)}, {kEccentricity, 32, U, pow2(-33)}, {kCus, 18, S, pow2(-31)},
    {kSqrtA, 32, U, pow2(-19)}, {kToe, 17, U, 8}, {kCic, 18, S, pow2(-31)}, {kOmega0, 32, S, kSemi31},
    {kCis, 18, S, pow2(-31)}, {kI0, 32, S, kSemi31}, {kCrc, 18, S, pow2(-6)}, {kOmega, 32, S, kSemi31},
    {kOmegaDot, 24, S, kSemi43}, {kGroupDelay1, 10, S, 1e-10}, {kGroupDelay2, 10, S, 1e-10}, {kHealth, 1, U, 1}};

// Galileo F/NAV and I/NAV share the orbit and differ in the group delays
// and health that follow it.
const Field kGalileoOrbit[] = {
    {kPrn, 6, U, 1}, {kWeek, 12, U, 1}, {kIode, 10, U, 1}, {kAccuracy, 8, U, 1}, {kIdot, 14, S, kSemi43},
    {kToc, 14, U, 60}, {kAf2, 6, S, pow2(-59)}, {kAf1, 21, S, pow2(-46)}, {kAf0, 31, S, pow2(-34)},
    {kCrs, 16, S, pow2(-5)}, {kDeltaN, 16, S, kSemi43}, {kM0, 32, S, kSemi31}, {kCuc, 16, S, pow2(-29)},
    {kEccentricity, 32, U, pow2(-33)}, {kCus, 16, S, pow2(-29)}, {kSqrtA, 32, U, pow2(-19)}, {kToe, 14, U, 60},
    {kCic, 16, S, pow2(-29)}, {kOmega0, 32, S, kSemi31}, {kCis, 16, S, pow2(-29)}, {kI0, 32, S, kSemi31},
    {kCrc, 16, S, pow2(-5)}, {kOmega, 32, S, kSemi31}, {kOmegaDot, 24, S, kSemi43}};
const Field kGalileoFnav[] = {
    {kGroupDelay1, 10, S, pow2(-32)}, {kHealthE5a, 2, U, 1}, {kValidityE5a, 1, U, 1}, {kIgnored, 7, U, 1}};
const Field kGalileoInav[] = {
    {kGroupDelay1, 10, S, pow2(-32)}, {kGroupDelay2, 10, S, pow2(-32)}, {kHealthE5b, 2, U, 1},
    {kValidityE5b, 1, U, 1}, {kHealthE1, 2, U, 1}, {kValidityE1, 1, U, 1}, {kIgnored, 2, U, 1}};

constexpr double kKm = 1000.0;
const Field kGlonass[] = {
    {kPrn, 6, U, 1}, {kChannel, 5, U, 1}, {kIgnored, 1, U, 1}, {kIgnored, 1, U, 1}, {kIgnored, 2, U, 1},
    {kTk, 12, U, 1}, {kBn, 1, U, 1}, {kIgnored, 1, U, 1}, {kTb, 7, U, 900},
    {kVx, 24, M, pow2(-20) * kKm}, {kX, 27, M, pow2(-11) * kKm}, {kAx, 5, M, pow2(-30) * kKm},
    {kVy, 24, M, pow2(-20) * kKm}, {kY, 27, M, pow2(-11) * kKm}, {kAy, 5, M, pow2(-30) * kKm},
    {kVz, 24, M, pow2(-20) * kKm}, {kZ, 27, M, pow2(-11) * kKm}, {kAz, 5, M, pow2(-30) * kKm},
    {kIgnored, 1, U, 1}, {kGamma, 11, M, pow2(-40)}, {kIgnored, 2, U, 1}, {kIgnored, 1, U, 1},
    {kTau, 22, M, pow2(-30)}, {kIgnored, 5, M, 1}, {kAge, 5, U, 1}, {kIgnored, 1, U, 1}, {kIgnored, 4, U, 1},
    {kIgnored, 11, U, 1}, {kIgnored, 2, U, 1}, {kIgnored, 1, U, 1}, {kIgnored, 11, U, 1}, {kIgnored, 32, M, 1},
    {kIgnored, 5, U, 1}, {kIgnored, 22, M, 1}, {kIgnored, 1, U, 1}, {kIgnored, 7, U, 1}};

struct Span {
    const Field* fields;
    size_t count;
};
template <size_t N>
constexpr Span span(const Field (&fields)[N])
{
    return {fields, N};
}

struct Layout {
    int messageNumber;
    char system;
    int weekBits;
    int weekOffset;     // GPS week of the field's week 0
    double toGps;       // seconds from system time to GPS time
    double dataSources; // Galileo data-source bits of the RINEX record
    Span parts[2];
};

const Layout kLayouts[] = {
    {1019, 'G', 10, 0, 0.0, 0.0, {span(kGps), {nullptr, 0}}},
    {1020, 'R', 0, 0, 0.0, 0.0, {span(kGlonass), {nullptr, 0}}},
    {1042, 'C', 13, pppio::kBdtWeekOffset, pppio::kBdtToGps, 0.0, {span(kBeidou), {nullptr, 0}}},
    {1045, 'E', 12, 1024, 0.0, 258.0, {span(kGalileoOrbit), span(kGalileoFnav)}},   // bits 1 and 8
    {1046, 'E', 12, 1024, 0.0, 513.0, {span(kGalileoOrbit), span(kGalileoInav)}},   // bits 0 and 9
};

const Layout* findLayout(int messageNumber)
{
    for (const Layout& layout : kLayouts)
        if (layout.messageNumber == messageNumber)
            return &layout;
    return nullptr;
}

void readFields(BitReader& in, const Layout& layout, double* values)
{
    for (const Span& part : layout.parts)
        for (size_t k = 0; k < part.count; ++k) {
            const Field& f = part.fields[k];
            const int64_t raw = f.coding == Coding::kUnsigned ? static_cast<int64_t>(in.unsigned64(f.bits))
                                : f.coding == Coding::kTwos   ? in.signed64(f.bits)
                                                              : in.signMagnitude(f.bits);
            if (f.slot != kIgnored)
                values[f.slot] = static_cast<double>(raw) * f.scale;
        }
}

void writeFields(BitWriter& out, const Layout& layout, const double* values)
{
    for (const Span& part : layout.parts)
        for (size_t k = 0; k < part.count; ++k) {
            const Field& f = part.fields[k];
            const int64_t raw = f.slot == kIgnored ? 0 : std::llround(values[f.slot] / f.scale);
            if (f.coding == Coding::kUnsigned) {
                if (raw < 0)
                    out.putUnsigned(uint64_t{1} << 63, f.bits);   // out of range: clears ok()
                else
                    out.putUnsigned(static_cast<uint64_t>(raw), f.bits);
            } else if (f.coding == Coding::kTwos) {
                out.putSigned(raw, f.bits);
            } else {
                out.putSignMagnitude(raw, f.bits);
            }
        }
}

// GPS and BeiDou user range accuracy index, metres (index 15: no prediction).
const double kUraMetres[16] = {2.4, 3.4, 4.85, 6.85, 9.65, 13.65, 24.0, 48.0,
                               96.0, 192.0, 384.0, 768.0, 1536.0, 3072.0, 6144.0, 6144.0};

// Galileo signal-in-space accuracy index, metres; -1 for "no accuracy
// prediction available" (255) and the spare indexes.
double sisaMetres(int index)
{
    if (index < 50)
        return index * 0.01;
    if (index < 75)
        return 0.5 + (index - 50) * 0.02;
    if (index < 100)
        return 1.0 + (index - 75) * 0.04;
    if (index < 126)
        return 2.0 + (index - 100) * 0.16;
    return -1.0;
}

double accuracyMetres(char system, int index)
{
    return system == 'E' ? sisaMetres(index) : kUraMetres[index & 15];
}

// The smallest index whose accuracy is no better than `metres`.
int accuracyIndex(char system, double metres)
{
    if (system == 'E') {
        if (metres < 0.0)
            return 255;
        for (int index = 0; index < 126; ++index)
            if (sisaMetres(index) >= metres - 1e-9)
                return index;
        return 255;
    }
    for (int index = 0; index < 15; ++index)
        if (kUraMetres[index] >= metres - 1e-9)
            return index;
    return 15;
}

// RINEX Galileo health word: E1-B DVS bit 0, HS bits 1-2; E5a DVS 3, HS 4-5;
// E5b DVS 6, HS 7-8.
int galileoHealth(const double* v)
{
    return static_cast<int>(v[kValidityE1]) | static_cast<int>(v[kHealthE1]) << 1 |
           static_cast<int>(v[kValidityE5a]) << 3 | static_cast<int>(v[kHealthE5a]) << 4 |
           static_cast<int>(v[kValidityE5b]) << 6 | static_cast<int>(v[kHealthE5b]) << 7;
}

void splitGalileoHealth(int health, double* v)
{
    v[kValidityE1] = health & 1;
    v[kHealthE1] = (health >> 1) & 3;
    v[kValidityE5a] = (health >> 3) & 1;
    v[kHealthE5a] = (health >> 4) & 3;
    v[kValidityE5b] = (health >> 6) & 1;
    v[kHealthE5b] = (health >> 7) & 3;
}

// Packed index of a satellite, 0 when it has none (e.g. BeiDou above 35).
int packedIndex(char system, int prn)
{
    if (prn < 1 || prn > 99)
        return 0;
    const char id[4] = {system, static_cast<char>('0' + prn / 10), static_cast<char>('0' + prn % 10), '\0'};
    return std::max(pppio::parseSatelliteId(id), 0);
}

// Week of toe (and toc) from the week field, its rollover and the reference.
EphemerisStatus resolveKeplerTimes(const Layout& layout, const double* v, const tagGPSTIME2& reference,
                                   DecodedEphemeris& out)
{
    KeplerEphemeris& e = out.kepler;
    const int period = 1 << layout.weekBits;
    int week = static_cast<int>(v[kWeek]) + layout.weekOffset;   // GPS-aligned week of the system
    tagGPSTIME2 toeSystem{week, v[kToe]};
    if (knownTime(reference)) {
        week += period * static_cast<int>(std::floor((reference.week - week) / static_cast<double>(period) + 0.5));
        // toe nearest the reference: the field may give the week of
        // transmission, one before toe's around the week boundary.
        toeSystem = nearestTimeOfWeek(v[kToe], pppio::shiftedTime(reference, -layout.toGps));
        if (std::abs(toeSystem.week - week) > 1) {
            out.weekInconsistent = true;
            const double distance = pppio::secondsBetween(pppio::shiftedTime(toeSystem, layout.toGps), reference);
            if (std::fabs(distance) > kReconcileWindow)
                return EphemerisStatus::kImpossibleWeek;
        }
    } else if (layout.system == 'G' && week < 2048) {
        toeSystem.week = week + 2048;
    }
    e.week = toeSystem.week - (layout.system == 'C' ? pppio::kBdtWeekOffset : 0);
    e.toe = pppio::shiftedTime(toeSystem, layout.toGps);
    e.toc = pppio::shiftedTime(nearestTimeOfWeek(v[kToc], toeSystem), layout.toGps);
    return EphemerisStatus::kOk;
}

EphemerisStatus decodeKepler(const Layout& layout, const double* v, const tagGPSTIME2& reference,
                             DecodedEphemeris& out)
{
    KeplerEphemeris& e = out.kepler;
    e = KeplerEphemeris();
    e.system = layout.system;
    e.iprn = packedIndex(layout.system, out.prn);
    e.af0 = v[kAf0], e.af1 = v[kAf1], e.af2 = v[kAf2];
    e.iode = v[kIode], e.crs = v[kCrs], e.deltaN = v[kDeltaN], e.m0 = v[kM0];
    e.cuc = v[kCuc], e.eccentricity = v[kEccentricity], e.cus = v[kCus], e.sqrtA = v[kSqrtA];
    e.toeSeconds = v[kToe], e.cic = v[kCic], e.omega0 = v[kOmega0], e.cis = v[kCis];
    e.i0 = v[kI0], e.crc = v[kCrc], e.omega = v[kOmega], e.omegaDot = v[kOmegaDot], e.idot = v[kIdot];
    e.accuracy = accuracyMetres(layout.system, static_cast<int>(v[kAccuracy]));
    e.groupDelay[0] = v[kGroupDelay1];
    switch (layout.system) {
    case 'G':
        e.l2CodesOrDataSources = v[kCodesL2];
        e.l2pFlag = v[kL2pFlag];
        e.health = static_cast<int>(v[kHealth]);
        e.iodc = v[kIodc];
        e.fitInterval = v[kFitFlag] != 0.0 ? 6.0 : 4.0;   // hours; above 4 h is 6 h for most IODCs
        break;
    case 'E':
        e.l2CodesOrDataSources = layout.dataSources;
        e.health = galileoHealth(v);
        e.groupDelay[1] = v[kGroupDelay2];
        e.iodc = e.groupDelay[1];   // where the file reader puts the BGD E5b/E1 column
        break;
    default:   // 'C'
        e.health = static_cast<int>(v[kHealth]);
        e.groupDelay[1] = v[kGroupDelay2];
        e.iodc = v[kIodc];
        break;
    }
    if (out.prn == 0 || e.sqrtA < 1000.0 || e.sqrtA > 10000.0 || e.eccentricity >= 0.5)
        return EphemerisStatus::kBadValue;
    const EphemerisStatus times = resolveKeplerTimes(layout, v, reference, out);
    if (times != EphemerisStatus::kOk)
        return times;
    if (e.iprn == 0)
        return EphemerisStatus::kUnsupportedSatellite;
    return e.health != 0 ? EphemerisStatus::kUnhealthy : EphemerisStatus::kOk;
}

void keplerValues(const Layout& layout, const KeplerEphemeris& e, double* v)
{
    const int period = 1 << layout.weekBits;
    const int gpsWeek = e.week + (layout.system == 'C' ? pppio::kBdtWeekOffset : 0);
    v[kWeek] = ((gpsWeek - layout.weekOffset) % period + period) % period;
    v[kToc] = pppio::shiftedTime(e.toc, -layout.toGps).sow;
    v[kAf0] = e.af0, v[kAf1] = e.af1, v[kAf2] = e.af2;
    v[kIode] = e.iode, v[kCrs] = e.crs, v[kDeltaN] = e.deltaN, v[kM0] = e.m0;
    v[kCuc] = e.cuc, v[kEccentricity] = e.eccentricity, v[kCus] = e.cus, v[kSqrtA] = e.sqrtA;
    v[kToe] = e.toeSeconds, v[kCic] = e.cic, v[kOmega0] = e.omega0, v[kCis] = e.cis;
    v[kI0] = e.i0, v[kCrc] = e.crc, v[kOmega] = e.omega, v[kOmegaDot] = e.omegaDot, v[kIdot] = e.idot;
    v[kAccuracy] = accuracyIndex(layout.system, e.accuracy);
    v[kGroupDelay1] = e.groupDelay[0], v[kGroupDelay2] = e.groupDelay[1];
    v[kCodesL2] = e.l2CodesOrDataSources, v[kL2pFlag] = e.l2pFlag;
    v[kHealth] = e.health, v[kIodc] = e.iodc;
    v[kFitFlag] = e.fitInterval > 4.0 ? 1 : 0;
    splitGalileoHealth(e.health, v);
}

// tk: hours (5 bits), minutes (6 bits), a 30-second flag, in Moscow time.
double frameTimeOfDay(int tk)
{
    return (tk >> 7) * 3600.0 + ((tk >> 1) & 63) * 60.0 + (tk & 1) * 30.0;
}

EphemerisStatus decodeGlonass(const double* v, const tagGPSTIME2& reference, DecodedEphemeris& out)
{
    GlonassEphemeris& e = out.glonass;
    e = GlonassEphemeris();
    e.iprn = packedIndex('R', out.prn);
    e.minusTauN = -v[kTau];
    e.gammaN = v[kGamma];
    const Slot position[3] = {kX, kY, kZ}, velocity[3] = {kVx, kVy, kVz}, acceleration[3] = {kAx, kAy, kAz};
    for (int k = 0; k < 3; ++k) {
        e.position[k] = v[position[k]];
        e.velocity[k] = v[velocity[k]];
        e.acceleration[k] = v[acceleration[k]];
    }
    e.health = static_cast<int>(v[kBn]);
    e.frequencyChannel = static_cast<int>(v[kChannel]) - 7;
    e.age = v[kAge];
    const double r = std::sqrt(e.position[0] * e.position[0] + e.position[1] * e.position[1] +
                               e.position[2] * e.position[2]);
    if (out.prn == 0 || r < 2.0e7 || r > 3.0e7 || e.frequencyChannel > 13)
        return EphemerisStatus::kBadValue;
    if (!knownTime(reference))
        return EphemerisStatus::kNoReference;
    e.toe = glonassDayTimeToGps(v[kTb], reference);
    // Frame time in seconds of the UTC week, as RINEX writes it.
    const tagGPSTIME2 frame = glonassDayTimeToGps(frameTimeOfDay(static_cast<int>(v[kTk])), e.toe);
    e.frameTime = pppio::shiftedTime(frame, -pppio::leapSecondsAt(frame)).sow;
    if (e.iprn == 0)
        return EphemerisStatus::kUnsupportedSatellite;
    return e.health != 0 ? EphemerisStatus::kUnhealthy : EphemerisStatus::kOk;
}

void glonassValues(const GlonassEphemeris& e, double* v)
{
    v[kTau] = -e.minusTauN;
    v[kGamma] = e.gammaN;
    const Slot position[3] = {kX, kY, kZ}, velocity[3] = {kVx, kVy, kVz}, acceleration[3] = {kAx, kAy, kAz};
    for (int k = 0; k < 3; ++k) {
        v[position[k]] = e.position[k];
        v[velocity[k]] = e.velocity[k];
        v[acceleration[k]] = e.acceleration[k];
    }
    v[kBn] = e.health;
    v[kChannel] = e.frequencyChannel + 7;
    v[kAge] = e.age;
    v[kTb] = std::floor(gpsToGlonassDayTime(e.toe) / 900.0 + 0.5) * 900.0;
    const tagGPSTIME2 frameUtc = nearestTimeOfWeek(e.frameTime, e.toe);
    const double tod = gpsToGlonassDayTime(pppio::shiftedTime(frameUtc, pppio::leapSecondsAt(e.toe)));
    const int seconds = static_cast<int>(std::floor(tod + 0.5));
    v[kTk] = (seconds / 3600) << 7 | ((seconds / 60) % 60) << 1 | (seconds % 60 >= 30 ? 1 : 0);
}

}  // namespace

EphemerisStatus decodeEphemeris(const uint8_t* payload, size_t length, const tagGPSTIME2& reference,
                                DecodedEphemeris& out)
{
    BitReader in(payload, length);
    out.messageNumber = static_cast<int>(in.unsigned32(12));
    out.weekInconsistent = false;
    const Layout* layout = findLayout(out.messageNumber);
    if (layout == nullptr)
        return in.ok() ? EphemerisStatus::kUnsupportedType : EphemerisStatus::kTruncated;
    double values[kSlotCount] = {};
    readFields(in, *layout, values);
    if (!in.ok())
        return EphemerisStatus::kTruncated;
    out.system = layout->system;
    out.prn = static_cast<int>(values[kPrn]);
    if (layout->system == 'R') {
        out.kind = EphemerisKind::kGlonass;
        return decodeGlonass(values, reference, out);
    }
    out.kind = EphemerisKind::kKepler;
    return decodeKepler(*layout, values, reference, out);
}

size_t encodeEphemeris(const DecodedEphemeris& eph, uint8_t* payload, size_t capacity)
{
    const Layout* layout = findLayout(eph.messageNumber);
    if (layout == nullptr)
        return 0;
    double values[kSlotCount] = {};
    values[kPrn] = eph.prn;
    if (layout->system == 'R')
        glonassValues(eph.glonass, values);
    else
        keplerValues(*layout, eph.kepler, values);
    BitWriter out(payload, capacity);
    out.putUnsigned(static_cast<uint64_t>(eph.messageNumber), 12);
    writeFields(out, *layout, values);
    return out.ok() ? out.bytes() : 0;
}

const char* ephemerisStatusName(EphemerisStatus status)
{
    switch (status) {
    case EphemerisStatus::kOk: return "ok";
    case EphemerisStatus::kUnhealthy: return "unhealthy";
    case EphemerisStatus::kTruncated: return "truncated";
    case EphemerisStatus::kUnsupportedType: return "unsupported message";
    case EphemerisStatus::kUnsupportedSatellite: return "satellite without packed index";
    case EphemerisStatus::kNoReference: return "no reference time";
    case EphemerisStatus::kImpossibleWeek: return "impossible week";
    case EphemerisStatus::kBadValue: return "implausible value";
    }
    return "?";
}

}  // namespace ppprt
