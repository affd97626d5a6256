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

// Satellite entry of the antenna table.
struct tagSATPCV {
    char cSys;
    int prn;
    tagPCVINFO pcv;
    char antenna[21];          // sensor name matched in the phase-centre file
    tagCRDCARTESIAN pco1;      // offsets in the satellite body frame x, y, z (m),
    tagCRDCARTESIAN pco2;      // first and second frequency
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
    // Bernese-format phase-centre file. A record handed in is zeroed or was
    // filled by these readers. The corrections write nothing (and return 0)
    // where the grid has no answer.
    int GetRecPCVFromBern(const char* file, const char* antenna, tagPCVINFO* info);
    int GetRecPCVFromBern(const char* file, const char* antenna);
    int GetRecPCOFromBern(const char* file, const char* antenna, tagCRDTOPOCENTRIC* pco1, tagCRDTOPOCENTRIC* pco2);
    int GetRecPCOFromBern(const char* file, const char* antenna);
    int GetPcvCorrection(tagPCVINFO* info, double azimuth, double zenith, double* pcv, char sys);
    int GetPcvCorrection(double azimuth, double zenith, double* pcv, char sys);
    int GetSatPcvCorrection(tagGNSSPRN prn, double azimuth, double zenith, double* pcv);
    // Satellite antennas: the table of satellites valid at t comes from the
    // satellite information file, their offsets and variations from the
    // phase-centre file.
    int GetSatPhaCenFromBern(const char* satInfoFile, const char* phaseFile, tagGPSTIME2 t);
    int GetSatPCVFromBern(const char* phaseFile);
    // Earth-fixed phase-centre offsets of a satellite at sat (m); the Sun
    // comes from the epoch or is given. The third form gives the
    // ionosphere-free combination of the two frequencies.
    int GetSatPhaseCenter(tagGNSSPRN prn, tagCOMMONTIME2 t, tagCRDCARTESIAN sat, tagCRDCARTESIAN* pc1,
                          tagCRDCARTESIAN* pc2);
    int GetSatPhaseCenter(tagGNSSPRN prn, tagCRDCARTESIAN sun, tagCRDCARTESIAN sat, tagCRDCARTESIAN* pc1,
                          tagCRDCARTESIAN* pc2);
    int GetSatPhaseCenter(tagGNSSPRN prn, tagCRDCARTESIAN sun, tagCRDCARTESIAN sat, tagCRDCARTESIAN* pcIF);
    // Body-frame offset turned Earth-fixed with the nominal attitude: z to the
    // Earth's centre, y = z x (sun - sat) normalised, x = y x z.
    int sat_Phase_center(tagCOMMONTIME2 t, tagCRDCARTESIAN sat, tagCRDCARTESIAN body, tagCRDCARTESIAN* ecef);
    int sat_Phase_center(tagCRDCARTESIAN sun, tagCRDCARTESIAN sat, tagCRDCARTESIAN body, tagCRDCARTESIAN* ecef);
    // Grids are released (DelPcvData) before a record's counts change.
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

    // The solid tide, the wind-up and the satellite attitude all ask for the
    // Sun (and the tide for the Moon) at the same instant of an epoch: the
    // last Earth rotation and the last Sun position are kept and reused for
    // the same arguments.
    struct EarthRotationCache {
        double tt, ut;
        double total[3][3];
        bool valid;
    };
    struct SunCache {
        int year, month, day;
        double hour;
        long double pos[3];
        bool valid;
    };
    EarthRotationCache m_rotationCache{};
    SunCache m_sunCache{};
};

// Saastamoinen slant delay; humidity as a fraction. Returns zhd + zwd.
double saastamoninen(double lat, double h, double zenith, double pres, double temp, double humi, double* zhd,
                     double* zwd);

#endif
