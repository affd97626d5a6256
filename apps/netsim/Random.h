// Random numbers of the simulation: the Mersenne twister, whose output the
// C++ standard fixes, with uniform and normal variates derived here (the
// standard distributions differ between libraries), so that one seed gives
// the same files on every platform.
#ifndef NETSIM_RANDOM_H
#define NETSIM_RANDOM_H

#include <cmath>
#include <cstdint>
#include <random>

namespace netsim {

class Random {
public:
    explicit Random(uint32_t seed) : m_engine(seed) {}
    // A generator of its own for stream `stream` of a seed (stations, satellites).
    Random(uint32_t seed, uint32_t stream) : m_engine(Seeded(seed, stream)) {}

    // Uniform in (0, 1).
    double uniform() { return (static_cast<double>(m_engine()) + 0.5) / 4294967296.0; }
    double uniform(double low, double high) { return low + (high - low) * uniform(); }
    // Whole number from low to high inclusive.
    int integer(int low, int high)
    {
        const int value = low + static_cast<int>(uniform() * (high - low + 1));
        return value > high ? high : value;
    }
    // Standard normal (Box-Muller).
    double normal()
    {
        const double r = std::sqrt(-2.0 * std::log(uniform()));
        return r * std::cos(2.0 * 3.14159265358979323846 * uniform());
    }

private:
    static std::mt19937 Seeded(uint32_t seed, uint32_t stream)
    {
        std::seed_seq sequence{seed, stream};
        return std::mt19937(sequence);
    }

    std::mt19937 m_engine;
};

}  // namespace netsim

#endif
