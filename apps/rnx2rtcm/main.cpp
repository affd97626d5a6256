// rnx2rtcm: RINEX observations, navigation and precise products turned into
// recorded RTCM 3 streams (observations, and ephemerides with SSR
// corrections). See --help.
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "Corrections.h"
#include "Options.h"
#include "StreamWriter.h"
#include "io/ReadError.h"
#include "io/RinexObsReader.h"
#include "rt/RtcmFramer.h"
#include "rt/RtcmMsmEncoder.h"
#include "rt/RtcmStation.h"

namespace rnx2rtcm {

namespace {

constexpr int kDone = 0;
constexpr int kBadInput = 2;
constexpr int kMalformed = 3;
constexpr double kStationInterval = 60.0;   // s between station descriptions

ppprt::StationInfo Station(const pppio::RinexObsHeader& header, int id)
{
    ppprt::StationInfo s;
    s.station = id;
    s.hasPosition = true;
    s.gps = s.glonass = s.galileo = true;
    for (int k = 0; k < 3; ++k)
        s.arp[k] = header.approxPosition[k];
    s.hasHeight = true;
    s.antennaHeight = header.antennaDeltaH;
    s.hasAntenna = true;
    s.antennaDescriptor = header.antennaType;
    s.antennaSerial = header.antennaNumber;
    s.hasReceiver = true;
    s.receiverType = header.receiverType;
    s.firmware = header.receiverVersion;
    s.receiverSerial = header.receiverNumber;
    return s;
}

void WriteStation(const ppprt::StationInfo& station, StreamWriter& out)
{
    uint8_t payload[ppprt::kRtcmMaxPayload];
    for (int number : {1006, 1033})
        out.write(payload, ppprt::encodeStation(number, station, payload, sizeof(payload)));
}

// One epoch as MSM7 messages, system by system; the multiple-message bit
// is clear on the epoch's last message only.
void WriteEpoch(const pppio::ObsEpoch& epoch, const std::string& systems, ppprt::MsmEncoder& encoder,
                ppprt::MsmMessage& msm, StreamWriter& out)
{
    char last = 0;
    for (char system : systems)
        for (int k = 0; k < epoch.satelliteCount(); ++k)
            if (epoch.satellite(k).system == system)
                last = system;
    uint8_t payload[ppprt::kRtcmMaxPayload];
    for (char system : systems) {
        for (int next = 0; next < epoch.satelliteCount();) {
            next = encoder.fill(epoch, system, next, msm);
            if (msm.satelliteCount == 0)
                continue;
            msm.multipleMessage = !(system == last && next >= epoch.satelliteCount());
            size_t length = 0;
            if (ppprt::encodeMsm(msm, payload, sizeof(payload), length) != ppprt::MsmStatus::kOk)
                length = 0;
            out.write(payload, length);
        }
    }
}

int Convert(const Options& o)
{
    pppio::RinexObsReader reader(o.obs);
    const pppio::RinexObsHeader& header = reader.header();
    StreamWriter observations(o.out);
    std::unique_ptr<StreamWriter> separate(o.outCorr.empty() ? nullptr : new StreamWriter(o.outCorr));
    StreamWriter& corrections = separate ? *separate : observations;
    Corrections service(o, header);

    const ppprt::StationInfo station = Station(header, o.station);
    ppprt::MsmEncoder encoder(header, o.station);
    std::unique_ptr<ppprt::MsmMessage> msm(new ppprt::MsmMessage());
    pppio::ObsEpoch epoch;
    long epochs = 0;
    double lastStation = -1e9;
    while (reader.next(epoch)) {
        if (epoch.isEvent() || epoch.flag == pppio::ObsEpoch::kCycleSlips)
            continue;
        service.writeUpTo(epoch.gpsTime, corrections);
        const double now = epoch.gpsTime.week * 604800.0 + epoch.gpsTime.sow;
        if (now - lastStation >= kStationInterval) {
            WriteStation(station, observations);
            lastStation = now;
        }
        WriteEpoch(epoch, o.systems, encoder, *msm, observations);
        ++epochs;
    }
    std::printf("rnx2rtcm: %ld epochs, %ld frames (%ld bytes) to %s\n", epochs, observations.frames(),
                observations.bytes(), o.out.c_str());
    if (separate)
        std::printf("rnx2rtcm: %ld frames (%ld bytes) to %s\n", separate->frames(), separate->bytes(),
                    o.outCorr.c_str());
    std::printf("rnx2rtcm: %ld ephemerides, %ld SSR messages\n", service.ephemerides(), service.ssrMessages());
    const long refused = observations.refused() + (separate ? separate->refused() : 0);
    if (refused > 0)
        std::printf("rnx2rtcm: %ld messages with values their fields cannot hold were left out\n", refused);
    for (const std::string& warning : reader.warnings())
        std::printf("rnx2rtcm: note: %s\n", warning.c_str());
    return kDone;
}

}  // namespace

}  // namespace rnx2rtcm

int main(int argc, char** argv)
{
    rnx2rtcm::Options options;
    try {
        options = rnx2rtcm::ParseOptions(argc, argv);
    } catch (const rnx2rtcm::UsageError& e) {
        std::fprintf(stderr, "rnx2rtcm: %s\n", e.what());
        return rnx2rtcm::kBadInput;
    }
    if (options.help) {
        std::fputs(rnx2rtcm::HelpText().c_str(), stdout);
        return rnx2rtcm::kDone;
    }
    try {
        return rnx2rtcm::Convert(options);
    } catch (const pppio::ReadError& e) {
        std::fprintf(stderr, "rnx2rtcm: %s\n", e.what());
        return e.line() == 0 ? rnx2rtcm::kBadInput : rnx2rtcm::kMalformed;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "rnx2rtcm: %s\n", e.what());
        return rnx2rtcm::kBadInput;
    }
}
