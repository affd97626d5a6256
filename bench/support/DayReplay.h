// One recorded day of a site replayed as any later day: the observation
// times move by whole days while orbits, clocks and UPDs are taken at the
// recorded time, so every replayed day has the geometry of the recorded one.
// The observation file is read anew for each replay, as a host reads a new
// file each day; the products are loaded once.
//
//   benchsupport::DayReplay day({obs, {sp3a, sp3b}, clk, atx, upd});
//   day.Replay(3, [&](tagGPSOBSONEEPO& epoch, tagGMSP3REC& orbits, t_upd* upds) { ... });
#ifndef PPPLIB_BENCH_SUPPORT_DAYREPLAY_H
#define PPPLIB_BENCH_SUPPORT_DAYREPLAY_H

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"
#include "engine/GNSSSPP.h"
#include "io/AntennaTable.h"
#include "io/CarrierFrequencies.h"
#include "io/EpochAssembler.h"
#include "io/GpsTime.h"
#include "io/OrbitRecordBuilder.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/RinexObsReader.h"
#include "io/SiteSetup.h"
#include "io/UpdFile.h"
#include "lib/Process.h"
#include "lib/ppplib.h"

namespace benchsupport {

struct DayFiles {
    std::string obs;
    std::vector<std::string> sp3;
    std::string clk;
    std::string atx;                  // receiver antenna; empty: none
    std::string upd;                  // UPDs for ambiguity resolution; empty: none
    bool satelliteAntennas = true;    // false for simulated data, which has none
};

constexpr double kSecondsPerDay = 86400.0;
constexpr const char* kSystems = "GRE";

class DayReplay {
public:
    explicit DayReplay(const DayFiles& files) : m_files(files)
    {
        const pppio::SatelliteSet wanted = pppio::SatelliteSet::ofSystems(kSystems);
        m_clock.setEdgeExtrapolation(1.0);
        for (const std::string& path : files.sp3)
            m_orbit.load(path, wanted);
        m_clock.load(files.clk, wanted);
        m_orbit.setExtrapolation(900.0);   // the last quarter hour of the day
        if (!files.atx.empty())
            m_antennas.load(files.atx);
        if (!files.upd.empty())
            m_upd = pppio::UpdProduct::read(files.upd);
        pppio::RinexObsReader reader(files.obs);
        const tagCOMMONTIME& t = reader.header().firstObs;
        pppio::SiteRequest request;
        request.hasApriori = true;   // the header's approximate position, as a server knows its sites
        std::memcpy(request.apriori, reader.header().approxPosition, sizeof(request.apriori));
        request.antennas = files.atx.empty() ? nullptr : &m_antennas;
        pppio::SiteReport report;
        m_site = pppio::BuildSite(reader.header(), request,
                                  pppio::gpsTimeFromCalendar(t.year, t.month, t.day, t.hour, t.minute, t.second),
                                  report);
        m_calibration = report.calibration;
    }

    const tagSITE& site() const { return m_site; }
    bool hasUpds() const { return !m_files.upd.empty(); }

    // Float PPP (mode 2) or ambiguity resolution (mode 4) with the corrections ppprun applies.
    t_conf Configure(int mode, int posMode, const std::string& resDir, const std::string& name) const
    {
        t_conf conf{};
        conf.mode = mode;
        conf.ppp_enable = 1;
        conf.pos_mode = posMode;
        conf.interval = 30.0;
        conf.elev_mask = 7.0;
        conf.product_source = 3;
        conf.pppos_value = 3e-3 * 3e-3 * 3600.0 / (1e-2 * 1e-2 * 30.0);   // 3 mm/sqrt(h)
        const double factors[5] = {1.0, 1.0, 1.0, 1.0, 0.1}, ratios[5] = {300.0, 600.0, 600.0, 600.0, 900.0};
        for (int k = 0; k < 5; ++k) {
            conf.weight.dWeightFactor[k] = factors[k];
            conf.weight.dWeightSigma[k] = ratios[k];
        }
        std::snprintf(conf.res_dir, sizeof(conf.res_dir), "%s", resDir.c_str());
        std::snprintf(conf.ztd_dir, sizeof(conf.ztd_dir), "%s/ztd", resDir.c_str());
        std::snprintf(conf.site_name, sizeof(conf.site_name), "%s", name.c_str());
        return conf;
    }

