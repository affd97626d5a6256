// The header of an observation file copied line for line, for a converter
// that leaves the header alone and rewrites only the data records.
#ifndef CRX2RNX_HEADERCOPY_H
#define CRX2RNX_HEADERCOPY_H

#include <cstdio>
#include <string>

namespace crx2rnx {

// Copies the header lines of `path` (plain or gzip) up to and including
// END OF HEADER to `out`, leaving out the Compact RINEX lines ("CRINEX ..."
// labels). Throws pppio::ReadError when the file has no END OF HEADER.
void CopyHeader(const std::string& path, std::FILE* out);

}  // namespace crx2rnx

#endif
