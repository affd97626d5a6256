#include "Run.h"

#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <vector>

#include "Ambiguities.h"
#include "Progress.h"
#include "engine/GNSSSPP.h"
#include "io/AntennaTable.h"
#include "io/BroadcastOrbit.h"
#include "io/GpsTime.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/RinexObsReader.h"
#include "io/SinexReader.h"
#include "io/SiteSetup.h"
#include "lib/Process.h"
#include "lib/ppplib.h"

namespace ppprun {

namespace {

void RequireReadable(const std::string& path)
{
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        throw InputError("cannot read " + path + ": " + std::strerror(errno));
    std::fclose(f);
}

void RequireInputs(const Options& o)
{
    RequireReadable(o.obs);
    for (const std::string& path : o.sp3)
        RequireReadable(path);
    for (const std::string& path : o.clk)
        RequireReadable(path);
    for (const std::string* path : {&o.atx, &o.nav, &o.sinex})
        if (!path->empty())
            RequireReadable(*path);
}

// mkdir -p.
void MakeDirectories(const std::string& path)
{
    for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string part = path.substr(0, slash);
        if (!part.empty() && mkdir(part.c_str(), 0777) != 0 && errno != EEXIST)
            throw InputError("cannot create " + part + ": " + std::strerror(errno));
        if (slash == std::string::npos)
            break;
    }
}

tagGPSTIME2 GpsTime(const tagCOMMONTIME& t)
{
    return pppio::gpsTimeFromCalendar(t.year, t.month, t.day, t.hour, t.minute, t.second);
}

// The header's interval, else the spacing of the first two data epochs.
double ObservationInterval(const std::string& path, const pppio::RinexObsHeader& header)
{
    if (header.interval > 0.0)
        return header.interval;
    pppio::RinexObsReader reader(path);
    pppio::ObsEpoch epoch;
    bool hasFirst = false;
    tagGPSTIME2 first{0, 0.0};
    while (reader.next(epoch)) {
        if (epoch.isEvent() || epoch.flag == pppio::ObsEpoch::kCycleSlips)
            continue;
        if (hasFirst)
            return pppio::secondsBetween(epoch.gpsTime, first);
        first = epoch.gpsTime;
        hasFirst = true;
    }
    return 1.0;   // a single epoch: any interval will do
}

long ExpectedEpochs(const pppio::RinexObsHeader& header, double interval)
{
    if (!header.hasFirstObs || !header.hasLastObs || !(interval > 0.0))
        return 0;
    const double span = pppio::secondsBetween(GpsTime(header.lastObs), GpsTime(header.firstObs));
    return span >= 0.0 ? static_cast<long>(span / interval + 0.5) + 1 : 0;
}

void CopyText(const std::string& text, char (&field)[1024])
{
    std::strncpy(field, text.c_str(), sizeof(field) - 1);
    field[sizeof(field) - 1] = '\0';
}

// The filter's troposphere value q for a random walk of `walkMm` mm per
// square-root hour. The filter ties consecutive zenith delays, dt seconds
// apart, by a pseudo-observation of variance q (dt/3600)^2 in units of the
// unit-weight phase variance, which for the ionosphere-free phase at the
// zenith is about (1 cm)^2. A random walk of rate r adds r^2 dt/3600, hence
// q = r^2 3600 / (sigma^2 dt) at the nominal interval.
double TroposphereProcessValue(double walkMm, double interval)
{
    constexpr double kUnitPhaseSigmaM = 0.01;
    const double rate = walkMm * 1e-3;
    return rate * rate * 3600.0 / (kUnitPhaseSigmaM * kUnitPhaseSigmaM * interval);
}

t_conf MakeConfiguration(const Options& o, double interval, const std::string& site)
{
    t_conf conf{};
    conf.ppp_enable = o.mode >= 2 ? 1 : 0;
    conf.pppos_value = TroposphereProcessValue(o.tropWalkMm, interval);
    conf.elev_mask = o.elevMask;
    conf.interval = interval;
    conf.reset_hours = o.resetHours;
    conf.use_epoch_value = 0;
    conf.product_source = 3;
    conf.mode = o.mode;
    conf.pos_mode = o.posMode;
    for (int k = 0; k < 5; ++k) {
        conf.weight.dWeightFactor[k] = o.weightFactor[k];
        conf.weight.dWeightSigma[k] = o.codeRatio[k];
    }
    if (!o.outDir.empty()) {
        CopyText(o.outDir, conf.res_dir);
        CopyText(o.outDir + "/ztd", conf.ztd_dir);
    }
    CopyText(site, conf.site_name);
    conf.out_debug = o.debug ? 1 : 0;
    conf.out_amb = o.ambLogs ? 1 : 0;
    conf.out_res = o.residuals ? 1 : 0;
    conf.append = 0;
    return conf;
}

// The physical corrections of the PPP model: on in the PPP modes unless switched off.
void SetCorrections(const Options& o, CGNSSSPP& engine)
{
    const bool ppp = o.mode >= 2;
    engine.m_set.bSolidTide = ppp && o.solidTide ? 1 : 0;
    engine.m_set.bWindUp = ppp && o.windUp ? 1 : 0;
    engine.m_set.bRecAntenna = ppp && o.recAntenna ? 1 : 0;
    engine.m_set.bSatAntenna = ppp && o.satAntenna ? 1 : 0;
    engine.m_set.bHoldAmb = o.hold ? 1 : 0;
    engine.m_set.dRatioThres = o.ratio;
}

// The products of a run, loaded once.
struct Products {
    pppio::PreciseOrbit orbit;
    pppio::PreciseClock clock;
    pppio::AntennaTable antennas;
    pppio::BroadcastOrbit broadcast;
    pppio::SinexSites sinex;

