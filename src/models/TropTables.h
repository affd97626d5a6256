// Published coefficient tables of the troposphere models (constant data,
// generated into TropTables.cpp by tools/gen_trop_tables.py).
#ifndef PPPLIB_MODELS_TROPTABLES_H
#define PPPLIB_MODELS_TROPTABLES_H

namespace trop_tables {

// Spherical-harmonic tables to degree and order 9: one entry per term
// (n, m) in the order (0,0) (1,0) (1,1) (2,0) ... (9,9). The a tables
// multiply P(n,m)(sin lat) cos(m lon), the b tables P(n,m)(sin lat) sin(m lon).
constexpr int kHarmonicDegree = 9;
constexpr int kHarmonicTerms = (kHarmonicDegree + 1) * (kHarmonicDegree + 2) / 2;

// Global Mapping Function (Boehm et al. 2006), units of 1e-5.
extern const double ah_mean[kHarmonicTerms];
extern const double bh_mean[kHarmonicTerms];
extern const double ah_amp[kHarmonicTerms];
extern const double bh_amp[kHarmonicTerms];
extern const double aw_mean[kHarmonicTerms];
extern const double bw_mean[kHarmonicTerms];
extern const double aw_amp[kHarmonicTerms];
extern const double bw_amp[kHarmonicTerms];

// Global Pressure and Temperature (Boehm et al. 2007): geoid undulation (m),
// pressure mean and annual amplitude (hPa), temperature mean and amplitude (C).
extern const double a_geoid[kHarmonicTerms];
extern const double b_geoid[kHarmonicTerms];
extern const double ap_mean[kHarmonicTerms];
extern const double bp_mean[kHarmonicTerms];
extern const double ap_amp[kHarmonicTerms];
extern const double bp_amp[kHarmonicTerms];
extern const double at_mean[kHarmonicTerms];
extern const double bt_mean[kHarmonicTerms];
extern const double at_amp[kHarmonicTerms];
extern const double bt_amp[kHarmonicTerms];

// Niell (1996) coefficients at one tabulated latitude; the wet function has
// no seasonal term.
struct NiellRow {
    double latitudeDeg;
    double hydroAverage[3];    // a, b, c
    double hydroAmplitude[3];  // a, b, c
    double wet[3];             // a, b, c
};
constexpr int kNiellRows = 5;  // 15, 30, 45, 60 and 75 degrees
extern const NiellRow niell_rows[kNiellRows];
// a, b, c of the hydrostatic height correction.
extern const double niell_height[3];

}  // namespace trop_tables

#endif
