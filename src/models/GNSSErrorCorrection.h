// Error models of precise positioning: troposphere, ionosphere, phase
// wind-up, solid earth tide with Sun and Moon, antenna phase centres.
#ifndef PPPLIB_MODELS_GNSSERRORCORRECTION_H
#define PPPLIB_MODELS_GNSSERRORCORRECTION_H

#include "common/GNSSCoordConvert.h"
#include "common/GNSSTimeConvert.h"
#include "common/gnsscmn.h"

struct tagGMNHDR;

// Surface meteorology: pressure (hPa), temperature (degrees C), humidity (%).
struct tagMETEODATA {
    double pressure;
    double temperature;
    double humidity;
};

// Phase-centre variation grid of one antenna (values in millimetres).
struct tagPCVINFO {
    char name[21];
    double azimuthStep;     // degrees
    double zenithStep;      // degrees
    double maxZenith;       // degrees
    int nAzimuth;           // Round(360 / azimuthStep) + 1, or 1 for a zenith-only model
    int nZenith;            // Round(maxZenith / zenithStep) + 1
    double** grid[4];       // [0], [1]: first and second frequency; [2], [3]: the same for GLONASS ('R')
};

// Satellite entry of the PCV table.
struct tagSATPCV {
    char cSys;
    int prn;
    tagPCVINFO pcv;
};

class CGNSSErrorCorrection {
public:
    CGNSSErrorCorrection();
    ~CGNSSErrorCorrection();
    CGNSSErrorCorrection(const CGNSSErrorCorrection&) = delete;
    CGNSSErrorCorrection& operator=(const CGNSSErrorCorrection&) = delete;

    // ---- troposphere
    int GetTropDelay(int model, tagCRDGEODETIC* pos, double zenith, tagMETEODATA* meteo, double* trop,
                     double* zhd, double* zwd);
    int GetGMF(int doy, double elev, tagCRDGEODETIC pos, double* gmfh, double* gmfw);
    int GetNiellMapFun(int doy, double elev, tagCRDGEODETIC pos, double* nmfh, double* nmfw);
    int GetVMF1(double ah, double aw, int doy, double elev, tagCRDGEODETIC pos, double* vmf1h, double* vmf1w);
    int GetGPT(double day, tagCRDGEODETIC pos, double* pres, double* temp, double* undu);
    int GetZPDFromTroFile(double* zpd, const char* file, const char* site);

    // ---- ionosphere (broadcast model; the global maps are in CGNSSIonex)
    double Klobuchar(tagGPSTIME2* t, tagCRDCARTESIAN rec, tagCRDCARTESIAN sat, tagGMNHDR* nav);

    // ---- phase wind-up and orbital frames
    int GetPhaseWindUp(double& wu, tagCOMMONTIME2 t, tagCRDCARTESIAN rec, tagCRDCARTESIAN sat);
    int PhaseWindUp(double& wu, tagCRDCARTESIAN rec, tagCRDCARTESIAN sat, tagCRDCARTESIAN sun);
    int CalPhaseWindUpK(tagCRDCARTESIAN a, tagCRDCARTESIAN b, double* k);
    int CalPhaseWindUpD(tagCRDCARTESIAN rec, double* k, double* d);
    int CalPhaseWindUpD1(tagCRDCARTESIAN sun, tagCRDCARTESIAN sat, double* k, double* d);
    int ECEF2RTN(tagCRDCARTESIAN pos, tagCRDCARTESIAN vel, tagCRDCARTESIAN* out);
    int ECEF2RTN(tagCRDCARTESIAN pos, tagCRDCARTESIAN vel, tagCRDCARTESIAN v, tagCRDCARTESIAN* out);
    int RTN2ECEF(tagCRDCARTESIAN pos, tagCRDCARTESIAN vel, tagCRDCARTESIAN v, tagCRDCARTESIAN* out);
    // The R, T, N unit vectors as the rows of a row-major 3x3 matrix.
    int RtnRows(tagCRDCARTESIAN pos, tagCRDCARTESIAN vel, double* rows);
    // Row-major matrices of doubles with explicit row and column counts.
    int MatrixMinus(const double* a, const double* b, double* out, int rows, int cols);
    int MatrixAdd(const double* a, const double* b, double* out, int rows, int cols);
    int MatrixAT(const double* a, double* out, int rows, int cols);
    int MatrixMulti(const double* a, const double* b, double* out, int rowsA, int colsA, int colsB);

