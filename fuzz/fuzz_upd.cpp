// ppplib UPD files through UpdProduct::read, the library's UPD entries
// filled at the start of every value and between, and a write round trip:
// what was read is written and must read back whole (an exception or a
// lost value there is a finding).
#include <cstddef>
#include <cstdlib>
#include <cstdint>
#include <string>

#include "FuzzInput.h"
#include "io/GpsTime.h"
#include "io/ReadError.h"
#include "io/UpdFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t kMaxQueries = 64;
    const std::string& path = fuzzing::inputFile(data, size);
    pppio::UpdProduct product;
    try {
        product = pppio::UpdProduct::read(path);
    } catch (const pppio::ReadError&) {
        return 0;
    }
    static t_upd upds[pppio::kMaxPackedIndex];
    for (size_t k = 0; k < product.narrowLane.size() && k < kMaxQueries; ++k) {
        product.fill(product.narrowLane[k].start, upds);
        product.fill(pppio::shiftedTime(product.narrowLane[k].start, product.nlInterval / 2), upds);
    }
    for (size_t k = 0; k < product.wideLane.size() && k < kMaxQueries; ++k)
        product.fill(product.wideLane[k].start, upds);
    product.write(path);
    const pppio::UpdProduct again = pppio::UpdProduct::read(path);
    if (again.wideLane.size() != product.wideLane.size() || again.narrowLane.size() != product.narrowLane.size())
        std::abort();
    return 0;
}
