// Queries of the precise product stores (PreciseOrbit, PreciseClock) that
// the harnesses make after a file is read: every satellite with samples, at
// the first sample time, between samples and past the last one.
#ifndef PPPLIB_FUZZ_SPANQUERIES_H
#define PPPLIB_FUZZ_SPANQUERIES_H

#include "io/GpsTime.h"
#include "io/SatelliteId.h"

namespace fuzzing {

// Calls query(iprn, t) at the store's first time, `inside` s after it and
// `beyond` s after its last time.
template <class Store, class Query>
void querySpan(const Store& store, double inside, double beyond, Query query)
{
    tagGPSTIME2 first, last;
    if (!store.span(first, last))
        return;
    const tagGPSTIME2 times[] = {first, pppio::shiftedTime(first, inside), pppio::shiftedTime(last, beyond)};
    for (int iprn = 1; iprn <= pppio::kMaxPackedIndex; ++iprn)
        if (store.sampleCount(iprn) > 0)
            for (const tagGPSTIME2& t : times)
                query(iprn, t);
}

}  // namespace fuzzing

#endif
