#include "Run.h"

#include <sys/stat.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "Augmentation.h"
#include "Progress.h"
#include "RunSetup.h"
#include "io/GpsTime.h"
#include "io/RinexObsReader.h"

namespace ppprun {

namespace {

void RequireReadable(const std::string& path)
{
    struct stat info;
    if (stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode))
        throw InputError("cannot read " + path + ": it is a directory, not a file");
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
    for (const std::string* path : {&o.atx, &o.nav, &o.sinex, &o.upd, &o.bias, &o.augObs})
        if (!path->empty())
            RequireReadable(*path);
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
    pppio::RinexObsReader reader(path, pppio::MalformedRecords::kSkip);
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

// The --time-window and --interval selection of epochs.
bool Selected(const Options& o, const tagGPSTIME2& t)
{
    if (o.hasWindow &&
        (pppio::secondsBetween(t, o.windowStart) < -1e-3 || pppio::secondsBetween(t, o.windowEnd) > 1e-3))
        return false;
    if (o.decimation > 0.0) {
        const double offset = std::fmod(t.sow, o.decimation);
        return offset < 1e-3 || o.decimation - offset < 1e-3;
    }
    return true;
}

}  // namespace

RunResult Run(const Options& o)
{
    const auto start = std::chrono::steady_clock::now();
    RequireInputs(o);
    RunResult result = StartRun(o, o.obs);

    const Products products(o, result);
    // A corrupt line costs its satellite or epoch, not the rest of the day.
    pppio::RinexObsReader reader(o.obs, pppio::MalformedRecords::kSkip);
    const pppio::RinexObsHeader& header = reader.header();

    const tagGPSTIME2 firstObs = header.hasFirstObs ? GpsTime(header.firstObs) : tagGPSTIME2{0, 0.0};
    pppio::SiteReport siteReport;
    tagSITE site = pppio::BuildSite(header, MakeSiteRequest(o, products, ""), firstObs, siteReport);
    NoteSite(o, products, siteReport, firstObs, result);
    result.site = siteReport.name;
    result.coordinates = siteReport.coordinates;
    if (o.posMode == 1 && !siteReport.coordinatesKnown)
        throw InputError("--dynamics fixed needs the site's coordinates (--apriori, or --sinex with the site)");

    const double interval = ObservationInterval(o.obs, header);
    SiteRun run(o, site, siteReport, interval, products, result);
    {
        const tagGPSTIME2 none{0, 0.0};
        const tagGPSTIME2 start = o.hasWindow ? o.windowStart : header.hasFirstObs ? GpsTime(header.firstObs) : none;
        const tagGPSTIME2 end = o.hasWindow ? o.windowEnd : header.hasLastObs ? GpsTime(header.lastObs) : none;
        run.openOutputs(o.hasWindow || header.hasFirstObs ? &start : nullptr,
                        o.hasWindow || header.hasLastObs ? &end : nullptr);
    }

    pppio::OrbitRecordBuilder orbits(products.sources(o), o.satAntenna);
    LimitSatelliteAntennas(o, products, firstObs, orbits, result);
    const pppio::CarrierFrequencies frequencies(header, o.nav.empty() ? nullptr : &products.broadcast);
    pppio::EpochAssembler assembler(header, frequencies, orbits, o.systems);

    std::unique_ptr<Augmentation> augmentation;
    if (o.augmented())
        augmentation.reset(new Augmentation(o, orbits, products, firstObs));

    Progress progress(ExpectedEpochs(header, interval), o.quiet);
    pppio::ObsEpoch in;
    TimeSpan& span = result.coverage.observations;
    tagGPSTIME2 lastTime{0, 0.0};
    while (reader.next(in)) {
        if (!in.isEvent() && !Selected(o, in.gpsTime))
            continue;
        if (!assembler.assemble(in, run.epoch(), run.orbit()))
            continue;
        lastTime = in.gpsTime;
        if (!span.known)
            span.first = in.gpsTime, span.known = true;
        span.last = in.gpsTime;
        t_aug* corrections = augmentation ? augmentation->before(in.gpsTime, run.epoch()) : nullptr;
        const int code = run.process(in.gpsTime, run.ambiguities().upds(in.gpsTime, run.epoch()), corrections);
        if (augmentation)
            augmentation->after(code);
        progress.update(result.epochs);
    }
    progress.finish(result.epochs);

    run.finish(lastTime);
    AddAssembly(o, assembler, result);
    if (augmentation)
        augmentation->report(result);
    for (const std::string& warning : reader.warnings())
        result.notes.push_back(warning);
    result.skippedEpochs = reader.skippedEpochs();
    result.skippedSatellites = reader.skippedSatellites();
    result.wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

}  // namespace ppprun
