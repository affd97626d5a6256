// A UPD server's load: many facades in one process, driven from one thread.
// The bundled two-hour ESBC sample (data/sample, or PPP_SAMPLE_DIR) is fed
// to N sites (default 100) under their own names, each with its a-priori
// position moved by a few centimetres per site, in static float PPP with
// result and zenith-delay files. Printed: resident memory and heap before
// and after creating the facades and after the run (per site), the time per
// epoch for all sites together, the descriptors each site holds and the
// number of sites the process's descriptor limit allows. Site 0 is run once
// more on its own at the end: interleaving the sites must not change it.
//
// Usage (from the repository root, after `make bench`):
//   build/bench/bench_many_sites [--sites N] [--keep]
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "common/GNSSConst.h"
#include "common/GNSSCoordConvert.h"
#include "support/DayReplay.h"
#include "support/ProcessProbe.h"
#include "support/SiteFacade.h"

namespace {

namespace fs = std::filesystem;
using namespace benchsupport;
using Clock = std::chrono::steady_clock;

std::string SampleFile(const char* name)
{
    const char* dir = std::getenv("PPP_SAMPLE_DIR");
    return std::string(dir ? dir : "data/sample") + "/" + name;
}

std::string SiteName(int k)
{
    char name[8];
    std::snprintf(name, sizeof(name), "S%03d", k % 1000);
    return name;
}

// The recorded site moved by k centimetres along each axis.
tagSITE MovedSite(tagSITE site, int k)
{
    site.crd.x += 0.01 * k;
    site.crd.y += 0.01 * k;
    site.crd.z += 0.01 * k;
    CGNSSCoordConvert convert;
    convert.CartesianToGeodetic(&site.crd, &site.blh, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    std::snprintf(site.name, sizeof(site.name), "%s", SiteName(k).c_str());
    return site;
}

void PrintState(const char* when, const ProcessState& s, const ProcessState& base, int sites)
{
    std::printf("| %s | %d | %.1f | %.2f | %.3f | %.3f |\n", when, s.descriptors, s.residentMB, s.heapMB,
                (s.residentMB - base.residentMB) / sites, (s.heapMB - base.heapMB) / sites);
}

double Seconds(Clock::time_point from)
{
    return std::chrono::duration<double>(Clock::now() - from).count();
}

}  // namespace

int main(int argc, char** argv)
{
    int sites = 100;
    bool keep = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--sites" && i + 1 < argc) {
            sites = std::max(1, std::atoi(argv[++i]));
        } else if (arg == "--keep") {
            keep = true;
        } else {
            std::fprintf(stderr, "usage: bench_many_sites [--sites N] [--keep]\n");
            return 2;
        }
    }
    char scratch[] = "/tmp/ppplib_sites_XXXXXX";
    if (!mkdtemp(scratch)) {
        std::perror("mkdtemp");
        return 1;
    }
    const fs::path out = scratch;
    try {
        DayReplay day({SampleFile("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz"),
                       {SampleFile("GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz"),
                        SampleFile("GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz")},
                       SampleFile("GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz"),
                       SampleFile("ESBC_receiver_antenna.atx"),
                       "",
                       true});
        fs::create_directories(out / "many" / "ztd");
        fs::create_directories(out / "alone" / "ztd");
        auto work = std::make_unique<tagGPSOBSONEEPO>();   // the library changes the epoch it is given
        auto workOrbits = std::make_unique<tagGMSP3REC>();

        const ProcessState before = ProbeProcess();
        std::vector<std::unique_ptr<SiteFacade>> facades;
        facades.reserve(static_cast<size_t>(sites));
        for (int k = 0; k < sites; ++k) {
            facades.push_back(std::make_unique<SiteFacade>(
                day.Configure(2, 2, (out / "many").string(), SiteName(k)), MovedSite(day.site(), k)));
            day.SetCorrections(facades.back()->library());
        }
        const ProcessState created = ProbeProcess();

        std::vector<double> siteZero;
        double inLibrary = 0.0;
        long solved = 0;
        ProcessState firstEpoch;
        const Clock::time_point start = Clock::now();
        const long epochs = day.Replay(0, [&](tagGPSOBSONEEPO& epoch, tagGMSP3REC& orbits, t_upd*) {
            for (int k = 0; k < sites; ++k) {
                *work = epoch;
                *workOrbits = orbits;
                const Clock::time_point call = Clock::now();
                solved += facades[static_cast<size_t>(k)]->Run(*work, *workOrbits, nullptr) >= 2;
                inLibrary += Seconds(call);
                if (k == 0)
                    siteZero.insert(siteZero.end(), facades[0]->result().dPos, facades[0]->result().dPos + 3);
            }
            if (firstEpoch.descriptors < 0)
                firstEpoch = ProbeProcess();
        });
        const double wall = Seconds(start);
        const ProcessState ran = ProbeProcess();
        const int siteDescriptors = CountDescriptors((out / "many").string());

        // Site 0 alone, in a directory of its own.
        double difference = 0.0;
        {
            SiteFacade alone(day.Configure(2, 2, (out / "alone").string(), SiteName(0)), MovedSite(day.site(), 0));
            day.SetCorrections(alone.library());
            size_t i = 0;
            day.Replay(0, [&](tagGPSOBSONEEPO& epoch, tagGMSP3REC& orbits, t_upd*) {
                alone.Run(epoch, orbits, nullptr);
                for (int a = 0; a < 3; ++a, ++i)
                    difference = std::max(difference, std::fabs(alone.result().dPos[a] - siteZero[i]));
            });
        }

        std::printf("%d sites, static float PPP GRE, %ld epochs of 30 s, result and zenith-delay files on\n", sites,
                    epochs);
        std::printf("| when | fds | RSS (MB) | heap (MB) | RSS per site (MB) | heap per site (MB) |\n"
                    "|---|---|---|---|---|---|\n");
        PrintState("before the facades", before, before, sites);
        PrintState("facades created", created, before, sites);
        PrintState("after the first epoch", firstEpoch, before, sites);
        PrintState("after the run", ran, before, sites);
        const long limit = DescriptorLimit();
        const double perSite = static_cast<double>(siteDescriptors) / sites;
        std::printf("time per epoch for all sites: %.2f ms (%.2f ms inside pppos, %.3f ms per site); "
                    "PPP solutions %.1f %%\n",
                    1e3 * wall / static_cast<double>(epochs), 1e3 * inLibrary / static_cast<double>(epochs),
                    1e3 * inLibrary / static_cast<double>(epochs) / sites,
                    100.0 * static_cast<double>(solved) / static_cast<double>(epochs * sites));
        std::printf("descriptors on result files: %d, %.1f per site; limit of open files %ld: at most %ld sites\n",
                    siteDescriptors, perSite, limit,
                    limit > 0 ? static_cast<long>((static_cast<double>(limit) - before.descriptors) / perSite) : -1L);
        std::printf("site 0 alone against site 0 among %d: largest position difference %.3g m\n", sites, difference);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_many_sites: %s\n", e.what());
        return 1;
    }
    if (keep)
        std::printf("files kept in %s\n", scratch);
    else
        fs::remove_all(out);
    return 0;
}
