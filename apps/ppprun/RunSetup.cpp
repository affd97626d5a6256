#include "RunSetup.h"

#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "Run.h"
#include "io/GpsTime.h"

namespace ppprun {

namespace {

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

// The header block of the --pos file: program, inputs, span and processing.
PositionHeader MakePositionHeader(const Options& o, const tagGPSTIME2* start, const tagGPSTIME2* end)
{
    PositionHeader h;
    h.program = std::string("ppprun ") + PPP_VERSION;
    h.inputs.push_back(o.streaming() ? o.rtcm : o.obs);
    for (const std::vector<std::string>* files : {&o.sp3, &o.clk})
        h.inputs.insert(h.inputs.end(), files->begin(), files->end());
    for (const std::string* file : {&o.rtcmCorr, &o.atx, &o.upd, &o.bias})
        if (!file->empty())
            h.inputs.push_back(*file);
    h.hasStart = start != nullptr, h.hasEnd = end != nullptr;
    h.start = start ? *start : tagGPSTIME2{0, 0.0};
    h.end = end ? *end : tagGPSTIME2{0, 0.0};
    h.posMode = o.mode == kModeSpp ? "single" : "ppp-" + DynamicsName(o.posMode) + " (" + ModeName(o.mode) + ")";
    h.elevMask = o.elevMask;
    h.ionosphere = "iono-free";
    h.troposphere = o.mode == kModeSpp ? "a-priori model" : "estimate ztd";
    h.ephemeris = !o.sp3.empty() ? "precise" : (o.ssr ? "broadcast+ssr" : "broadcast");
    const char* const names[4] = {"gps", "glonass", "galileo", "beidou"};
    for (int k = 0; k < 4; ++k)
        if (o.systems.find("GREC"[k]) != std::string::npos)
            h.systems += (h.systems.empty() ? "" : " ") + std::string(names[k]);
    h.hasReference = o.hasRef;
    std::memcpy(h.reference, o.ref, sizeof(h.reference));
    return h;
}

}  // namespace

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

// Fails early on an output file that cannot be written, before hours of
// processing; a file that did not exist is not left behind.
void RequireWritable(const std::string& path)
{
    struct stat info;
    const bool existed = stat(path.c_str(), &info) == 0;
    if (existed && S_ISDIR(info.st_mode))
        throw InputError("cannot write " + path + ": it is a directory");
    std::FILE* f = std::fopen(path.c_str(), "a");
    if (!f)
        throw InputError("cannot write " + path + ": " + std::strerror(errno));
    std::fclose(f);
    if (!existed)
        std::remove(path.c_str());
}

RunResult StartRun(const Options& o, const std::string& input)
{
    if (!o.outDir.empty()) {
        MakeDirectories(o.outDir + "/ztd");
        RequireWritable(o.outDir + "/ztd/.ppprun-write-check");
    }
    for (const std::string* path : {&o.summaryJson, &o.posFile, &o.plotFile, &o.exportFile})
        if (!path->empty())
            RequireWritable(*path);
    if (!o.nmea.empty() && o.nmea != "-")
        RequireWritable(o.nmea);
    RunResult result;
    result.obsFile = input;
    result.mode = ModeName(o.mode);
    result.dynamics = DynamicsName(o.posMode);
    result.systems = o.systems;
    return result;
}

void AddAssembly(const Options& o, const pppio::EpochAssembler& assembler, RunResult& result)
{
    result.tally = assembler.tally();
    for (char system : o.systems)
        result.signals.emplace_back(system, assembler.signals().describe(system));
}

t_conf MakeConfiguration(const Options& o, double interval, const std::string& site)
{
    t_conf conf{};
    conf.ppp_enable = o.mode >= kModeFloat ? 1 : 0;
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

t_model_settings ModelSettings(const Options& o)
{
    const bool ppp = o.mode >= kModeFloat;
    t_model_settings s;
    s.solidTide = ppp && o.solidTide;
    s.windUp = ppp && o.windUp;
    // On also without the calibration: the site's offsets carry the antenna height.
    s.receiverAntenna = ppp;
    s.satelliteAntenna = ppp && o.satAntenna;
    s.holdAmbiguities = o.hold;
    s.ratioThreshold = o.ratio;
    return s;
}

Products::Products(const Options& o, RunResult& result)
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
    // The last quarter hour of a day is solved without the next day's orbits.
    orbit.setExtrapolation(kOrbitExtrapolation);
    for (const std::vector<std::string>* warnings :
         {&orbit.warnings(), &clock.warnings(), &antennas.warnings(), &broadcast.warnings(), &sinex.warnings()})
        result.notes.insert(result.notes.end(), warnings->begin(), warnings->end());
    describeCoverage(o, result.coverage);
}

void Products::describeCoverage(const Options& o, Coverage& c) const
{
    for (const std::string& path : o.sp3)
        c.sp3Files += (c.sp3Files.empty() ? "" : ", ") + path;
    for (const std::string& path : o.clk)
        c.clockFiles += (c.clockFiles.empty() ? "" : ", ") + path;
    if (o.sp3.empty())
        return;
    c.orbits.known = orbit.span(c.orbits.first, c.orbits.last);
    if (!o.clk.empty())
        c.clocks.known = clock.span(c.clocks.first, c.clocks.last);
    for (char system : o.systems) {
        bool any = false;
        const pppio::SatelliteSet set = pppio::SatelliteSet::ofSystems(std::string(1, system));
        for (int iprn = 1; iprn <= pppio::kMaxPackedIndex && !any; ++iprn)
            any = set.contains(iprn) && orbit.sampleCount(iprn) > 0;
        if (!any)
            c.systemsWithoutOrbits += system;
    }
}

pppio::SiteRequest MakeSiteRequest(const Options& o, const Products& products, const std::string& defaultName)
{
    pppio::SiteRequest request;
    request.name = o.site.empty() ? defaultName : o.site;
    request.hasApriori = o.hasApriori;
    std::memcpy(request.apriori, o.apriori, sizeof(request.apriori));
    request.sinex = o.sinex.empty() ? nullptr : &products.sinex;
    // Without the calibration the antenna height still moves the marker.
    request.antennas = o.atx.empty() || !o.recAntenna ? nullptr : &products.antennas;
    return request;
}

void NoteSite(const Options& o, const Products& products, const pppio::SiteReport& site, const tagGPSTIME2& t,
              RunResult& result)
{
    double xyz[3];
    if (!o.sinex.empty() && !products.sinex.position(site.name, t, xyz))
        result.notes.push_back("site " + site.name + " is not in " + o.sinex + " (at the first epoch): " +
                               "a-priori coordinates " + site.coordinates);
}

void LimitSatelliteAntennas(const Options& o, const Products& products, const tagGPSTIME2& t,
                            pppio::OrbitRecordBuilder& orbits, RunResult& result)
{
    if (o.sp3.empty() || o.atx.empty() || !products.antennas.hasSatellites() || o.mode < kModeFloat)
        return;
    const AntennaCoverage c = CoverSatelliteAntennas(o.satAntennas, o.systems, products.orbit, products.antennas, t);
    orbits.limitAntennasTo(c.applied);
    if (c.missing.empty() || o.satAntennas == SatelliteAntennas::kNone)
        return;
    result.notes.push_back("satellites in use without an antenna in " + o.atx + ": " + c.missing);
    if (o.satAntennas == SatelliteAntennas::kCompleteSystems)
        result.notes.push_back("satellite antennas are not applied to system " + c.incomplete +
                               ", which the antenna file covers partly (--sat-antenna all applies them)");
}

pppio::ProductSources Products::sources(const Options& o) const
{
    pppio::ProductSources s;
    s.orbit = o.sp3.empty() ? nullptr : &orbit;
    s.clock = o.clk.empty() ? nullptr : &clock;
    s.broadcast = o.broadcastFallback ? &broadcast : nullptr;
    s.antennas = o.atx.empty() ? nullptr : &antennas;
    return s;
}

void NoteAntenna(const Options& o, const pppio::SiteReport& site, const pppio::AntennaTable& antennas,
                 bool pcvLoaded, RunResult& result)
{
    if (o.atx.empty()) {
        result.notes.push_back("no ANTEX file: antenna height only, no antenna phase centre corrections");
        return;
    }
    if (!o.recAntenna && o.mode >= kModeFloat)
        result.notes.push_back("--no-rec-antenna: receiver antenna height only, no calibration");
    if (o.mode >= kModeFloat && o.satAntenna && !antennas.hasSatellites())
        result.notes.push_back(o.atx + " holds no satellite antennas: satellite antenna offsets are not applied, "
                               "expect a height bias of a few centimetres");
    if (!site.calibration && o.recAntenna) {
        result.notes.push_back("receiver antenna '" + site.antenna + "' not in " + o.atx + ": antenna height only");
        return;
    }
    if (site.radomeReplaced)
        result.notes.push_back("receiver antenna '" + site.antenna + "': radome not calibrated, radome NONE used");
    if (o.mode >= kModeFloat && o.recAntenna && !pcvLoaded)
        result.notes.push_back("receiver antenna '" + site.antenna + "': no phase centre variations used");
}


SiteRun::SiteRun(const Options& o, tagSITE& site, const pppio::SiteReport& report, double interval,
                 const Products& products, RunResult& result)
    : m_options(o), m_result(result), m_conf(MakeConfiguration(o, interval, report.name)),
      m_epoch(new tagGPSOBSONEEPO()), m_orbit(new tagGMSP3REC()), m_solution(new tagSPPONERESULT()),
      m_station{0, 0, m_epoch.get(), nullptr, m_solution.get(), m_orbit.get()},
      m_ambiguities(o, interval, report.name), m_accuracy(o.ref)
{
    const std::vector<char> systems(o.systems.begin(), o.systems.end());
    // Destroying the facade closes the result files, also when an error ends the run.
    m_library.reset(new t_ppplib(systems, &site, &m_conf));
    const t_model_settings model = ModelSettings(o);
    m_library->setModelSettings(model);
    const bool pcvLoaded = report.calibration && model.receiverAntenna &&
                           pppio::LoadReceiverPcv(*report.calibration, m_library->errorCorrection());
    NoteAntenna(o, report, products.antennas, pcvLoaded, result);
}

SiteRun::~SiteRun()
{
    delete m_smoothing;
}

int SiteRun::process(const tagGPSTIME2& t, t_upd* upds, t_aug* aug)
{
    RunResult& r = m_result;
    if (r.epochs == 0)
        m_firstTime = t;
    ++r.epochs;
    m_station.epochIndex = static_cast<int32_t>(r.epochs);
    m_station.smooth = m_smoothing;
    const auto libraryStart = std::chrono::steady_clock::now();
    const int code = m_library->pppos(&m_station, upds, aug);
    r.librarySeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - libraryStart).count();
    const double sinceStart = pppio::secondsBetween(t, m_firstTime);
    m_ambiguities.afterEpoch(code, *m_solution, *m_library, sinceStart);
    m_smoothing = m_station.smooth;
    ++r.resultCodes[code];
    if ((m_positions || m_plot) &&
        TakeSolution(code, *m_solution, *m_library, m_solved)) {
        if (m_positions)
            m_positions->write(m_solved);
        if (m_plot)
            m_plot->add(m_solved);
    }
    if (code >= kResultSpp) {
        std::memcpy(r.finalXyz, m_solution->dPos, sizeof(r.finalXyz));
        r.hasFinal = true;
        if (m_options.hasRef)
            m_accuracy.add(sinceStart, m_solution->dPos);
    }
    return code;
}

