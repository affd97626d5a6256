// A run on RTCM 3 streams: observations from one source, ephemerides and
// SSR corrections from the same or a second one, each epoch processed as it
// completes.
#ifndef PPPRUN_STREAMRUN_H
#define PPPRUN_STREAMRUN_H

#include "Options.h"
#include "Summary.h"

namespace ppprun {

// Throws InputError for a source that cannot be opened or a malformed address.
RunResult RunStream(const Options& options);

}  // namespace ppprun

#endif
