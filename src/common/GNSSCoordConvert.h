// Coordinate records and conversions between Earth-centred Cartesian,
// geodetic (WGS84), local north/east/up and polar topocentric forms.
#ifndef PPPLIB_COMMON_GNSSCOORDCONVERT_H
#define PPPLIB_COMMON_GNSSCOORDCONVERT_H

struct tagCRDCARTESIAN {
    double x;
    double y;
    double z;
};

// Longitude first, then latitude (radians), then ellipsoidal height (m).
struct tagCRDGEODETIC {
    double lon;
    double lat;
    double height;
};

struct tagCRDTOPOCENTRIC {
    double north;
    double east;
    double up;
};

// Distance (m), azimuth from north (rad), elevation (rad).
struct tagCRDTOPOCENTRICPOLAR {
    double distance;
    double azimuth;
    double elevation;
};

struct tagSPPONERESULT;

class CGNSSCoordConvert {
public:
    double dot(const double* a, const double* b, int n);
    // The ellipsoid arguments are ignored: the conversion always uses WGS84.
    void CartesianToGeodetic(tagCRDCARTESIAN* in, tagCRDGEODETIC* out, double a, double f);
    void GeodeticToCartesian(tagCRDGEODETIC* in, tagCRDCARTESIAN* out, double a, double f);
    void CartesianToTopocentric(tagCRDCARTESIAN* p, tagCRDTOPOCENTRIC* out, tagCRDCARTESIAN* ref, double a,
                                double f);
    void TopocentricToCartesian(tagCRDTOPOCENTRIC* in, tagCRDCARTESIAN* out, tagCRDCARTESIAN* ref, double a,
                                double f);
    // Rotation only: returns the Cartesian difference vector.
    void TopocentricToCartesian2(tagCRDTOPOCENTRIC* in, tagCRDCARTESIAN* out, tagCRDCARTESIAN* ref, double a,
                                 double f);
    void TopocentricToTopocentricPolar(tagCRDTOPOCENTRIC* in, tagCRDTOPOCENTRICPOLAR* out);
    double Get_atan(double y, double x);
    // Stores the north/east/up of the solution's position against ref.
    bool Convert_XYZ_to_NEU(tagSPPONERESULT* r, tagCRDCARTESIAN ref);

private:
    // Within an epoch every satellite is converted against the same receiver
    // position: the geodetic position of the last point and the sines and
    // cosines of its local frame are kept and reused while the point stays
    // exactly the same.
    struct LocalFrame {
        tagCRDCARTESIAN at;
        tagCRDGEODETIC blh;
        double sinB, cosB, sinL, cosL;
        bool valid;        // blh belongs to `at`
        bool hasRotation;  // the sines and cosines too
    };
    const LocalFrame& GeodeticAt(const tagCRDCARTESIAN& p);
    const LocalFrame& RotationAt(const tagCRDCARTESIAN& ref);

    LocalFrame m_frame{};
};

#endif
