#include "models/GNSSErrorCorrection.h"

#include <cstring>

CGNSSErrorCorrection::CGNSSErrorCorrection() : m_satPcv(nullptr), m_nSatPcv(0)
{
    std::memset(&m_recPcv, 0, sizeof(m_recPcv));
    std::memset(&m_recPco1, 0, sizeof(m_recPco1));
    std::memset(&m_recPco2, 0, sizeof(m_recPco2));
}

CGNSSErrorCorrection::~CGNSSErrorCorrection()
{
    DelPcvData(&m_recPcv);
    DelSatPcvData();
}

int CGNSSErrorCorrection::NewPcvInfo(tagPCVINFO* info)
{
    if (info->nAzimuth < 1 || info->nZenith < 1)
        return 0;
    DelPcvData(info);
    for (double**& grid : info->grid) {
        grid = new double*[info->nAzimuth];
        for (int row = 0; row < info->nAzimuth; ++row)
            grid[row] = new double[info->nZenith]();
    }
    return 1;
}

void CGNSSErrorCorrection::DelPcvData(tagPCVINFO* info)
{
    for (double**& grid : info->grid) {
        if (!grid)
            continue;
        for (int row = 0; row < info->nAzimuth; ++row)
            delete[] grid[row];
        delete[] grid;
        grid = nullptr;
    }
}

void CGNSSErrorCorrection::DelSatPcvData()
{
    for (int i = 0; i < m_nSatPcv; ++i)
        DelPcvData(&m_satPcv[i].pcv);
    delete[] m_satPcv;
    m_satPcv = nullptr;
    m_nSatPcv = 0;
}
