// Named constants shared by every module of the library.
#ifndef PPPLIB_COMMON_GNSSCONST_H
#define PPPLIB_COMMON_GNSSCONST_H

// Physics and the WGS84 ellipsoid.
constexpr double _LIGHT_SPEED = 299792458.0;              // m/s
constexpr double _GM = 398600500000000.0;                 // m^3/s^2
constexpr double _EARTH_ROTATE = 7.2921151467e-05;        // rad/s
constexpr double _WGS84_ELLIPSE_A = 6378137.0;            // m
constexpr double _WGS84_ELLIPSE_FLAT = 0.0033528106647474805;
constexpr double _WGS84_ELLIPSE_E2 = 0.0066943799901413165;
constexpr double _PI = 3.141592653589793;
constexpr double _RAD2DEG = 57.29577951308232;
constexpr double _DEG2RAD = 0.017453292519943295;

// Carrier frequencies (Hz).
constexpr double _GPS_F1 = 1575420000.0;
constexpr double _GPS_F2 = 1227600000.0;
constexpr double _GLONASS_F01 = 1602000000.0;
constexpr double _GLONASS_f1 = 562500.0;    // channel step on G1
constexpr double _GLONASS_F02 = 1246000000.0;
constexpr double _GLONASS_f2 = 437500.0;    // channel step on G2
constexpr double _GAL_F1 = 1575420000.0;
constexpr double _GAL_F5 = 1176450000.0;
constexpr double _BDS_F2 = 1561098000.0;    // B1I
constexpr double _BDS_F7 = 1207140000.0;    // B2I

// Wavelengths (m), wide-lane wavelengths (m), frequency ratios f2/f1 and the
// first ionosphere-free coefficient f1^2/(f1^2 - f2^2) per system.
constexpr double _GPS_WL1 = 0.19029367279836487;
constexpr double _GPS_WL2 = 0.24421021342456825;
constexpr double _GPS_WLWL = 0.8619184003220056;
constexpr double _GPS_FGF = 0.7792207792207793;
constexpr double _GPS_IF_COEF1 = 2.54572778016316;
constexpr double _GPS_IF_COEF2 = 1.5457277801631601;

constexpr double _GLO_FGF = 0.7777777777777778;           // 7/9 for every channel
constexpr double _GLONASS_IF_COEF1 = 2.53125;

constexpr double _GAL_WL1 = 0.19029367279836487;
constexpr double _GAL_WL5 = 0.25482804879085386;
constexpr double _GAL_WLWL = 0.7514160413063639;
constexpr double _GAL_FGF = 0.7467532467532467;
constexpr double _GAL_IF_COEF1 = 2.2606043275188257;

constexpr double _BDS_WL1 = 0.19203948631027648;
constexpr double _BDS_WL2 = 0.2483493695843067;
constexpr double _BDS_WLWL = 0.8469718384667108;
constexpr double _BDS_FGF = 0.7732634338138925;
constexpr double _BDS_IF_COEF1 = 2.4871683136169254;

// Capacities and markers.
constexpr int _MAX_SATELLITE = 100;
constexpr int _MAX_PRN = 124;               // packed satellite slots G+R+E+C
constexpr int _MAX_PRN_GPS = 32;
constexpr int _MAX_PRN_GLO = 27;
constexpr int _MAX_PRN_GAL = 30;
constexpr int _MAX_PRN_BDS = 35;
constexpr double _default_v = 99999.0;      // "no value"

// Cycle-slip detection: Melbourne-Wuebbena threshold in standard deviations of its running mean.
constexpr double _TURBEDIT = 4.0;

// Standard atmosphere at sea level.
constexpr double _PS = 1013.25;             // hPa
constexpr double _TS = 18.0;                // degrees Celsius
constexpr double _RHS = 50.0;               // percent

#endif
