// The positioning engine of one site: single point positioning, observation
// preparation and slip detection, the float PPP filter and ambiguity
// resolution, and the writers of their results.
#ifndef PPPLIB_ENGINE_GNSSSPP_H
#define PPPLIB_ENGINE_GNSSSPP_H

#include <cstdint>
#include <cstdio>
#include <deque>
#include <vector>

#include "common/GNSSCoordConvert.h"
#include "common/GNSSTimeConvert.h"
#include "common/gnsscmn.h"
#include "engine/AmbiguityState.h"
#include "engine/GNSSEpoch.h"
#include "engine/GNSSResult.h"
#include "engine/ObsWeight.h"
#include "engine/PPPRecords.h"
#include "math/TMatrix.h"
#include "models/GNSSErrorCorrection.h"
#include "models/GNSSNav.h"

struct PROCINFOSITE;
struct SmallLsq;

// Surface meteorology handed through to the error models (unused: the PPP
// model takes the standard atmosphere).
struct tagAtmosphere {
    tagMETEODATA meteo;
    uint8_t measured;
};

// Ionosphere record of the engine's queue (kept for the interface; unused).
struct t_ion {
    tagGPSTIME2 time;
    int32_t iprn;
    double value;
};

// Run-time settings of the engine, in construction order, with their defaults.
// The driver sets the interval, the cut-off and its own defaults after
// construction; a host changes the PPP model's switches and the ambiguity
// resolution settings through t_ppplib::setModelSettings.
struct tagENGINESETTINGS {
    double dInterval = 1.0;          // sampling interval (s); the driver copies t_conf.interval
    int32_t nUpdMinCount = 1;        // minimum UPD quality count for ambiguity resolution (driver: 2)
    int32_t nEpochNumber = 0;        // epochs processed, printed in the ambiguity log
    double reserved1[2] = {};
    double dCodeWeightRatio = 1.0;   // reserved weighting setting
    int32_t nPPPEpochs = 0;          // float PPP epochs since start, gates ambiguity resolution
    double dRatioThres = 2.0;        // ratio threshold of the narrow-lane fixing
    // Physical corrections of the PPP model and filter switches (0 = off).
    uint8_t bSolidTide = 0;
    uint8_t bWindUp = 0;
    uint8_t bRecAntenna = 0;
    uint8_t bSatAntenna = 0;
    uint8_t bHoldAmb = 0;            // hold fixed ambiguities between epochs
    uint8_t bReserved1 = 0;
    uint8_t bReserved2 = 0;
    uint8_t bExtraPar = 0;           // estimate three further unknowns instead of one
    double dTropPieceHours = 24.0;   // piece length of the piecewise-constant troposphere (h)
    double reserved2[2] = {};
    int32_t nArCount = 0;            // epochs of ambiguity resolution since the last reset
    double dStaticPos[3] = {};       // stored static position
    uint8_t bStaticPosValid = 0;
    double dOutputModulus = 900.0;   // modulus of the periodic result hook
    int32_t nHoldCount = 0;          // consecutive epochs in which holding succeeded
    double reserved3[2] = {};
    int32_t reserved4 = 0;
    int32_t reserved5 = 0;
};

class CGNSSSPP {
public:
    CGNSSSPP(std::vector<char> systems, tagSITE* site, t_conf* conf);
    ~CGNSSSPP();
    CGNSSSPP(const CGNSSSPP&) = delete;
    CGNSSSPP& operator=(const CGNSSSPP&) = delete;

    // ---- observation combinations, smoothing and slip detection
    int get_obs_cmb(tagGPSOBSONEEPO* epo);
    int update_epoch(tagGPSOBSSMOOTH** pair, tagGPSOBSONEEPO* cur);
    int slip_detect(tagGPSOBSSMOOTH* pair, tagGMSP3REC* orbits, tagCRDCARTESIAN rec, bool logOn, bool logEpo,
                    FILE* log);
    int UpdateGPSObsWithSmooth(tagGPSOBSONEEPO* epo, tagGPSOBSSMOOTH* pair);

