#include "engine/ObsWeight.h"

ObsWeight::ObsWeight()
    : dWeightFactor{4.0, 2.0, 1.0, 1.0, 0.1}, dWeightSigma{300.0, 600.0, 600.0, 600.0, 900.0}
{
}

namespace {
ObsWeight MakeDefaultTable()
{
    ObsWeight w;
    w.dWeightSigma[1] = 300.0;
    w.dWeightSigma[2] = 300.0;
    return w;
}
}  // namespace

const ObsWeight weight_default = MakeDefaultTable();

int WeightClass(char sys, int prn)
{
    switch (sys) {
    case 'G': return 0;
    case 'R': return 1;
    case 'E': return 2;
    case 'C': return prn > 5 ? 3 : 4;
    default: return -1;
    }
}
