// Reading speed of the RINEX observation reader on a day of 30 s
// multi-GNSS data in Compact RINEX, gzip-compressed: epochs, satellites,
// observations and wall time per full read.
//
//   bench_rinex_read [file ...]   (default: the ESBC day of the shared data)
#include <chrono>
#include <cstdio>
#include <set>
#include <string>

#include "io/RinexObsReader.h"

namespace {

const char* const kDefaultFile = "/work/shared/data/ESBC00DNK_R_20201770000_01D_30S_MO.crx.gz";
constexpr int kRuns = 5;

struct ReadFigures {
    long epochs = 0;
    long satelliteRecords = 0;
    long observations = 0;
    std::set<std::string> satellites;
    size_t warnings = 0;
};

ReadFigures ReadWholeFile(const std::string& path, bool collectSatellites)
{
    ReadFigures figures;
    pppio::RinexObsReader reader(path);
    pppio::ObsEpoch epoch;
    while (reader.next(epoch)) {
        ++figures.epochs;
        for (int s = 0; s < epoch.satelliteCount(); ++s) {
            ++figures.satelliteRecords;
            const pppio::ObsSatellite& sat = epoch.satellite(s);
            const int types = reader.header().obsTypes(sat.system).count();
            for (int k = 0; k < types; ++k)
                figures.observations += epoch.obs(s, k).present();
            if (collectSatellites) {
                char id[8];
                std::snprintf(id, sizeof id, "%c%02d", sat.system, sat.prn);
                figures.satellites.insert(id);
            }
        }
    }
    figures.warnings = reader.warnings().size();
    return figures;
}

void Measure(const std::string& path)
{
    std::FILE* probe = std::fopen(path.c_str(), "rb");
    if (!probe) {
        std::printf("%s: not present, skipped\n", path.c_str());
        return;
    }
    std::fclose(probe);
    try {
        const ReadFigures figures = ReadWholeFile(path, true);
        double best = 1e30;
        for (int run = 0; run < kRuns; ++run) {
            const auto start = std::chrono::steady_clock::now();
            ReadWholeFile(path, false);
            const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
            if (took.count() < best)
                best = took.count();
        }
        std::printf("%s\n  epochs %ld, satellites %zu, satellite records %ld (%.1f per epoch), observations %ld\n"
                    "  warnings %zu\n  wall time %.3f s per full read (best of %d)\n",
                    path.c_str(), figures.epochs, figures.satellites.size(), figures.satelliteRecords,
                    figures.epochs ? static_cast<double>(figures.satelliteRecords) / static_cast<double>(figures.epochs)
                                   : 0.0,
                    figures.observations, figures.warnings, best, kRuns);
    } catch (const pppio::ReadError& e) {
        std::printf("%s: read error: %s\n", path.c_str(), e.what());
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        Measure(kDefaultFile);
        return 0;
    }
    for (int i = 1; i < argc; ++i)
        Measure(argv[i]);
    return 0;
}
