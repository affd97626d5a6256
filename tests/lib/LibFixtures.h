// Test material of the facade and the driver: a host that feeds synthetic
// epochs (observed from the ESBC position, orbits of the real excerpt) to a
// t_ppplib, scratch directories and small file helpers.
#ifndef PPPLIB_TESTS_LIB_LIBFIXTURES_H
#define PPPLIB_TESTS_LIB_LIBFIXTURES_H

#include <memory>
#include <string>
#include <vector>

#include "engine/GNSSSPP.h"
#include "lib/Process.h"
#include "lib/ppplib.h"
#include "support/EngineFixtures.h"

namespace libtest {

// A scratch directory, removed with everything below it at destruction.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

std::string ReadFile(const std::string& path);
// Creates an empty regular file (e.g. to stand where a directory is expected); returns its path.
std::string MakeEmptyFile(const std::string& path);
bool Exists(const std::string& path);
// Names in a directory, sorted; empty when it does not exist.
std::vector<std::string> ListDir(const std::string& path);
int CountLines(const std::string& path);
// Entries of /proc/self/fd.
int OpenDescriptorCount();

// A host application with one site: configuration and site records, the
// epoch record it hands over, the orbits, the solution record and the
// smoothing store. Configure conf, then Start() builds the facade.
struct Host {
    // Observes the satellites of these systems from ESBC (G, R, E have orbits).
    explicit Host(std::vector<char> observed = {'G', 'R', 'E'});
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void Start(std::vector<char> configured = {'G', 'R', 'E'});
    // Restores the observed epoch (the stages edit it) and dates it; the GPS
    // time follows from the calendar time, whose fields may overflow (a
    // second of 90 is 1 min 30 s).
    void SetEpoch(int year, int month, int day, int hour, int minute, double second);
    int Run(t_upd* upd = nullptr, t_aug* aug = nullptr);

    t_Process& process() { return *lib->process(); }
    CGNSSSPP& engine() { return *lib->process()->spp; }

    t_conf conf{};
    tagSITE site{};
    std::unique_ptr<tagGPSOBSONEEPO> observed;   // as built from the scenario
    std::unique_ptr<tagGPSOBSONEEPO> epoch;      // what the next Run hands over
    std::unique_ptr<tagGMSP3REC> orbits;
    std::unique_ptr<tagSPPONERESULT> result;
    tagGPSOBSSMOOTH* smooth = nullptr;
    tagOBSONEEPOONESTA obs{};
    std::unique_ptr<t_ppplib> lib;
};

// Carrier phases (cycles) that match the synthetic codes: the ionosphere
// advances the phase as much as it delays the code; plus whole cycles.
void AddPhases(tagGPSOBSONEEPO* epoch, double ionoL1);

}  // namespace libtest

#endif