    // ---- single point positioning
    int SPPOneEpoch(tagGPSOBSONEEPO* epo, tagGMN* nav, tagGMSP3REC* orb, tagSPPONERESULT** res, bool logOn,
                    bool logEpo, FILE* log, tagCRDCARTESIAN* outl);
    bool SPPOneEpochOneIteraAppro(tagGPSOBSONEEPO* epo, tagGMN* nav, tagGMSP3REC* orb, tagSPPONERESULT* res,
                                  bool single);
    bool SPPOneEpochOneIteraPrecise(tagGPSOBSONEEPO* epo, tagGMN* nav, tagGMSP3REC* orb, tagSPPONERESULT* res);
    int SPPOutlierDetection(tagGPSOBSONEEPO* epo, tagSPPONERESULT* res, int stage, bool logOn, bool logEpo,
                            FILE* log);
    void GetMaxResidual(int* idx, double* val, tagSPPONERESULT* res);
    int GetMaxStdResidual(tagSPPONERESULT* res);
    bool NoEnoughHealthySats(tagGPSOBSONEEPO* epo);
    bool NoEnoughUsedSats(tagGPSOBSONEEPO* epo);
    bool NoOverUsedSats(tagGPSOBSONEEPO* epo);

    // ---- writers
    int WritePos(FILE* fp, tagSPPONERESULT* res);
    int WritePos_rtklib(FILE* fp, tagSPPONERESULT* res, int mode);
    int WriteNsat(FILE* fp, tagSPPONERESULT* res);
    int WriteNEU(FILE* fp, tagSPPONERESULT* res, tagCRDTOPOCENTRIC neu);
    int WriteSPPResNEURT(FILE* fp, tagSPPONERESULT* res, tagCRDTOPOCENTRIC neu);
    int WritePPPResNEURT(FILE* fp, tagSPPONERESULT* res, tagCRDTOPOCENTRIC neu);
    int WritePPPResultRT(FILE* fp, tagSPPONERESULT* res);
    int WritePPPResidualRT(FILE* codeFile, FILE* phaseFile, tagSPPONERESULT* res);
    int WriteMW_GF(FILE* a, FILE* b, FILE* c, FILE* d, tagGPSOBSONEEPO* epo);
    int WriteZTD(FILE* fp, tagCOMMONTIME* t, tagGPSTIME2* gt, PROCINFOSITE* site, bool cost);

    // ---- float PPP: normal equations, model, epoch solution, outliers
    using Matrix = math::matrix<double>;
    int UpdateMatrix_NY_UY(Matrix& NYacc, Matrix& UYacc, Matrix N, Matrix U, const Matrix& targetList,
                           Matrix currentList, Matrix& spare);
    int UpdateNY_UY_Pre_Tro(Matrix& NY, Matrix& UY, const Matrix& ambList, double dt);
    void Clear_NY_UY_Keep(int, int);
    int GenPPPKinLSM_A_B_P_L_RT(Matrix& A1, Matrix& A2, Matrix& satList, Matrix* P, Matrix& L, Matrix& byProducts,
                                tagSPPONERESULT* apriori, tagGPSOBSONEEPO* epo, tagGMSP3REC* orb, tagGMN* nav,
                                double* trop, tagSITE* site, tagAtmosphere* atm);
    int PrefitResiduals(tagGPSOBSONEEPO* epo, bool log, bool logPre, FILE* fp);
    int PPPOneEpoch(tagGPSOBSONEEPO* epo, tagGMSP3REC* orb, tagGMN* nav, tagSPPONERESULT* result, tagSITE* site,
                    PROCINFOSITE* ps, bool log, bool logPre, FILE* fp);
    int PPPOutlierDetection_test(tagGPSOBSONEEPO* epoch, tagSPPONERESULT* result, PROCINFOSITE* site, bool log,
                                 bool logPre, FILE* deletionLog, FILE* residualLog);
    void GetMaxResidual_test(int* phaseIndex, int* codeIndex, double* maxStdPhase, double* codeResidualAtMaxStdCode,
                             tagSPPONERESULT* result);
    void GetMaxStdResidualPPP(int* first, int* second, tagSPPONERESULT* result);
    int DeletePPPOutlier(tagGPSOBSONEEPO* epoch, tagSPPONERESULT* result, PROCINFOSITE* site, int epochIndex,
                         int resultIndex, bool log, bool logPre, FILE* fp, int kind);

