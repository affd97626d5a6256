// The per-site state of the float PPP filter, carried from epoch to epoch.
#ifndef PPPLIB_ENGINE_PROCINFOSITE_H
#define PPPLIB_ENGINE_PROCINFOSITE_H

struct PROCINFOSITE {
    double dTropState = 0.0;       // first troposphere element of the solution: zenith wet delay (m)
    double dZhdApriori = 0.0;      // a-priori zenith hydrostatic delay of the site (m)
    double dTropCofactor = 0.0;    // first troposphere element of the cofactor matrix
};

#endif
