// Per-satellite error-model calls of one epoch: receiver phase-centre grid
// interpolation, satellite nadir variations and the global-map slant delay.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "models/GNSSAtx.h"
#include "models/GNSSErrorCorrection.h"
#include "models/GNSSIonex.h"

namespace {

void BM_ReceiverPcvGrid(benchmark::State& state)
{
    CGNSSErrorCorrection model;
    tagPCVINFO& info = model.m_recPcv;
    info.azimuthStep = 5.0;
    info.zenithStep = 5.0;
    info.nAzimuth = 73;
    info.nZenith = 19;
    model.NewPcvInfo(&info);
    double azimuth = 0.0, pcv[2];
    for (auto _ : state) {
        azimuth = azimuth < 359.0 ? azimuth + 7.3 : 0.0;
        model.GetPcvCorrection(azimuth, 47.3, pcv, 'G');
        benchmark::DoNotOptimize(pcv);
    }
}
BENCHMARK(BM_ReceiverPcvGrid);

void BM_SatelliteNadirPcv(benchmark::State& state)
{
    CGNSSAtx atx;
    t_satpcv pcv = {};
    double rs[3] = {15e6, -12e6, 18e6}, rr[3] = {3582104.8, 532590.2, 5232755.1}, dant[3];
    for (auto _ : state) {
        atx.satantpcv(rs, rr, &pcv, dant);
        benchmark::DoNotOptimize(dant);
    }
}
BENCHMARK(BM_SatelliteNadirPcv);

// A JPL-sized map block: 13 maps of 71 x 73 values.
void BM_GlobalMapSlantDelay(benchmark::State& state)
{
    auto* hdr = static_cast<tagGMIHDR*>(std::calloc(1, GMI_HEADER_AREA));
    hdr->interval = 7200;
    hdr->nMaps = 13;
    hdr->baseRadius = 6371.0;
    hdr->hgt[0] = 450.0;
    hdr->lat[0] = 87.5, hdr->lat[1] = -87.5, hdr->lat[2] = -2.5;
    hdr->lon[0] = -180.0, hdr->lon[1] = 180.0, hdr->lon[2] = 5.0;
    tagGMI* gmi = CGNSSIonex::AttachMaps(&hdr);
    CGNSSIonex ionex;
    for (int m = 0; m < 13; ++m)
        ionex.GetGMIMAP(gmi, m)->time = {1930, 7200.0 * m};
    const tagCRDGEODETIC pos = {0.146, 0.962, 50.0};
    const tagCRDTOPOCENTRICPOLAR azel = {2.2e7, 2.1, 0.6};
    double delay;
    for (auto _ : state) {
        ionex.GetIonoDelay({1930, 40000.0}, pos, azel, gmi, &delay);
        benchmark::DoNotOptimize(delay);
    }
    std::free(hdr);
}
BENCHMARK(BM_GlobalMapSlantDelay);

}  // namespace

BENCHMARK_MAIN();