void SiteRun::openOutputs(const tagGPSTIME2* start, const tagGPSTIME2* end)
{
    const Options& o = m_options;
    if (!o.posFile.empty()) {
        PositionFormat format = PositionFormat::kXyz;
        ParsePositionFormat(o.posFormat, format);
        m_positions.reset(new PositionFile(o.posFile, format, MakePositionHeader(o, start, end)));
    }
    if (!o.plotFile.empty()) {   // StartRun checked that it can be written
        const std::string title = m_result.site + ", " + ModeName(o.mode) + " " + DynamicsName(o.posMode) +
                                  " (" + o.systems + ")";
        m_plot.reset(new RunPlot(title, o.systems, o.hasRef ? o.ref : nullptr));
    }
}

void SiteRun::finish(const tagGPSTIME2& lastTime)
{
    RunResult& r = m_result;
    if (m_plot && !m_plot->write(m_options.plotFile))
        r.notes.push_back("cannot write " + m_options.plotFile);
    m_ambiguities.report(r);
    if (m_options.hasRef && !m_accuracy.empty()) {
        r.hasReference = true;
        r.finalError = m_accuracy.finalError();
        r.hasRms = m_accuracy.rms(pppio::secondsBetween(lastTime, m_firstTime) / 2.0, r.rms);
        r.converged = m_accuracy.convergence(r.convergenceSeconds);
    }
}

}  // namespace ppprun
