#include "rt/RtcmStation.h"

#include "rt/RtcmBits.h"

namespace ppprt {
namespace {

constexpr double kCoordinateUnit = 1e-4;   // m
constexpr int kCoordinateBits = 38;
constexpr size_t kMaxText = 31;

void readText(BitReader& in, std::string& text)
{
    const uint32_t count = in.unsigned32(8);
    text.clear();
    for (uint32_t k = 0; k < count && in.ok(); ++k)
        text.push_back(static_cast<char>(in.unsigned32(8)));
}

void writeText(BitWriter& out, const std::string& text)
{
    out.putUnsigned(text.size(), 8);
    for (char c : text)
        out.putUnsigned(static_cast<uint8_t>(c), 8);
}

void readPosition(BitReader& in, StationInfo& info)
{
    info.itrfYear = static_cast<int>(in.unsigned32(6));
    info.gps = in.flag();
    info.glonass = in.flag();
    info.galileo = in.flag();
    info.referenceStation = in.flag();
    info.arp[0] = in.signed64(kCoordinateBits) * kCoordinateUnit;
    info.singleOscillator = in.flag();
    in.skip(1);
    info.arp[1] = in.signed64(kCoordinateBits) * kCoordinateUnit;
    info.quarterCycle = static_cast<int>(in.unsigned32(2));
    info.arp[2] = in.signed64(kCoordinateBits) * kCoordinateUnit;
}

void writePosition(BitWriter& out, const StationInfo& info)
{
    out.putUnsigned(static_cast<uint64_t>(info.itrfYear), 6);
    out.putFlag(info.gps);
    out.putFlag(info.glonass);
    out.putFlag(info.galileo);
    out.putFlag(info.referenceStation);
    out.putSigned(scaledSigned(info.arp[0], kCoordinateUnit, kCoordinateBits), kCoordinateBits);
    out.putFlag(info.singleOscillator);
    out.putUnsigned(0, 1);
    out.putSigned(scaledSigned(info.arp[1], kCoordinateUnit, kCoordinateBits), kCoordinateBits);
    out.putUnsigned(static_cast<uint64_t>(info.quarterCycle), 2);
    out.putSigned(scaledSigned(info.arp[2], kCoordinateUnit, kCoordinateBits), kCoordinateBits);
}

}  // namespace

StationStatus decodeStation(const uint8_t* payload, size_t length, StationInfo& info)
{
    BitReader in(payload, length);
    const int type = static_cast<int>(in.unsigned32(12));
    if (type != 1005 && type != 1006 && type != 1007 && type != 1008 && type != 1033)
        return in.ok() ? StationStatus::kUnsupported : StationStatus::kTruncated;
    // Decode into a copy so that a truncated message changes nothing.
    StationInfo next = info;
    next.station = static_cast<int>(in.unsigned32(12));
    if (type == 1005 || type == 1006) {
        readPosition(in, next);
        next.hasPosition = true;
        if (type == 1006) {
            next.antennaHeight = in.unsigned32(16) * kCoordinateUnit;
            next.hasHeight = true;
        }
    } else {
        readText(in, next.antennaDescriptor);
        next.setupId = static_cast<int>(in.unsigned32(8));
        next.hasAntenna = true;
        if (type != 1007)
            readText(in, next.antennaSerial);
        if (type == 1033) {
            readText(in, next.receiverType);
            readText(in, next.firmware);
            readText(in, next.receiverSerial);
            next.hasReceiver = true;
        }
    }
    if (!in.ok())
        return StationStatus::kTruncated;
    info = next;
    return StationStatus::kOk;
}

size_t encodeStation(int messageNumber, const StationInfo& info, uint8_t* out, size_t capacity)
{
    for (const std::string* text : {&info.antennaDescriptor, &info.antennaSerial, &info.receiverType, &info.firmware,
                                    &info.receiverSerial})
        if (text->size() > kMaxText)
            return 0;
    if (messageNumber == 1005 || messageNumber == 1006) {
        // scaledSigned gives the field's most negative value for what does not fit.
        for (double coordinate : info.arp)
            if (scaledSigned(coordinate, kCoordinateUnit, kCoordinateBits) == -(int64_t{1} << (kCoordinateBits - 1)))
                return 0;
        if (messageNumber == 1006 && !(info.antennaHeight >= 0.0 && info.antennaHeight < 65536 * kCoordinateUnit))
            return 0;
    }
    BitWriter w(out, capacity);
    w.putUnsigned(static_cast<uint64_t>(messageNumber), 12);
    w.putUnsigned(static_cast<uint64_t>(info.station), 12);
    switch (messageNumber) {
    case 1005:
    case 1006:
        writePosition(w, info);
        if (messageNumber == 1006)
            w.putUnsigned(static_cast<uint64_t>(info.antennaHeight / kCoordinateUnit + 0.5), 16);
        break;
    case 1007:
    case 1008:
    case 1033:
        writeText(w, info.antennaDescriptor);
        w.putUnsigned(static_cast<uint64_t>(info.setupId), 8);
        if (messageNumber != 1007)
            writeText(w, info.antennaSerial);
        if (messageNumber == 1033) {
            writeText(w, info.receiverType);
            writeText(w, info.firmware);
            writeText(w, info.receiverSerial);
        }
        break;
    default:
        return 0;
    }
    return w.ok() ? w.bytes() : 0;
}

}  // namespace ppprt