    // ---- ambiguity resolution (UPD matrices: row 0 value in cycles, row 1 quality count)
    int PPPAROneEpoch(PROCINFOSITE* site, tagGPSOBSONEEPO* epo, tagSPPONERESULT* result, const Matrix& updWl,
                      const Matrix& updNl);
    int ApplyUPDsOneSite(PROCINFOSITE* site, tagGPSOBSONEEPO* epo);
    int GetDatumUPD(PROCINFOSITE* site, const Matrix& updWl, const Matrix& updNl, int minCount, char sys);
    int AdjustDatumSat(const Matrix& updWl, const Matrix& updNl, PROCINFOSITE* site);
    int PPPFixAmb(const Matrix& updWl, const Matrix& updNl, PROCINFOSITE* site, tagGPSOBSONEEPO* epo,
                  tagSPPONERESULT* result);
    // Full-set search: ratio s1/s0 (0 when the search fails, at most 999) and
    // the rounded best integers; the bootstrapped success rate of Q comes
    // back through the last argument (null: not wanted).
    int FixAmb(const Matrix& floats, const Matrix& Q, double* ratio, long* fixed, double* successRate);
    // Leave-one-out search: the fix with the strictly greatest ratio that
    // passes the threshold, _AR_LEFT_OUT at the left-out position (-1 none).
    int PartialFixAmb(const Matrix& floats, const Matrix& Q, double* bestRatio, Matrix& fixed, int* leftOut,
                      double* successRate);
    // Values in sorted order back into list order: out[order[k]] = in[k].
    static void RecoverOrderAmb(const std::vector<int>& order, const long* in, long* out, int n);
    static void RecoverOrderAmb(const std::vector<int>& order, const Matrix& in, Matrix& out);
    // The fixed satellites' ionosphere-free ambiguities (narrow-lane integer
    // and UPD, wide-lane integer) as constraints of weight 10000 on the
    // carried normal equations (the held ones when holding was applied),
    // and the constrained solution.
    int FixedAmb2NEQ(const std::vector<int>& sats, PROCINFOSITE* site, Matrix& Xfixed, Matrix& Qfixed);
    int GenHoldAmb(PROCINFOSITE* site);
    bool HoldAmb2NEQ(PROCINFOSITE* site);

