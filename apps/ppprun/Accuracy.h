// Error of the epoch solutions against reference coordinates: north, east,
// up of the last solution, RMS over the second half of the data and the
// convergence time.
#ifndef PPPRUN_ACCURACY_H
#define PPPRUN_ACCURACY_H

#include <vector>

#include "common/GNSSCoordConvert.h"

namespace ppprun {

struct Neu {
    double north, east, up;
};

class Accuracy {
public:
    static constexpr double kHorizontalLimit = 0.10;   // m, convergence
    static constexpr double kVerticalLimit = 0.20;     // m

    explicit Accuracy(const double reference[3]);

    // A solution at `seconds` after the first epoch of the data.
    void add(double seconds, const double xyz[3]);

    bool empty() const { return m_samples.empty(); }
    Neu finalError() const;
    // RMS over the solutions at or after `from` seconds; false when there are none.
    bool rms(double from, Neu& out) const;
    // Seconds from the first epoch of the data to the first solution from
    // which every later one stays within the limits; false when the last
    // solution is outside them.
    bool convergence(double& seconds) const;

private:
    struct Sample {
        double seconds;
        Neu error;
    };
    tagCRDCARTESIAN m_reference;
    CGNSSCoordConvert m_convert;
    std::vector<Sample> m_samples;
};

}  // namespace ppprun

#endif
