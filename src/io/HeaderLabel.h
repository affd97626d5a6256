// Header lines of the RINEX family of formats (RINEX, ANTEX): a label in
// columns 61-80 names the content of columns 1-60.
#ifndef PPPIO_HEADERLABEL_H
#define PPPIO_HEADERLABEL_H

#include <string>

namespace pppio {

class LineReader;

// The label of a header line, without surrounding blanks.
std::string headerLabel(const std::string& line);

// Reads the first line of a RINEX file, which must be labelled
// "RINEX VERSION / TYPE", and returns its version (columns 1-9).
double readRinexVersion(LineReader& in);

}  // namespace pppio

#endif