    Products(const Options& o, RunResult& result)
    {
        // The first epoch of a clock file's day is received after the
        // file's first sample but sent up to a tenth of a second before it.
        clock.setEdgeExtrapolation(1.0);
        const pppio::SatelliteSet wanted = pppio::SatelliteSet::ofSystems(o.systems);
        for (const std::string& path : o.sp3)
            orbit.load(path, wanted);
        for (const std::string& path : o.clk)
            clock.load(path, wanted);
        if (!o.atx.empty())
            antennas.load(o.atx);
        if (!o.nav.empty())
            broadcast.load(o.nav);
        if (!o.sinex.empty())
            sinex.load(o.sinex);
        if (o.clk.empty() && !o.sp3.empty())
            result.notes.push_back("no clock file: the SP3 clocks are used");
    }

    pppio::ProductSources sources(const Options& o) const
    {
        pppio::ProductSources s;
        s.orbit = o.sp3.empty() ? nullptr : &orbit;
        s.clock = o.clk.empty() ? nullptr : &clock;
        s.broadcast = o.broadcastFallback ? &broadcast : nullptr;
        s.antennas = o.atx.empty() ? nullptr : &antennas;
        return s;
    }
};

void NoteAntenna(const Options& o, const pppio::SiteReport& site, const pppio::AntennaTable& antennas,
                 bool pcvLoaded, RunResult& result)
{
    if (o.atx.empty()) {
        result.notes.push_back("no ANTEX file: antenna height only, no antenna phase centre corrections");
        return;
    }
    if (o.mode >= 2 && o.satAntenna && !antennas.hasSatellites())
        result.notes.push_back(o.atx + " holds no satellite antennas: satellite antenna offsets are not applied, "
                               "expect a height bias of a few centimetres");
    if (!site.calibration) {
        result.notes.push_back("receiver antenna '" + site.antenna + "' not in " + o.atx + ": antenna height only");
        return;
    }
    if (site.radomeReplaced)
        result.notes.push_back("receiver antenna '" + site.antenna + "': radome not calibrated, radome NONE used");
    if (o.mode >= 2 && o.recAntenna && !pcvLoaded)
        result.notes.push_back("receiver antenna '" + site.antenna + "': no phase centre variations used");
}

// The smoothing pair is allocated by the library and released by the host.
struct SmoothingPair {
    tagGPSOBSSMOOTH* pair = nullptr;
    ~SmoothingPair() { delete pair; }
};

}  // namespace

