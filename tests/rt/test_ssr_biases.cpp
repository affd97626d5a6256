#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>

#include "common/GNSSConst.h"
#include "io/GpsTime.h"
#include "rt/RtcmFramer.h"
#include "rt/RtcmSsr.h"
#include "rt/SsrBiases.h"
#include "rt/SsrSignals.h"

namespace ppprt {
namespace {

const tagGPSTIME2 kT{2111, 345600.0};
constexpr double kL1 = 1575.42e6, kL2 = 1227.60e6, kE5a = 1176.45e6;

double Wrapped(double cycles)
{
    return cycles - std::floor(cycles + 0.5);
}

// One satellite's bias messages (code biases zero on `codes`, phase biases
// on `phases`) through the RTCM encoder and decoder into `ssr`.
void SendBiases(SsrCorrections& ssr, char system, int prn, const char* const codes[2], const char* const phases[],
                const double phaseBias[], const tagGPSTIME2& t = kT, int phaseCount = 2)
{
    std::unique_ptr<SsrMessage> m(new SsrMessage());
    for (const bool phase : {false, true}) {
        m->type = phase ? SsrType::kPhaseBias : SsrType::kCodeBias;
        m->messageNumber = system == 'G' ? (phase ? 1265 : 1059) : (phase ? 1267 : 1242);
        m->header = SsrHeader();
        m->header.system = system;
        m->header.time = t;
        m->header.iodSsr = 1;
        m->satelliteCount = 1;
        SsrSatellite& s = m->satellites[0];
        s = SsrSatellite();
        s.prn = prn;
        for (int k = 0; k < (phase ? phaseCount : 2); ++k) {
            SsrSignalBias& b = phase ? s.phaseBias[s.phaseBiasCount++] : s.codeBias[s.codeBiasCount++];
            b.signal = ssrSignalId(system, phase ? phases[k] : codes[k]);
            b.bias = phase ? phaseBias[k] : 0.0;
            b.integer = phase;
        }
        uint8_t payload[kRtcmMaxPayload];
        const size_t length = encodeSsr(*m, payload, sizeof payload);
        ASSERT_GT(length, 0u);
        std::unique_ptr<SsrMessage> decoded(new SsrMessage());
        ASSERT_EQ(decodeSsr(payload, length, t, *decoded), SsrStatus::kOk);
        ssr.add(*decoded);
    }
}

// An epoch of one satellite tracking the codes `code1`/`code2`.
std::unique_ptr<tagGPSOBSONEEPO> Epoch(char system, int iprn, const char* code1, const char* code2, double f2)
{
    std::unique_ptr<tagGPSOBSONEEPO> e(new tagGPSOBSONEEPO());
    std::memset(e.get(), 0, sizeof(tagGPSOBSONEEPO));
    e->nSatNum = 1;
    tagOBSONESAT& s = e->sat[0];
    s.cSys = system;
    s.iprn = iprn;
    s.prn = system == 'G' ? iprn : iprn - 59;
    std::strcpy(s.obsHead.code1, code1);
    std::strcpy(s.obsHead.code2, code2);
    s.dF1 = kL1;
    s.dF2 = f2;
    s.dP1 = s.dP2 = 2.0e7;
    return e;
}

const char* const kGpsCodes[2] = {"C1W", "C2W"};
const char* const kGpsPhases[2] = {"L1C", "L2W"};

// UPDs -> SSR phase biases (rnx2rtcm) -> RTCM message -> UPDs (ppprun): the
// wide lane comes back wrapped, the narrow lane moved by f2/(f1 - f2) per
// wrapped wide-lane cycle and wrapped, within the 0.1 mm resolution of the
// message.
TEST(SsrBiases, UpdsSurviveTheStreamWrappedAsPublished)
{
    struct Case {
        char system;
        double f2, wl, nl;
    } const cases[] = {
        {'G', kL2, 0.12, -0.34}, {'G', kL2, -0.49, 0.49}, {'G', kL2, 1.30, -2.70},
        {'G', kL2, -2.45, 0.05}, {'E', kE5a, 0.31, 0.42},  {'E', kE5a, -1.20, 3.10},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.system << " wl " << c.wl << " nl " << c.nl);
        const int iprn = c.system == 'G' ? 7 : 59 + 11;
        const char* const galCodes[2] = {"C1C", "C5Q"};
        const char* const galPhases[2] = {"L1C", "L5Q"};
        double bias[2];
        phaseBiasesFromUpd(c.wl, c.nl, kL1, c.f2, bias[0], bias[1]);
        SsrCorrections ssr;
        SendBiases(ssr, c.system, c.system == 'G' ? 7 : 11, c.system == 'G' ? kGpsCodes : galCodes,
                   c.system == 'G' ? kGpsPhases : galPhases, bias);
        SsrBiases biases(ssr);
        auto epoch = c.system == 'G' ? Epoch('G', iprn, "C1W", "C2W", c.f2) : Epoch('E', iprn, "C1C", "C5Q", c.f2);
        biases.correctCodes(kT, *epoch);
        const t_upd& u = biases.fillUpds(kT, *epoch)[iprn - 1];
        ASSERT_EQ(u.valid, 1);
        const double k = std::floor(c.wl + 0.5);
        EXPECT_NEAR(u.wl, c.wl - k, 5e-4);
        EXPECT_NEAR(Wrapped(u.nl - (c.nl - c.f2 / (kL1 - c.f2) * k)), 0.0, 2e-3);
        EXPECT_LT(std::fabs(u.nl), 0.5 + 1e-9);
        EXPECT_GE(u.wl_num, 2);
        EXPECT_GE(u.nl_num, 2);
    }
}

// The SSR sign: a bias b (m) added to the phase is an OSB of -b/c. With
// OSB(L1C) = 0.3 ns and OSB(L2W) = -0.7 ns (the hand-computed case of the
// Bias-SINEX path: W' = -0.331946, NL' = 0.3557998824 cycles) the stream
// must give the same UPDs (phaseBiasesFromUpd, the way back, is pinned by
// the round trip above).
TEST(SsrBiases, SignAgreesWithBiasSinex)
{
    const double bias[2] = {-0.3e-9 * _LIGHT_SPEED, 0.7e-9 * _LIGHT_SPEED};
    SsrCorrections ssr;
    SendBiases(ssr, 'G', 1, kGpsCodes, kGpsPhases, bias);
    SsrBiases biases(ssr);
    auto epoch = Epoch('G', 1, "C1W", "C2W", kL2);
    biases.correctCodes(kT, *epoch);
    const t_upd& u = biases.fillUpds(kT, *epoch)[0];
    ASSERT_EQ(u.valid, 1);
    EXPECT_NEAR(u.wl, -0.331946, 5e-4);
    EXPECT_NEAR(u.nl, 0.3557998824, 2e-3);
}

// No UPD without a corrected code pair, with stale phase biases or with one
// carrier's phase bias missing; the phase bias of the preferred phase
// signal (L1C for GPS) wins over another signal of the band.
TEST(SsrBiases, GatesAndSignalChoice)
{
    const double bias[2] = {0.05, -0.02};
    struct Case {
        const char* name;
        const char* codes[2];
        const char* phases[2];
        double ageSeconds;
        bool expectUpd;
    } const cases[] = {
        {"complete", {"C1W", "C2W"}, {"L1C", "L2W"}, 10.0, true},
        {"other band signals", {"C1W", "C2W"}, {"L1W", "L2L"}, 10.0, true},
        {"code C2W missing", {"C1W", "C2L"}, {"L1C", "L2W"}, 10.0, false},
        {"phase L2 missing", {"C1W", "C2W"}, {"L1C", "L1W"}, 10.0, false},
        {"stale", {"C1W", "C2W"}, {"L1C", "L2W"}, 1000.0, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SsrCorrections ssr;
        SendBiases(ssr, 'G', 3, c.codes, c.phases, bias, pppio::shiftedTime(kT, -c.ageSeconds));
        SsrBiases biases(ssr);
        auto epoch = Epoch('G', 3, "C1W", "C2W", kL2);
        biases.correctCodes(kT, *epoch);
        EXPECT_EQ(biases.fillUpds(kT, *epoch)[2].valid, c.expectUpd ? 1 : 0);
    }

    // L1W listed before L1C and 0.1 cycle off: the L1C bias is used.
    double truth[2];
    phaseBiasesFromUpd(0.2, 0.1, kL1, kL2, truth[0], truth[1]);
    const char* const phases[3] = {"L1W", "L1C", "L2W"};
    const double three[3] = {truth[0] + 0.1 * _LIGHT_SPEED / kL1, truth[0], truth[1]};
    SsrCorrections ssr;
    SendBiases(ssr, 'G', 4, kGpsCodes, phases, three, kT, 3);
    SsrBiases biases(ssr);
    auto epoch = Epoch('G', 4, "C1W", "C2W", kL2);
    biases.correctCodes(kT, *epoch);
    const t_upd& u = biases.fillUpds(kT, *epoch)[3];
    ASSERT_EQ(u.valid, 1);
    EXPECT_NEAR(u.wl, 0.2, 5e-4);
}

}  // namespace
}  // namespace ppprt
