#include "engine/ProcInfoSite.h"

PROCINFOSITE::PROCINFOSITE()
    : epochCount(0), epochCount_bak(0), nextId(0), nextId_bak(0), lastTime{0, 0.0}, dZHD(0.0), dZWD0(0.0),
      dSavedClk{}, dAprioriPos{}, dClkBase(0.0), bFixedEpoch(0), dRatio(0.0), dArValue(0.0), nArValue(0),
      nConsecutiveFix(0), nLastFixed(-1), datumSat{-1, -1, -1, -1}, datumSatPrev{-1, -1, -1, -1}
{
    paraList.SetSize(1, 0);
    ambList.SetSize(1, 0);
    newParaList.SetSize(1, 0);
    paraList_bak.SetSize(1, 0);
}

void PROCINFOSITE::SaveBackup()
{
    epochCount_bak = epochCount;
    nextId_bak = nextId;
    NY_bak = NY;
    UY_bak = UY;
    paraList_bak = paraList;
    ambList_bak = ambList;
}

void PROCINFOSITE::RestoreBackup()
{
    epochCount = epochCount_bak;
    nextId = nextId_bak;
    NY = NY_bak;
    UY = UY_bak;
    paraList = paraList_bak;
    ambList = ambList_bak;
}
