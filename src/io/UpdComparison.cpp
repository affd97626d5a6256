#include "io/UpdComparison.h"

#include <cmath>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "io/FractionalBiasFit.h"
#include "io/GpsTime.h"

namespace pppio {

namespace {

using UpdKey = std::pair<int64_t, int>;   // whole seconds since GPS week 0, packed index

int64_t SecondsOf(const tagGPSTIME2& t)
{
    return std::llround(t.week * kSecondsPerWeek + t.sow);
}

char SystemOf(int iprn)
{
    return iprn <= 32 ? 'G' : iprn <= 59 ? 'R' : iprn <= 89 ? 'E' : 'C';
}

std::map<UpdKey, double> Index(const std::vector<UpdValue>& upds)
{
    std::map<UpdKey, double> index;
    for (const UpdValue& u : upds)
        index[{SecondsOf(u.start), u.iprn}] = u.value;
    return index;
}

// One compared satellite: estimate - truth (cycles, not wrapped).
struct Difference {
    UpdKey key;
    double value;
};

struct Tally {
    double sumSquares = 0.0;
    int count = 0;
    double largest = 0.0;
};

// Removes the datum of each group (same time and system) and tallies the
// errors. `integers`, when given, receives the integer k_s of every
// compared satellite: difference = datum - k_s + error.
void Accumulate(const std::vector<Difference>& diffs, Tally& tally, std::map<UpdKey, double>* integers)
{
    std::map<std::pair<int64_t, char>, std::vector<size_t>> groups;
    for (size_t i = 0; i < diffs.size(); ++i)
        groups[{diffs[i].key.first, SystemOf(diffs[i].key.second)}].push_back(i);
    for (const auto& group : groups) {
        if (group.second.size() < 2)
            continue;
        CircularSum sum;
        for (size_t i : group.second)
            sum.add(diffs[i].value);
        const double datum = sum.mean();
        for (size_t i : group.second) {
            const double error = WrapCycle(diffs[i].value - datum);
            tally.sumSquares += error * error;
            tally.largest = std::fmax(tally.largest, std::fabs(error));
            ++tally.count;
            if (integers)
                (*integers)[diffs[i].key] = std::round(datum + error - diffs[i].value);
        }
    }
}

}  // namespace

UpdErrors CompareUpds(const UpdProduct& estimate, const UpdProduct& truth, int minCount)
{
    // Wide lane: estimate - truth = datum - k_s + error.
    const std::map<UpdKey, double> truthWl = Index(truth.wideLane);
    std::vector<Difference> diffs;
    for (const UpdValue& u : estimate.wideLane) {
        const UpdKey key{SecondsOf(u.start), u.iprn};
        const auto t = truthWl.find(key);
        if (t != truthWl.end() && u.count >= minCount)
            diffs.push_back({key, u.value - t->second});
    }
    std::map<UpdKey, double> integers;
    Tally wl;
    Accumulate(diffs, wl, &integers);

    // Narrow lane: estimate - truth = datum - f2/(f1 - f2) k_s + error.
    const std::map<UpdKey, double> truthNl = Index(truth.narrowLane);
    const int64_t truthInterval = std::llround(truth.nlInterval);
    diffs.clear();
    for (const UpdValue& u : estimate.narrowLane) {
        const int64_t t = SecondsOf(u.start);
        const auto k = integers.find({t - t % 86400, u.iprn});
        const auto tr = truthNl.find({truthInterval > 0 ? t - t % truthInterval : t, u.iprn});
        double f1 = 0.0, f2 = 0.0;
        if (k != integers.end() && tr != truthNl.end() && u.count >= minCount && UpdFrequencies(u.iprn, f1, f2))
            diffs.push_back({{t, u.iprn}, u.value - tr->second + f2 / (f1 - f2) * k->second});
    }
    Tally nl;
    Accumulate(diffs, nl, nullptr);

    UpdErrors errors;
    errors.wlCount = wl.count;
    errors.wlRms = wl.count > 0 ? std::sqrt(wl.sumSquares / wl.count) : 0.0;
    errors.wlMax = wl.largest;
    errors.nlCount = nl.count;
    errors.nlRms = nl.count > 0 ? std::sqrt(nl.sumSquares / nl.count) : 0.0;
    errors.nlMax = nl.largest;
    return errors;
}

}  // namespace pppio
