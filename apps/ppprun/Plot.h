// A picture of the run as SVG (or HTML around the same SVG): north, east,
// up against time with the solution quality as a band, satellites used
// per system, and the zenith total delay. Positions are drawn against the
// reference when one is given, else against the mean of the solutions.
//
//   RunPlot plot(title, reference);   // reference: null for the mean
//   plot.add(solution);               // per epoch
//   plot.write("run.svg");            // ".html" wraps the SVG in a page
#ifndef PPPRUN_PLOT_H
#define PPPRUN_PLOT_H

#include <string>
#include <vector>

#include "Solution.h"

namespace ppprun {

class RunPlot {
public:
    RunPlot(const std::string& title, const std::string& systems, const double* reference);

    void add(const EpochSolution& s);
    // False when the file cannot be written.
    bool write(const std::string& path) const;
    std::string svg() const;

private:
    struct Point {
        double seconds;      // since the first solution
        double xyz[3];
        float ztd;
        unsigned char quality;
        unsigned char systemSatellites[4];
    };
    std::string m_title;
    std::string m_systems;
    bool m_hasReference;
    double m_reference[3];
    tagGPSTIME2 m_first{0, 0.0};
    std::vector<Point> m_points;
};

}  // namespace ppprun

#endif
