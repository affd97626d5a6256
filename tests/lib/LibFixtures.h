// Test material of the facade and the driver: a host that feeds synthetic
// epochs (observed from the ESBC position, orbits of the real excerpt) to a
// t_ppplib, and small file helpers.
#ifndef PPPLIB_TESTS_LIB_LIBFIXTURES_H
#define PPPLIB_TESTS_LIB_LIBFIXTURES_H

#include <memory>
#include <string>
#include <vector>

#include "support/EngineFixtures.h"
#include "support/FacadeHost.h"

namespace libtest {

using enginetest::ListDir;
using enginetest::ReadFile;
using enginetest::TempDir;

// Creates an empty regular file (e.g. to stand where a directory is expected); returns its path.
std::string MakeEmptyFile(const std::string& path);
bool Exists(const std::string& path);
int CountLines(const std::string& path);
// Entries of /proc/self/fd.
int OpenDescriptorCount();

// The facade host of site "ABCD" at ESBC, kinematic, 30 s, 7 degrees.
struct Host : enginetest::FacadeHost {
    // Observes the satellites of these systems from ESBC (G, R, E have orbits).
    explicit Host(std::vector<char> observed = {'G', 'R', 'E'});

    void Start(std::vector<char> configured = {'G', 'R', 'E'}) { FacadeHost::Start(configured); }
    // Restores the observed epoch (the stages edit it) and dates it; the GPS
    // time follows from the calendar time, whose fields may overflow (a
    // second of 90 is 1 min 30 s).
    void SetEpoch(int year, int month, int day, int hour, int minute, double second);

    std::unique_ptr<tagGPSOBSONEEPO> observed;   // as built from the scenario
};

// Carrier phases (cycles) that match the synthetic codes: the ionosphere
// advances the phase as much as it delays the code; plus whole cycles.
void AddPhases(tagGPSOBSONEEPO* epoch, double ionoL1);

// Augmentation of the epoch at t for every satellite, each entry valid.
std::vector<t_aug> FullAugmentation(const tagGPSTIME2& t);

}  // namespace libtest

#endif
