#include "common/GNSSConst.h"
#include "common/GNSSCoordConvert.h"
#include "engine/GNSSResult.h"

bool CGNSSCoordConvert::Convert_XYZ_to_NEU(tagSPPONERESULT* r, tagCRDCARTESIAN ref)
{
    if (ref.x == 0.0 && ref.y == 0.0 && ref.z == 0.0) {
        r->dNEU[0] = r->dNEU[1] = r->dNEU[2] = 0.0;
        return true;
    }
    tagCRDCARTESIAN pos{r->dPos[0], r->dPos[1], r->dPos[2]};
    tagCRDTOPOCENTRIC neu;
    CartesianToTopocentric(&pos, &neu, &ref, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    r->dNEU[0] = neu.north;
    r->dNEU[1] = neu.east;
    r->dNEU[2] = neu.up;
    return true;
}
