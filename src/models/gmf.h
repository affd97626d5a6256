// Global Mapping Function (Boehm et al. 2006) in the calling form of the
// translated routine: every argument by pointer, the epoch as a modified
// Julian date. The power helpers of that translated code live here as well.
#ifndef PPPLIB_MODELS_GMF_H
#define PPPLIB_MODELS_GMF_H

// Hydrostatic and wet factors at latitude and longitude (radians), height (m)
// and zenith distance (radians). Returns 0, as the translated routine does.
int gmf_(double* dmjd, double* dlat, double* dlon, double* dhgt, double* zd, double* gmfh, double* gmfw);

// base^exponent in integers; a negative exponent gives the truncated integer
// quotient (0 unless the base is 1 or -1; 0 for base 0 instead of a trap).
int pow_ii(int* base, int* exponent);
// base^exponent by repeated squaring; a negative exponent inverts the base.
double pow_di(double* base, int* exponent);
double pow_dd(double* base, double* exponent);

#endif
