// Screening of the host's epoch record before any stage reads it. The stages
// index tables by the record's counts and satellite numbers and feed its
// values into the filter's running normal equations, where a single NaN or
// infinity would stay for good. So a record that cannot be an epoch is
// refused, and a satellite whose identity, observations or orbit cannot be
// computed with is taken out of the epoch; sound records pass unchanged.
#ifndef PPPLIB_LIB_EPOCHSCREENING_H
#define PPPLIB_LIB_EPOCHSCREENING_H

#include "engine/GNSSEpoch.h"

// Counts within the record's capacity, a calendar time whose fields are in
// range, a finite GPS time within its week.
bool EpochRecordIsSound(const tagGPSOBSONEEPO& epoch);

// Removes (keeping the order of the rest) every satellite with an unknown
// system, a number outside its system's range or inconsistent with its packed
// index, a repeated packed index, or a non-finite or physically impossible
// code, phase, Doppler, frequency or weight, and lowers its system's count
// (and the used counts when it was in use).
// A usable satellite whose orbit record holds non-finite or impossible values
// has that record marked invalid. Returns the number of satellites removed.
// The record must be sound.
int DropUnusableSatellites(tagGPSOBSONEEPO* epoch, tagGMSP3REC* orbits);

#endif
