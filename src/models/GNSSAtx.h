// Satellite antenna model: phase-centre offsets and the nadir-dependent
// phase-centre variations of one satellite antenna.
#ifndef PPPLIB_MODELS_GNSSATX_H
#define PPPLIB_MODELS_GNSSATX_H

#include "common/GNSSTimeConvert.h"

constexpr int SATPCV_NFREQ = 3;       // frequencies per antenna
constexpr int SATPCV_NNADIR = 19;     // nadir angles 0 to 18 degrees, 1 degree apart

struct t_satpcv {
    char cSys;                                // system letter
    int prn;                                  // number within the system
    char type[21];                            // antenna type
    tagGPSTIME2 validFrom;                    // week 0 and 0 s: valid since ever
    tagGPSTIME2 validUntil;                   // week 0 and 0 s: still valid
    double off[SATPCV_NFREQ][3];              // offsets in the satellite body frame x, y, z (m)
    double var[SATPCV_NFREQ][SATPCV_NNADIR];  // variations (m) by nadir angle
};

class CGNSSAtx {
public:
    // Variations of the three frequencies for the direction from the
    // satellite rs to the receiver rr (Earth-fixed, m). 0 and nothing written
    // when either position gives no direction.
    int satantpcv(double* rs, double* rr, t_satpcv* pcv, double* dant);
    // The same from the nadir angle (rad).
    void antmodel_s(const t_satpcv* pcv, double nadir, double* dant);
    // Linear interpolation in the 1-degree nadir table; ang is the nadir
    // angle in degrees times 5. Below the table var[0], beyond it var[18].
    double interpvar(double ang, const double* var);

    double dot(const double* a, const double* b, int n);
    double norm(const double* a, int n);
    // Unit vector of a into b; 0 (b untouched) for a zero vector.
    int normv3(const double* a, double* b);
};

#endif
