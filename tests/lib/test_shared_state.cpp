// Facades of one process share the C library's rand(), through the phase
// noise that PPP-RTK (mode 7) adds to the corrected observations: two mode 7
// facades driven in turn draw each other's numbers and the observations
// they solve with change, while in the other modes facades driven in turn
// give exactly what each gives alone.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "LibFixtures.h"

using namespace libtest;

namespace {

constexpr int kEpochs = 20;

// Per epoch the position and the phases the stages used, and every result file's text.
struct Outcome {
    std::vector<double> numbers;
    std::string files;
};

struct Site {
    Site(int mode, const char* name)
    {
        host.conf.mode = mode;
        std::strcpy(host.conf.site_name, name);
        std::strcpy(host.conf.res_dir, dir.path().c_str());
        host.Start();
    }

    void Epoch(int k)
    {
        host.SetEpoch(2020, 6, 25, 1, 0, 30.0 * k);
        AddPhases(host.epoch.get(), 4.0);
        std::vector<t_aug> aug = FullAugmentation(host.epoch->tGpsTime);
        host.Run(nullptr, aug.data());
        outcome.numbers.insert(outcome.numbers.end(), host.result->dPos, host.result->dPos + 3);
        for (int i = 0; i < host.epoch->nSatNum; ++i) {
            outcome.numbers.push_back(host.epoch->sat[i].dL1);
            outcome.numbers.push_back(host.epoch->sat[i].dL2);
        }
    }

    // The files are read after the facade is gone and has closed them.
    Outcome Finish()
    {
        host.lib.reset();
        for (const std::string& name : ListDir(dir / "20200625"))
            outcome.files += name + "\n" + ReadFile(dir / ("20200625/" + name));
        return outcome;
    }

    TempDir dir;
    Host host;
    Outcome outcome;
};

Outcome Alone(int mode, const char* name)
{
    std::srand(1);
    Site site(mode, name);
    for (int k = 0; k < kEpochs; ++k)
        site.Epoch(k);
    return site.Finish();
}

TEST(SharedState, OnlyPppRtkFacadesDrivenInTurnDisturbEachOther)
{
    const struct {
        int mode;
        bool independent;
    } cases[] = {{1, true}, {2, true}, {3, true}, {4, true}, {7, false}};
    for (const auto& c : cases) {
        const Outcome a = Alone(c.mode, "AAAA"), b = Alone(c.mode, "BBBB");
        ASSERT_FALSE(a.files.empty()) << "mode " << c.mode;
        std::srand(1);
        Site first(c.mode, "AAAA"), second(c.mode, "BBBB");
        for (int k = 0; k < kEpochs; ++k) {
            first.Epoch(k);
            second.Epoch(k);
        }
        const Outcome inTurnA = first.Finish(), inTurnB = second.Finish();
        EXPECT_EQ(inTurnA.numbers == a.numbers && inTurnA.files == a.files, c.independent) << "mode " << c.mode;
        EXPECT_EQ(inTurnB.numbers == b.numbers && inTurnB.files == b.files, c.independent) << "mode " << c.mode;
    }
}

}  // namespace
