// Global Pressure and Temperature (Boehm et al. 2007) in the calling form of
// the translated routine: every argument by pointer, the epoch as a modified
// Julian date.
#ifndef PPPLIB_MODELS_GPT_H
#define PPPLIB_MODELS_GPT_H

// Pressure (hPa) and temperature (degrees C) at latitude and longitude
// (radians) and ellipsoidal height (m), and the geoid undulation (m).
// Returns 0, as the translated routine does.
int gpt_(double* dmjd, double* dlat, double* dlon, double* dhgt, double* pres, double* temp, double* undu);

#endif
