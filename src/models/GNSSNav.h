// Broadcast navigation record passed through the engine; the Klobuchar
// ionosphere model reads its header's coefficients.
#ifndef PPPLIB_MODELS_GNSSNAV_H
#define PPPLIB_MODELS_GNSSNAV_H

struct tagGMNHDR {
    double ionAlpha[4];   // alpha0..alpha3
    double ionBeta[4];    // beta0..beta3
};

struct tagGMN {
    tagGMNHDR hdr;
};

#endif