RunResult Run(const Options& o)
{
    const auto start = std::chrono::steady_clock::now();
    RequireInputs(o);
    if (!o.outDir.empty())
        MakeDirectories(o.outDir + "/ztd");

    RunResult result;
    result.obsFile = o.obs;
    result.mode = ModeName(o.mode);
    result.dynamics = DynamicsName(o.posMode);
    result.systems = o.systems;

    const Products products(o, result);
    pppio::RinexObsReader reader(o.obs);
    const pppio::RinexObsHeader& header = reader.header();

    pppio::SiteRequest request;
    request.name = o.site;
    request.hasApriori = o.hasApriori;
    std::memcpy(request.apriori, o.apriori, sizeof(request.apriori));
    request.sinex = o.sinex.empty() ? nullptr : &products.sinex;
    request.antennas = o.atx.empty() ? nullptr : &products.antennas;
    pppio::SiteReport siteReport;
    tagSITE site = pppio::BuildSite(header, request, header.hasFirstObs ? GpsTime(header.firstObs) : tagGPSTIME2{0, 0.0},
                                    siteReport);
    result.site = siteReport.name;
    result.coordinates = siteReport.coordinates;
    if (o.posMode == 1 && !siteReport.coordinatesKnown)
        throw InputError("--dynamics fixed needs the site's coordinates (--apriori, or --sinex with the site)");

    const double interval = ObservationInterval(o.obs, header);
    t_conf conf = MakeConfiguration(o, interval, siteReport.name);
    const std::vector<char> systems(o.systems.begin(), o.systems.end());
    // Destroying the facade closes the result files, also when a read error ends the run.
    const std::unique_ptr<t_ppplib> library(new t_ppplib(systems, &site, &conf));
    CGNSSSPP& engine = *library->process()->spp;
    SetCorrections(o, engine);
    const bool pcvLoaded = siteReport.calibration && engine.m_set.bRecAntenna &&
                           pppio::LoadReceiverPcv(*siteReport.calibration, engine.m_errorCorrection);
    NoteAntenna(o, siteReport, products.antennas, pcvLoaded, result);

    const std::unique_ptr<tagGPSOBSONEEPO> epoch(new tagGPSOBSONEEPO());
    const std::unique_ptr<tagGMSP3REC> orbit(new tagGMSP3REC());
    const std::unique_ptr<tagSPPONERESULT> solution(new tagSPPONERESULT());
    SmoothingPair smoothing;
    tagOBSONEEPOONESTA station{0, 0, epoch.get(), nullptr, solution.get(), orbit.get()};

    pppio::OrbitRecordBuilder orbits(products.sources(o), o.satAntenna);
    const pppio::CarrierFrequencies frequencies(header, o.nav.empty() ? nullptr : &products.broadcast);
    pppio::EpochAssembler assembler(header, frequencies, orbits, o.systems);

    Ambiguities ambiguities(o, interval, siteReport.name);
    Accuracy accuracy(o.ref);
    Progress progress(ExpectedEpochs(header, interval), o.quiet);
    pppio::ObsEpoch in;
    tagGPSTIME2 firstTime{0, 0.0}, lastTime{0, 0.0};
    while (reader.next(in)) {
        if (!assembler.assemble(in, *epoch, *orbit))
            continue;
        if (result.epochs == 0)
            firstTime = in.gpsTime;
        lastTime = in.gpsTime;
        ++result.epochs;
        station.epochIndex = static_cast<int32_t>(result.epochs);
        station.smooth = smoothing.pair;
        t_upd* upds = ambiguities.upds(in.gpsTime, *epoch);
        const auto libraryStart = std::chrono::steady_clock::now();
        const int code = library->pppos(&station, upds, nullptr);
        result.librarySeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - libraryStart).count();
        ambiguities.afterEpoch(code, *solution, engine, pppio::secondsBetween(in.gpsTime, firstTime));
        smoothing.pair = station.smooth;
        ++result.resultCodes[code];
        if (code >= 1) {
            std::memcpy(result.finalXyz, solution->dPos, sizeof(result.finalXyz));
            result.hasFinal = true;
            if (o.hasRef)
                accuracy.add(pppio::secondsBetween(in.gpsTime, firstTime), solution->dPos);
        }
        progress.update(result.epochs);
    }
    progress.finish(result.epochs);

    ambiguities.report(result);
    result.tally = assembler.tally();
    for (char system : o.systems)
        result.signals.emplace_back(system, assembler.signals().describe(system));
    for (const std::string& warning : reader.warnings())
        result.notes.push_back(warning);
    if (o.hasRef && !accuracy.empty()) {
        result.hasReference = true;
        result.finalError = accuracy.finalError();
        result.hasRms = accuracy.rms(pppio::secondsBetween(lastTime, firstTime) / 2.0, result.rms);
        result.converged = accuracy.convergence(result.convergenceSeconds);
    }
    result.wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

}  // namespace ppprun
