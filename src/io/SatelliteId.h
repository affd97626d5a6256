// Satellite identifiers of the product files ("G01", "R24", "E05", "C19")
// and sets of packed satellite indexes (1..124, see common/gnsscmn.h).
#ifndef PPPIO_SATELLITEID_H
#define PPPIO_SATELLITEID_H

#include <bitset>
#include <string>
#include <vector>

namespace pppio {

constexpr int kMaxPackedIndex = 124;

// Packed index of a three-character identifier: system letter and a
// two-digit number (a blank letter means GPS, as in old SP3 and clock files;
// "G 1" is read as G01). Returns 0 when the identifier is well formed but
// has no packed index (QZSS, SBAS, NavIC, GPS above 32, GLONASS above 27,
// Galileo above 30, BeiDou above 35), -1 when it is malformed.
int parseSatelliteId(const char* text);

// Satellites of a system that have packed indexes (GPS 32, GLONASS 27,
// Galileo 30, BeiDou 35; 0 for other systems).
int systemCapacity(char system);

// Packed index of satellite `prn` of `system` ('G', 'R', 'E', 'C'); 0 when
// it has none.
int packedIndex(char system, int prn);

// "G01" style name of a packed index; "???" outside 1..124.
std::string satelliteName(int iprn);

// A set of packed satellite indexes, for example the satellites a caller
// wants from a product file.
class SatelliteSet {
public:
    static SatelliteSet all();
    // Every packed index of the systems named by `letters` ("GRE").
    static SatelliteSet ofSystems(const std::string& letters);
    void add(int iprn)
    {
        if (iprn >= 1 && iprn <= kMaxPackedIndex)
            m_bits.set(static_cast<size_t>(iprn));
    }
    bool contains(int iprn) const
    {
        return iprn >= 1 && iprn <= kMaxPackedIndex && m_bits.test(static_cast<size_t>(iprn));
    }
    bool empty() const { return m_bits.none(); }

private:
    std::bitset<kMaxPackedIndex + 1> m_bits;
};

// Collects the identifiers that were skipped because they have no packed
// index, for one warning per file instead of one per record.
class SkippedSatellites {
public:
    void add(const char* id);
    // Appends "<path>: satellites without a packed index skipped: E31 E33 J01"
    // when any were skipped.
    void appendWarning(const std::string& path, std::vector<std::string>& warnings) const;

private:
    std::string m_names;
};

}  // namespace pppio

#endif
