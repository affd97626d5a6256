// The per-site state of the float PPP filter, carried from epoch to epoch in
// normal-equation (information) form.
#ifndef PPPLIB_ENGINE_PROCINFOSITE_H
#define PPPLIB_ENGINE_PROCINFOSITE_H

#include <cstdint>

#include "common/GNSSTimeConvert.h"
#include "engine/GNSSResult.h"
#include "math/TMatrix.h"

struct PROCINFOSITE {
    // The last epoch's model, kept for ambiguity resolution and roll-back.
    math::matrix<double> A1;          // epoch design block (position and clocks)
    math::matrix<double> A2;          // carried design block (troposphere, static coordinates)
    math::matrix<double> P[2];        // phase and code weight rows
    math::matrix<double> L;           // observed-minus-computed, code and phase per satellite
    math::matrix<double> satList;     // 2 x m: satellite index, elevation
    math::matrix<double> byProducts;  // narrow-lane/wide-lane and single-frequency OMC pairs
    tagSPPONERESULT lastResult;       // the last accepted solution record

    math::matrix<double> newParaList; // identifiers of the current epoch's carried parameters
    math::matrix<double> Qxx;         // cofactor of the carried parameters: inverse of NY
    math::matrix<double> X;           // solution of the carried parameters: Qxx UY
    // Blocks of the last elimination of the epoch parameters, for the back-substitution.
    math::matrix<double> Q11;         // inverse of the eliminated block
    math::matrix<double> U1;          // its right-hand side
    math::matrix<double> N12;         // coupling block
    math::matrix<double> NY;          // accumulated normal matrix of the carried parameters
    math::matrix<double> UY;          // accumulated right-hand side
    // Copies taken before an epoch's update, so that an epoch can be repeated.
    math::matrix<double> NY_bak;
    math::matrix<double> UY_bak;
    math::matrix<double> paraList_bak;
    math::matrix<double> ambList_bak;
    math::matrix<double> paraList;    // identifiers of the carried parameters, in column order of NY
    math::matrix<double> ambList;     // 2 x m: satellite index and elevation of each carried ambiguity
    int32_t epochCount;               // PPP epochs accumulated since the last start or reset
    int32_t epochCount_bak;
    int32_t nextId;                   // next parameter identifier to hand out
    int32_t nextId_bak;
    tagGPSTIME2 lastTime;             // time of the last accumulated epoch

    // Troposphere of the last epoch.
    double dZHD;                      // a-priori zenith hydrostatic delay (m)
    double dZWD0;                     // a-priori zenith wet delay (m)
    // Receiver clocks of the single point solution, restored on a roll-back.
    double dSavedClk[4];
    double dAprioriPos[3];
    double dClkBase;                  // receiver clock base added to the clock state

    // Ambiguity resolution.
    uint8_t bFixedEpoch;              // fixed in this epoch
    double dRatio;                    // ratio of the accepted search
    double dArValue;                  // real statistic of the last fixing attempt
    int32_t nArValue;                 // integer statistic of the last fixing attempt
    int32_t nConsecutiveFix;
    int32_t nLastFixed;               // -1 when never fixed
    int32_t datumSat[4];              // reference satellite per system G, R, E, C; -1 none
    int32_t datumSatPrev[4];
    math::matrix<double> NY_hold;     // normal equations constrained by held ambiguities
    math::matrix<double> UY_hold;

    PROCINFOSITE();
    // Copies of the counters, lists and normal equations taken before an
    // epoch's update, and the roll-back to them.
    void SaveBackup();
    void RestoreBackup();
};

#endif
