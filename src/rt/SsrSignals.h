// The signal and tracking-mode identifiers of RTCM SSR bias messages, as
// RINEX 3 band-and-attribute codes ("1C", "2W", "5Q"), both ways.
#ifndef PPPRT_SSRSIGNALS_H
#define PPPRT_SSRSIGNALS_H

namespace ppprt {

// RINEX code of a signal identifier of `system` ('G', 'R', 'E', 'C', 'J');
// null when the identifier is not defined.
const char* ssrSignalCode(char system, int signal);

// Identifier of a RINEX code ("1C", or an observation type "C1C"/"L1C",
// whose first letter is then ignored); -1 when the system has none.
int ssrSignalId(char system, const char* code);

}  // namespace ppprt

#endif
