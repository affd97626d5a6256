// Satellite phase-centre offsets with the Sun position of the epoch.
#include "models/GNSSErrorCorrection.h"

namespace {

// A Sun left at the origin lines up with the Earth's centre, and the frame
// construction then refuses it.
tagCRDCARTESIAN SunPosition(CGNSSErrorCorrection& model, const tagCOMMONTIME2& t)
{
    long double pos[3] = {0.0L, 0.0L, 0.0L};
    model.SUN(t.year, t.month, t.day, t.hour, pos);
    return {static_cast<double>(pos[0]), static_cast<double>(pos[1]), static_cast<double>(pos[2])};
}

}  // namespace

int CGNSSErrorCorrection::sat_Phase_center(tagCOMMONTIME2 t, tagCRDCARTESIAN sat, tagCRDCARTESIAN body,
                                           tagCRDCARTESIAN* ecef)
{
    return sat_Phase_center(SunPosition(*this, t), sat, body, ecef);
}

int CGNSSErrorCorrection::GetSatPhaseCenter(tagGNSSPRN prn, tagCOMMONTIME2 t, tagCRDCARTESIAN sat,
                                            tagCRDCARTESIAN* pc1, tagCRDCARTESIAN* pc2)
{
    return GetSatPhaseCenter(prn, SunPosition(*this, t), sat, pc1, pc2);
}