    // ---- solid earth tide, Sun and Moon
    // Epochs are GPS calendar time; t below is in Julian centuries since J2000.0.
    int GetSolidTide(tagCOMMONTIME2 t, tagCRDCARTESIAN pos, long double* disp);
    int TIDE(long double* pos, long double* sun, long double* moon, long double* disp);
    int SPROD(long double* x, long double* y, long double* scal, long double* r1, long double* r2);
    int SUN(int year, int month, int day, double hour, long double* pos);
    int Moon(int year, int month, int day, double hour, long double* pos);
    double Julian(int year, int month, int day, double hour);
    int fjldy(int year, int month, int day, double hour, double* jd);
    // Greenwich apparent sidereal time (radians); t counts universal time.
    double S0(double t);
    // n: mean to true equator of date; out: dpsi, deps, mean obliquity (radians).
    int Nutation(double t, double (*n)[3], double* out);
    // p: mean equator of J2000.0 to mean equator of date (IAU 1976).
    int Precession(double t, double (*p)[3]);
    // p: mean ecliptic and equinox of date to mean equator of J2000.0.
    int PRAE(double t, long double (*p)[3]);
    // Angle in radians reduced to [0, 2 pi).
    double ARCMOD(double a);
    int DMLMTV(long double* v, long double (*m)[3], long double* out);
    int MultMatrix1(double (*m)[3], long double* v, long double* out);
    int ep2doy(const double* ep);
    // Stages of SUN and Moon. lbr: geocentric ecliptic longitude and latitude
    // (radians, mean ecliptic and equinox of date) and distance (metres).
    int SolarSeries(double t, double* lbr);
    int MONSTO(double t, double* lbr);
    int EclipticToJ2000(double t, const double* lbr, long double* pos);
    // tt, ut: the epoch in dynamical and universal time; polar motion neglected.
    int J2000ToEarthFixed(double tt, double ut, long double* in, long double* out);
    // SUN and Moon: one of the two series at a GPS calendar epoch, Earth-fixed.
    int SeriesToEarthFixed(int (CGNSSErrorCorrection::*series)(double, double*), int year, int month, int day,
                           double hour, long double* pos);
    // Position from FK4 (B1950.0) to FK5 (J2000.0), or back when toFK5 is false.
    int FK4FK5(const long double* in, long double* out, bool toFK5);

    // ---- antenna phase centres
    int GetRecPCVFromBern(const char* file, const char* antenna, tagPCVINFO* info);
    int GetRecPCVFromBern(const char* file, const char* antenna);
    int GetRecPCOFromBern(const char* file, const char* antenna, tagCRDTOPOCENTRIC* pco1, tagCRDTOPOCENTRIC* pco2);
    int GetRecPCOFromBern(const char* file, const char* antenna);
    int GetPcvCorrection(tagPCVINFO* info, double azimuth, double zenith, double* pcv, char sys);
    int GetPcvCorrection(double azimuth, double zenith, double* pcv, char sys);
    int GetSatPcvCorrection(tagGNSSPRN prn, double azimuth, double zenith, double* pcv);
    int NewPcvInfo(tagPCVINFO* info);
    void DelPcvData(tagPCVINFO* info);
    void DelSatPcvData();

    // The receiver antenna of this object, and the satellite antenna table.
    tagPCVINFO m_recPcv;
    tagCRDTOPOCENTRIC m_recPco1;
    tagCRDTOPOCENTRIC m_recPco2;
    tagSATPCV* m_satPcv;
    int m_nSatPcv;

private:
    CGNSSCoordConvert m_coord;
    CGNSSTimeConvert m_time;
};

// Saastamoinen slant delay; humidity as a fraction. Returns zhd + zwd.
double saastamoninen(double lat, double h, double zenith, double pres, double temp, double humi, double* zhd,
                     double* zwd);

#endif
