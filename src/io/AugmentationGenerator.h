// Per-satellite augmentation corrections (t_aug) of a reference station with
// known coordinates: what the station observes minus what the user's model
// predicts there, epoch by epoch.
//
//   pppio::AugmentationGenerator generator(referenceXyz);
//   std::vector<t_aug> corrections(MAXSATNUM);
//   while (assembler.assemble(refIn, refEpoch, refOrbit))
//       generator.generate(refEpoch, refOrbit, corrections.data());
//   ... lib.pppos(&userStation, nullptr, corrections.data());
//
// What is removed from each observation (metres; phase first turned into
// metres with the satellite's own wavelength):
// - the geometric range from the reference position to the satellite with
//   the Earth-rotation term of the travel time, and the satellite clock of
//   the orbit record (relativistic term included), both exactly as the
//   user's single point positioning forms them;
// - the troposphere as that positioning models it (standard atmosphere at
//   the reference height, Niell mapping): the user subtracts its own model
//   again, so only the difference of the true delays is left;
// - the reference receiver clock: per system the median of the epoch's L1
//   code corrections, taken from all four corrections of that system. The
//   user's receiver clock (one per system) absorbs any common part, and the
//   corrections stay within metres instead of the clock's milliseconds.
// What is kept, on purpose: the ionosphere (per frequency, with its sign in
// code and phase; the user on a short baseline sees nearly the same), the
// orbit and clock errors of the products, satellite code and phase biases,
// satellite antenna offsets, phase wind-up and the solid tide. The user's
// positioning with corrections does not model them, so they must come
// through the corrections; over tens of kilometres they are nearly the same
// at both stations. Not modelled at the reference either: its receiver
// antenna offsets and variations, so the user's position refers to the
// reference antenna's phase centre; a wrong reference position moves the
// user's position by the same vector.
//
// Phase ambiguities: at the start of an arc a whole number of cycles per
// frequency is taken off so that the phase correction lies within half a
// cycle of the code correction; it stays constant over the arc. A new arc
// starts at the first epoch of a satellite, after a gap longer than
// kMaxGapSeconds, on a loss-of-lock flag, and when the geometry-free phase
// jumps (a cycle slip at the reference).
#ifndef PPPIO_AUGMENTATIONGENERATOR_H
#define PPPIO_AUGMENTATIONGENERATOR_H

#include "engine/GNSSEpoch.h"
#include "engine/PPPRecords.h"

namespace pppio {

class AugmentationGenerator {
public:
    static constexpr double kMaxGapSeconds = 60.0;
    static constexpr double kSlipJumpMetres = 0.05;   // geometry-free phase between two epochs

    // `referenceXyz`: ECEF position (m) of the reference antenna.
    explicit AugmentationGenerator(const double referenceXyz[3]);

    // Writes the corrections of the satellites of `epoch` (those with both
    // codes, both phases and an orbit) into their entries of `out` (124
    // entries, packed index - 1), stamped with the epoch's time; the other
    // entries keep what they held, so they age out. Returns the number of
    // satellites written.
    int generate(const tagGPSOBSONEEPO& epoch, const tagGMSP3REC& orbit, t_aug* out);

    // Number of arcs started so far (first epochs and slips).
    long arcs() const { return m_arcs; }

private:
    struct Arc {
        bool active = false;
        tagGPSTIME2 last{0, 0.0};
        double geometryFree = 0.0;    // m, of the last epoch
        double cycles1 = 0.0, cycles2 = 0.0;   // whole cycles taken off
    };

    double m_xyz[3];
    double m_lat, m_lon, m_height;
    Arc m_arcState[MAXSATNUM];
    long m_arcs = 0;
};

}  // namespace pppio

#endif
