#include <gtest/gtest.h>

#include <string>

#include "rt/RtcmFramer.h"
#include "rt/RtcmStation.h"
#include "rt/RtcmTestFiles.h"

namespace ppprt {
namespace {

// Each message written from a full record and read into an empty one gives
// back its part of the record; a cut message leaves the record unchanged.
TEST(RtcmStation, MessagesRoundTrip)
{
    StationInfo info;
    info.station = 2047;
    info.itrfYear = 20;
    info.gps = info.galileo = info.singleOscillator = true;
    info.quarterCycle = 1;
    const double rovr[3] = {4649331.6995, 1029774.1231, -4229062.7567};
    for (int k = 0; k < 3; ++k)
        info.arp[k] = rovr[k];
    info.antennaHeight = 1.2345;
    info.antennaDescriptor = "LEIAR25.R4      LEIT";
    info.setupId = 3;
    info.antennaSerial = "725123";
    info.receiverType = "SEPT POLARX5";
    info.firmware = "5.4.0";
    info.receiverSerial = "3051234";
    for (int type : {1005, 1006, 1007, 1008, 1033}) {
        uint8_t payload[kRtcmMaxPayload];
        const size_t length = encodeStation(type, info, payload, sizeof(payload));
        ASSERT_GT(length, 0u) << type;
        StationInfo back;
        ASSERT_EQ(decodeStation(payload, length, back), StationStatus::kOk) << type;
        EXPECT_EQ(back.station, 2047);
        EXPECT_EQ(back.hasPosition, type <= 1006);
        EXPECT_EQ(back.hasHeight, type == 1006);
        EXPECT_EQ(back.hasAntenna, type >= 1007);
        EXPECT_EQ(back.hasReceiver, type == 1033);
        if (type <= 1006) {
            EXPECT_EQ(length, type == 1005 ? 19u : 21u);
            EXPECT_EQ(back.itrfYear, 20);
            EXPECT_TRUE(back.gps && back.galileo && !back.glonass && back.singleOscillator);
            EXPECT_EQ(back.quarterCycle, 1);
            for (int k = 0; k < 3; ++k)
                EXPECT_NEAR(back.arp[k], rovr[k], 1e-9);
            EXPECT_NEAR(back.antennaHeight, type == 1006 ? 1.2345 : 0.0, 1e-9);
        } else {
            EXPECT_EQ(back.antennaDescriptor, info.antennaDescriptor);
            EXPECT_EQ(back.setupId, 3);
            EXPECT_EQ(back.antennaSerial, type == 1007 ? "" : info.antennaSerial);
            EXPECT_EQ(back.firmware, type == 1033 ? info.firmware : "");
            EXPECT_EQ(back.receiverSerial, type == 1033 ? info.receiverSerial : "");
        }
        StationInfo untouched;
        EXPECT_EQ(decodeStation(payload, length - 1, untouched), StationStatus::kTruncated);
        EXPECT_FALSE(untouched.hasPosition || untouched.hasAntenna || untouched.station != 0);
    }
    info.receiverType = std::string(32, 'X');
    uint8_t payload[kRtcmMaxPayload];
    EXPECT_EQ(encodeStation(1033, info, payload, sizeof(payload)), 0u);
    info.arp[0] = 2e7;   // beyond the 38-bit field
    EXPECT_EQ(encodeStation(1005, info, payload, sizeof(payload)), 0u);
}

// The recorded GMSD7 station messages (1007, 1008, 1033): the receiver name.
TEST(RtcmStation, RecordedDescriptors)
{
    StationInfo info;
    int decoded = 0;
    for (const rtcmtest::Payload& p : rtcmtest::readPayloads("GMSD7_20121014_MSM7_excerpt.rtcm3"))
        if (decodeStation(p.data(), p.size(), info) == StationStatus::kOk)
            ++decoded;
    EXPECT_GE(decoded, 3);
    EXPECT_TRUE(info.hasAntenna && info.hasReceiver);
    EXPECT_EQ(info.station, 611);
    EXPECT_EQ(info.receiverType, "TRIMBLE NETR9");
}

}  // namespace
}  // namespace ppprt