    // ---- state
    t_conf* m_conf;
    std::vector<char> m_sys;          // systems of this epoch; the first is the reference system
    std::vector<char> m_sysOther;     // the systems after the first
    tagGPSOBSONEEPO* m_prevEpo;       // the previous epoch (owned)
    int32_t m_satFlag[MAXSATNUM];
    double m_timeGap;                 // seconds since the previous epoch; -999.0 without one
    t_pppar_info m_arInfo[MAXSATNUM];
    t_aug m_aug[MAXSATNUM];
    std::deque<t_ion> m_ion;
    std::vector<int> m_idx1;
    std::vector<int> m_idx2;
    int32_t m_nReserved;
    tagSITE* m_site;
    ObsWeight m_weight;
    double m_f1[MAXSATNUM];           // carrier frequencies per satellite (Hz)
    double m_f2[MAXSATNUM];
    double m_satVal[MAXSATNUM];       // previous wind-up per satellite (cycles)
    int32_t m_nSysOther;
    int32_t m_nExtraPar;              // unknowns of the PPP stages beyond position and clocks
    CGNSSTimeConvert m_timeConvert;
    CGNSSCoordConvert m_coordConvert;
    CGNSSErrorCorrection m_errorCorrection;
    double m_elevCutoff;              // elevation cut-off (degrees), 7.0 at construction
    int32_t m_singleFreq;             // 1: SPP uses raw code instead of the ionosphere-free code
    tagENGINESETTINGS m_set;
    std::vector<int> m_slipSats;      // satellites whose arc the slip tests restarted this epoch
    FILE* m_fpWL;                     // ambiguity logs (owned by the driver's file management)
    FILE* m_fpAmbWL;
    FILE* m_fpAmbNL;
    // Troposphere output of the PPP model: [0] ZHD, [1] a-priori ZWD, [2] their
    // sum, [127 + iprn] hydrostatic and [251 + iprn] wet mapping factors.
    double m_tropOut[128 + 2 * MAXSATNUM];
    // Ambiguity resolution of the site: per-satellite records, reference
    // satellites, fixed and held ambiguities.
    tagARSTATE m_ar;

private:
    int systemColumn(char sys) const;  // clock column of a system in the SPP unknowns, -1 if absent
    // Single point positioning helpers.
    int SppUnknownCount() const;       // X, Y, Z and one clock per system present
    bool CountBelowSystems(int32_t count, int32_t extra) const;   // count < systems + extra, unsigned
    void DropUnusableSats(tagGPSOBSONEEPO* epo, const tagGMSP3REC* orb);
    bool SppSolveAndStore(tagGPSOBSONEEPO* epo, tagSPPONERESULT* res, SmallLsq& lsq, const int* rowSat);
    void SppSolveVelocity(SmallLsq& doppler, tagSPPONERESULT* res);
    void StoreGeodetic(tagSPPONERESULT* res);
    // Float PPP helpers.
    int CarriedNonAmbiguityCount() const;   // troposphere (+ static coordinates)
    void ResetFilter(PROCINFOSITE* ps);
    bool AprioriPosition(tagSPPONERESULT* result, tagSITE* site, double pos[3]);
    void StorePPPSolution(tagGPSOBSONEEPO* epo, tagSPPONERESULT* result, PROCINFOSITE* ps, bool staticMode);
    // Position and receiver clocks of the epoch from a solution X of the
    // carried parameters; the epoch parameters' solution is returned in dX.
    void BackSubstitute(const Matrix& X, PROCINFOSITE* ps, tagSPPONERESULT* result, Matrix& dX);
    // Epoch parameters (position, clocks) for a solution X of the carried ones.
    Matrix EpochParameters(const Matrix& X, const PROCINFOSITE* ps) const;
    // The model of satellite i's observations of the last epoch, without ambiguity.
    double ModelledObservation(const Matrix& X, const Matrix& dX, const PROCINFOSITE* ps, int i) const;
    // Ambiguity resolution helpers.
    int AmbiguityStateIndex(int column) const;   // state index of an ambiguity column
    int FixNarrowLanes(PROCINFOSITE* ps, tagSPPONERESULT* result);
    // Single differences of the system's satellites against a reference, which becomes zero.
    void DifferenceAgainst(const PROCINFOSITE* ps, int refIprn);
    bool AcceptFixedSolution(PROCINFOSITE* ps, tagSPPONERESULT* result, const std::vector<int>& sats);
    static double FixedAmbiguity(const tagARSAT& a);   // single-difference ionosphere-free value (m)
    // The epoch's candidate set against the previous epoch's (same satellites, same values).
    bool AgreesWithPrevious(const std::vector<int>& sats, const std::vector<double>& values) const;
    void NarrowLaneProblem(const Matrix& X, const Matrix& Q, const std::vector<int>& sats, Matrix& floats,
                           Matrix& cofactor) const;
    void WriteWideLaneLine(const tagARSAT& a, const tagARSAT* ref, char sys, int prn, int refIprn, double updWl);
};

#endif