    void SetCorrections(t_ppplib& library) const
    {
        CGNSSSPP& engine = *library.process()->spp;
        engine.m_set.bSolidTide = engine.m_set.bWindUp = engine.m_set.bRecAntenna = 1;
        engine.m_set.bSatAntenna = m_files.satelliteAntennas ? 1 : 0;
        engine.m_set.dRatioThres = 3.0;
        if (m_calibration)
            pppio::LoadReceiverPcv(*m_calibration, engine.m_errorCorrection);
    }

    // Feeds every epoch of the day, moved by `days`, to perEpoch(epoch, orbits, upds);
    // upds is null without a UPD file. Returns the epochs fed.
    template <class PerEpoch>
    long Replay(int days, PerEpoch&& perEpoch)
    {
        pppio::RinexObsReader reader(m_files.obs);
        const pppio::RinexObsHeader& header = reader.header();
        pppio::ProductSources sources;
        sources.orbit = &m_orbit;
        sources.clock = &m_clock;
        sources.antennas = m_files.atx.empty() ? nullptr : &m_antennas;
        pppio::OrbitRecordBuilder builder(sources, m_files.satelliteAntennas);
        const pppio::CarrierFrequencies frequencies(header, nullptr);
        pppio::EpochAssembler assembler(header, frequencies, builder, kSystems);
        pppio::ObsEpoch in;
        const double shift = days * kSecondsPerDay;
        long fed = 0;
        while (reader.next(in)) {
            if (!assembler.assemble(in, *m_epoch, *m_orbits))
                continue;
            ShiftEpoch(shift, *m_epoch);
            t_upd* upds = nullptr;
            if (hasUpds()) {
                m_upd.fill(in.gpsTime, m_upds.data());
                for (t_upd& u : m_upds) {
                    const tagGPSTIME2 t = pppio::shiftedTime(tagGPSTIME2{u.week, u.sow}, shift);
                    u.week = t.week;
                    u.sow = t.sow;
                }
                upds = m_upds.data();
            }
            perEpoch(*m_epoch, *m_orbits, upds);
            ++fed;
        }
        return fed;
    }

private:
    // Whole days later: the date from the moved GPS time at noon, the time of day as recorded.
    void ShiftEpoch(double shift, tagGPSOBSONEEPO& epoch)
    {
        epoch.tGpsTime = pppio::shiftedTime(epoch.tGpsTime, shift);
        tagGPSTIME2 noon = epoch.tGpsTime;
        noon.sow = std::floor(noon.sow / kSecondsPerDay) * kSecondsPerDay + kSecondsPerDay / 2.0;
        tagCOMMONTIME date{};
        m_converter.GPSTime2ToCommonTime(&noon, &date);
        epoch.tTime.year = date.year;
        epoch.tTime.month = date.month;
        epoch.tTime.day = date.day;
    }

    DayFiles m_files;
    pppio::PreciseOrbit m_orbit;
    pppio::PreciseClock m_clock;
    pppio::AntennaTable m_antennas;
    pppio::UpdProduct m_upd;
    tagSITE m_site{};
    const pppio::AntexAntenna* m_calibration = nullptr;
    CGNSSTimeConvert m_converter;
    std::unique_ptr<tagGPSOBSONEEPO> m_epoch = std::make_unique<tagGPSOBSONEEPO>();
    std::unique_ptr<tagGMSP3REC> m_orbits = std::make_unique<tagGMSP3REC>();
    std::vector<t_upd> m_upds = std::vector<t_upd>(MAXSATNUM);
};

}  // namespace benchsupport

#endif
