// Fixed-column fields of RINEX lines: numbers, text and satellite
// identifiers, read by hand because the readers call these millions of times
// per file. Columns are 0-based offsets here; a field that runs past the end
// of a (trimmed) line is read as far as the line goes.
#ifndef PPPIO_RINEXFIELDS_H
#define PPPIO_RINEXFIELDS_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace pppio {

enum class Field { kBlank, kValue, kBad };

// Decimal number "[-]ddd.ddd" with blanks around it. The value is the digits
// as an integer divided by the power of ten of the decimals, so that a field
// and the same digits read as an integer with implied decimals (Compact
// RINEX) give the very same double.
Field ParseDecimal(const char* begin, const char* end, double& value);
Field ParseDecimalField(const std::string& line, size_t first, size_t width, double& value);

// Integer "[-]ddd" with blanks around it.
Field ParseIntegerField(const std::string& line, size_t first, size_t width, long& value);

// Integer of at most 18 digits with an optional sign and nothing around it;
// false for anything else (an empty text too).
bool ParseInteger(const char* begin, const char* end, int64_t& value);

// The field with leading and trailing blanks removed.
std::string TrimmedField(const std::string& line, size_t first, size_t width);

// The character at `column`, blank beyond the end of the line.
inline char CharAt(const std::string& line, size_t column)
{
    return column < line.size() ? line[column] : ' ';
}

// Satellite systems a file may hold, in this order in per-system tables.
constexpr char kSystemLetters[] = "GRECJSI";
constexpr int kSystemCount = 7;
constexpr int kMaxPrn = 99;

// Index of the system letter in kSystemLetters, -1 when unknown.
int SystemIndex(char system);

// Satellite identifier "snn" at `column` ("G05", "G 5"; a blank system letter
// is GPS as in RINEX 2). False when it is not one.
bool ParseSatelliteId(const std::string& line, size_t column, char& system, int& prn);

}  // namespace pppio

#endif
