// ppplib's UPD file: satellite wide-lane UPDs valid for a day and
// narrow-lane UPDs valid for NL_INTERVAL seconds, in library-domain cycles.
//
//   % ppplib UPD 1.0
//   % NL_INTERVAL 900
//   % columns: kind week sow sat value(cycles) sigma(cycles) count
//   WL 2111 345600.0 G01  0.1234 0.0120 57
//   NL 2111 345600.0 G01 -0.2345 0.0210 12
//
// Usage:
//   const pppio::UpdProduct product = pppio::UpdProduct::read("day.upd");
//   t_upd upds[pppio::kMaxPackedIndex];
//   product.fill(epochTime, upds);      // each epoch, then hand upds to the library
#ifndef PPPIO_UPDFILE_H
#define PPPIO_UPDFILE_H

#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"
#include "engine/PPPRecords.h"
#include "io/SatelliteId.h"

namespace pppio {

// One line of the file: a UPD valid from `start` (for a day when wide-lane,
// for the product's interval when narrow-lane).
struct UpdValue {
    int iprn;              // packed satellite index 1..124
    tagGPSTIME2 start;
    double value;          // cycles
    double sigma;          // cycles
    int count;             // stations or samples behind the value
};

struct UpdProduct {
    static constexpr double kWideLaneValidity = 86400.0;   // s

    double nlInterval = 900.0;            // s, validity of a narrow-lane value
    std::vector<UpdValue> wideLane;
    std::vector<UpdValue> narrowLane;
    std::vector<std::string> warnings;    // of read(): skipped satellites, truncation

    // Throws ReadError for a malformed line; satellites without a packed
    // index (QZSS...) are skipped with one warning.
    static UpdProduct read(const std::string& path);

    // Writes the whole product (wide-lane lines first); throws
    // std::runtime_error when the file cannot be written.
    void write(const std::string& path) const;

    // Fills the library's 124 entries (entry iprn - 1) for epoch t: a
    // satellite with a wide-lane value valid at t and a narrow-lane value
    // valid at t (start inclusive, end exclusive; of several, the one that
    // starts last) gets valid = 1, week/sow = t and both values; any other
    // entry gets valid = 0 and values of 999 (unusable). Returns the number
    // of valid entries. No allocation.
    int fill(const tagGPSTIME2& t, t_upd upds[kMaxPackedIndex]) const;
};

// One entry of the library's UPD array for epoch t: valid = 1 with both
// values when both are given, otherwise valid = 0 and values of 999
// (unusable). week/sow = t either way.
void setUpdEntry(t_upd& entry, const tagGPSTIME2& t, const UpdValue* wideLane, const UpdValue* narrowLane);

}  // namespace pppio

#endif
