// Records the host fills and lends to the library: configuration, site and
// one epoch of one station, plus the optional UPD and augmentation inputs and
// the float-ambiguity export record.
#ifndef PPPLIB_ENGINE_PPPRECORDS_H
#define PPPLIB_ENGINE_PPPRECORDS_H

#include <cstdint>

#include "common/GNSSCoordConvert.h"
#include "common/GNSSTimeConvert.h"
#include "engine/ObsWeight.h"

struct tagGPSOBSONEEPO;
struct tagGPSOBSSMOOTH;
struct tagSPPONERESULT;
struct tagGMSP3REC;

// Processing modes, the values of t_conf.mode. Up to kModeAr each runs the
// stages of the one before and one more; kModeArLog and kModeArAug run those
// of kModeAr with other output files; kModePppRtk corrects the observations
// and runs no float PPP stage. Any value below kModeFloat is single point
// positioning; one above kModePppRtk runs ambiguity resolution, then PPP-RTK.
enum : int32_t {
    kModeSpp = 1,         // single point positioning
    kModeFloat = 2,       // float PPP
    kModeUpdExport = 3,   // float PPP and the float ambiguities for UPD estimation
    kModeAr = 4,          // PPP with ambiguity resolution (and the ".ion" and ".ppprtk" files)
    kModeArLog = 5,       // the same, with the per-epoch ".amb" log
    kModeArAug = 6,       // the same, with the ".aug" and ".augpara" files
    kModePppRtk = 7,      // PPP-RTK: observations corrected by augmentation records
};

// Processing configuration, owned by the host.
struct t_conf {
    uint8_t ppp_enable;      // stages after SPP run only when exactly 1
    double pppos_value;      // troposphere process noise of the PPP filter; 0 = piecewise-constant troposphere
    double elev_mask;        // elevation cut-off (degrees)
    double interval;         // sampling interval of the epochs (s); 0 is rejected
    double reset_hours;      // period of the periodic restart (h); 0 = never
    uint8_t use_epoch_value; // with product_source 3, each epoch may override pppos_value
    int32_t product_source;  // 1 rtp, 2 rix, 3 sp3, 4 pst, 5 epo, 6 lib, other ukn
    int32_t mode;            // processing mode, kModeSpp ... kModePppRtk, or above
    int32_t pos_mode;        // dynamics: 1 fixed, 2 static, 3 kinematic, 4 dynamic, other unknown
    ObsWeight weight;        // first five reals normalised in place by the facade
    char res_dir[1024];      // result directory; empty = no result files
    char ztd_dir[1024];      // COST-716 directory; empty = no ZTD files
    char site_name[1024];    // name stem of the result files
    uint8_t out_debug;       // outlier, slip and scratch logs
    uint8_t out_amb;         // ambiguity logs
    uint8_t out_res;         // residual files
    uint8_t append;          // open result files with "a+" instead of "wb"
};

// Whether the periodic restart of smoothing and filter (t_conf.reset_hours)
// falls on the epoch at these seconds of week: at every whole period of the
// week, and never in kModeUpdExport and kModeArAug.
bool PeriodicRestartDue(const t_conf& conf, double secondsOfWeek);

// One receiver site, owned by the host.
struct tagSITE {
    char name[64];               // the first four characters are the site identifier
    tagCRDCARTESIAN crd;         // a-priori / reference coordinates (m)
    tagCRDGEODETIC blh;          // the same as longitude, latitude (rad), height (m)
    char text_a[21];             // station description printed in the ZTD header
    char text_b[21];
    double height_ref;           // last number of the ZTD header's coordinate line
    // Receiver antenna: mean phase-centre offsets (north, east, up; m) from the
    // marker, antenna height included, for the two frequencies; GLONASS has its own pair.
    tagCRDTOPOCENTRIC pco[2];
    tagCRDTOPOCENTRIC pcoGlo[2];
    uint8_t hasPco;              // 1: use the offsets above
};

// One epoch of one station, filled anew by the host for each call.
struct tagOBSONEEPOONESTA {
    int32_t stationIndex;        // host bookkeeping, not read by the library
    int32_t epochIndex;          // host bookkeeping, not read by the library
    tagGPSOBSONEEPO* epoch;      // the observations
    tagGPSOBSSMOOTH* smooth;     // smoothing and slip-detection store kept between epochs
    tagSPPONERESULT* result;     // the solution record that the stages fill
    tagGMSP3REC* orbit;          // satellite orbits and clocks of this epoch
};

// Uncalibrated phase delays of one satellite. The host passes an array of
// 124 entries, one per packed satellite index (entry iprn - 1).
struct t_upd {
    uint8_t valid;
    int32_t week;
    double sow;
    double reserved[2];
    double wl;                   // wide-lane UPD (cycles)
    double wlSigma;
    int32_t wl_num;
    double nl;                   // narrow-lane UPD (cycles)
    double nlSigma;
    int32_t nl_num;
};

// Augmentation correction of one satellite. The host passes an array of 124
// entries, one per packed satellite index (entry iprn - 1).
struct t_aug {
    t_aug();
    uint8_t valid;
    int32_t week;
    double sow;
    double reserved[6];
    double corr_l1;              // m
    double corr_l2;              // m
    double reserved2;
    double corr_p1;              // m
    double corr_p2;              // m
    double reserved3;
};

// One exported float ambiguity for UPD estimation; 9999.99 means no value.
struct t_input_upd {
    t_input_upd();
    uint8_t valid;
    char sys;
    int32_t prn;
    int32_t iprn;
    int32_t lock;
    double param;
    double mw;
    double amb;
    double mw_sig;
    double amb_sig;
};

// Float ambiguities of one epoch, slots per system (number - 1).
struct t_input_upds {
    tagGPSTIME2 time;
    char site[5];
    t_input_upd gps[32];
    t_input_upd glo[27];
    t_input_upd gal[30];
    t_input_upd bds[35];
};

// Ambiguity-resolution bookkeeping of one satellite; -1 = unset.
struct t_pppar_info {
    t_pppar_info() : first(-1), second(-1) {}
    int32_t first;
    int32_t second;
};

#endif
