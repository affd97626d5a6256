// The solution record of one epoch, filled by the SPP, PPP and ambiguity
// stages and printed by the writers.
#ifndef PPPLIB_ENGINE_GNSSRESULT_H
#define PPPLIB_ENGINE_GNSSRESULT_H

#include <cstdint>

#include "common/GNSSTimeConvert.h"
#include "engine/GNSSEpoch.h"
#include "engine/PPPRecords.h"

// Residuals of one satellite of the solution.
struct tagRESONESAT {
    char cSys;
    int32_t prn;
    int32_t iprn;
    double dRes1;            // code residual in PPP (m)
    double dRes2;            // SPP residual; phase residual in PPP (m)
    double dElev;            // elevation (rad)
    double dStdRes;          // standardised residual (SPP); standardised phase residual x 100 (PPP)
    double dStdResCode;      // standardised code residual x 100 (PPP)
};

struct tagSPPONERESULT {
    // Every value starts at zero; the float-ambiguity export starts empty.
    tagSPPONERESULT() {}
    ~tagSPPONERESULT() {}

    tagCOMMONTIME tTime{};
    tagGPSTIME2 tGpsTime{};
    int32_t nSatNum{};         // satellites of the solution = valid residual entries
    int32_t nSysSat[4]{};      // per system G, R, E, C
    int32_t nSysCnt2[4]{};     // fixed wide-lanes per system (ambiguity resolution)
    int32_t nSysCnt3[4]{};     // fixed narrow-lanes per system (ambiguity resolution)
    double dRatio1{};          // first ambiguity validation figure
    double dRatio{};           // ratio of the fixed solution; > 0 only when fixed
    double dPos[3]{};          // X, Y, Z (m)
    double dBLH[3]{};          // latitude, longitude (rad), ellipsoidal height (m)
    double dZHD{};             // a-priori zenith hydrostatic delay (m)
    double dZWD{};             // estimated zenith wet delay (m)
    double dZTD{};             // their sum (m)
    double dClkVar{};          // variance of the receiver clock
    double dClkValue{};        // receiver clock value of the float PPP filter
    uint8_t bFixed{};          // ambiguities fixed this epoch
    double dVel[3]{};          // receiver velocity (m/s)
    double dNEU[3]{};          // north, east, up against the site's reference (m)
    double dClk[4]{};          // receiver clock per system G, R, E, C (s)
    uint8_t bValid{};          // 1: the PPP solution of this epoch is valid
    double dQ0{};              // position dilution of precision
    double dSigma0{};          // a posteriori standard deviation of unit weight
    double dQ2{};              // code a posteriori standard deviation of unit weight (PPP)
    double dStd[7]{};          // standard deviations of X, Y, Z and the clocks
    double dDx2{};             // squared length of the last position update (m^2)
    double dClkDrift{};        // receiver clock drift (s/s)
    tagRESONESAT res[MAXSATNUM]{};
    double dQual1{};           // printed in millimetres by WritePos
    double dQual2{};
    // What the driver keeps of the stages that succeeded this epoch.
    double dSppPos[3]{};
    int32_t nSppSat{};
    uint8_t bSppValid{};
    double dPppPos[3]{};
    int32_t nPppSat{};
    uint8_t bPppStored{};
    double dFixPos[3]{};
    int32_t nFixSat{};
    uint8_t bFixStored{};
    t_input_upds upds;       // float ambiguities exported in the UPD mode
};

#endif
