#include "TruthFiles.h"

#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "io/BiasSinexWriter.h"
#include "io/GpsTime.h"
#include "io/UpdFile.h"

namespace netsim {

namespace {

constexpr int kTruthCount = 99;        // quality count of exact values
constexpr double kTruthSigma = 0.001;  // cycles
constexpr double kNanoseconds = 1e9;

class TextFile {
public:
    explicit TextFile(const std::string& path) : m_path(path), m_file(std::fopen(path.c_str(), "w"))
    {
        if (!m_file)
            throw std::runtime_error("cannot write " + path);
    }
    ~TextFile()
    {
        if (m_file)
            std::fclose(m_file);
    }
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;
    std::FILE* get() const { return m_file; }
    void close()
    {
        const bool failed = std::ferror(m_file) != 0;
        const bool closeFailed = std::fclose(m_file) != 0;
        m_file = nullptr;
        if (failed || closeFailed)
            throw std::runtime_error("write error on " + m_path);
    }

private:
    std::string m_path;
    std::FILE* m_file;
};

void WriteStations(const std::string& path, const Simulator& simulation)
{
    TextFile out(path);
    std::fprintf(out.get(), "%% name X Y Z (m, ECEF truth of the marker; kinematic: centre of the circle) role\n");
    for (const Site& site : simulation.sites())
        std::fprintf(out.get(), "%s %14.4f %14.4f %14.4f %s\n", site.name.c_str(), site.xyz[0], site.xyz[1],
                     site.xyz[2], RoleName(site.role));
    out.close();
}

void WriteSlips(const std::string& path, const Simulator& simulation)
{
    TextFile out(path);
    std::fprintf(out.get(), "%% site kind week sow sat dN1 dN2 (slip: ambiguity jump without loss-of-lock flag;\n"
                            "%% gap: no data for dN1 epochs, all satellites start new arcs)\n");
    for (const SlipRecord& r : simulation.slips()) {
        if (r.satellite.empty())
            std::fprintf(out.get(), "%s gap  %4d %9.1f --- %4d\n", r.site.c_str(), r.time.week, r.time.sow, r.dN1);
        else
            std::fprintf(out.get(), "%s slip %4d %9.1f %s %4d %4d\n", r.site.c_str(), r.time.week, r.time.sow,
                         r.satellite.c_str(), r.dN1, r.dN2);
    }
    out.close();
}

int IntervalCount(const Simulator& simulation, double interval, double nlInterval)
{
    const double span = simulation.epochCount() * interval;
    return static_cast<int>(std::ceil(span / nlInterval - 1e-9));
}

}  // namespace

void WriteTruthFiles(const std::string& dir, const Simulator& simulation, double nlInterval, double interval)
{
    WriteStations(dir + "/stations.txt", simulation);
    WriteSlips(dir + "/slips.txt", simulation);

    const tagGPSTIME2 start = simulation.start();
    const int intervals = IntervalCount(simulation, interval, nlInterval);
    const tagGPSTIME2 end = pppio::shiftedTime(start, intervals * nlInterval);
    pppio::UpdProduct upd;
    upd.nlInterval = nlInterval;
    pppio::BiasSinexFile bias{"SIM", start, end, {}};
    for (const Satellite& sat : simulation.satellites()) {
        const double f1 = sat.f[0], f2 = sat.f[1];
        const PhaseCodeBiases& b = sat.bias;
        // The wide lane does not drift: one value for the day.
        const Upd day = WrappedUpd(SatelliteUpd(b, f1, f2), f1, f2);
        upd.wideLane.push_back({sat.iprn, start, day.wl, kTruthSigma, kTruthCount});
        const char* codes[2][2] = {{"C1C", "C1W"}, {"C2W", nullptr}};
        const char* phases[2] = {"L1C", "L2W"};
        if (sat.system == 'R') {
            codes[0][0] = "C1P", codes[0][1] = nullptr, codes[1][0] = "C2P";
            phases[0] = "L1P", phases[1] = "L2P";
        } else if (sat.system == 'E') {
            codes[0][1] = nullptr, codes[1][0] = "C5Q";
            phases[1] = "L5Q";
        }
        for (int i = 0; i < 2; ++i)
            for (const char* code : codes[i])
                if (code)
                    bias.biases.push_back({sat.id(), code, start, end, -b.code[i] / _LIGHT_SPEED * kNanoseconds});
        // Narrow lane and phase biases per interval, at its middle.
        // Narrow lane per interval, at its middle; the phase biases likewise
        // when they drift, else once for the whole span.
        for (int n = 0; n < intervals; ++n) {
            const tagGPSTIME2 from = pppio::shiftedTime(start, n * nlInterval);
            const PhaseCodeBiases drifted = simulation.satelliteBiases(sat, pppio::shiftedTime(from, nlInterval / 2.0));
            const Upd u = WrappedUpd(SatelliteUpd(drifted, f1, f2), f1, f2);
            upd.narrowLane.push_back({sat.iprn, from, u.nl, kTruthSigma, kTruthCount});
            if (simulation.nlDrift() == 0.0 && n > 0)
                continue;
            const tagGPSTIME2 to = simulation.nlDrift() == 0.0 ? end : pppio::shiftedTime(from, nlInterval);
            const PhaseCodeBiases& phase = simulation.nlDrift() == 0.0 ? b : drifted;
            for (int i = 0; i < 2; ++i)
                bias.biases.push_back({sat.id(), phases[i], from, to, -phase.phase[i] / sat.f[i] * kNanoseconds});
        }
    }
    upd.write(dir + "/truth.upd");
    pppio::WriteBiasSinex(dir + "/truth.bia", bias);
}

}  // namespace netsim
