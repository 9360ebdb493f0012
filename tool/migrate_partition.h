#pragma once
#include "model/records_physical.h"

// The server partition of a migrated device: the record the 4.5 writer and
// reader leave of it. Both ways of getting there are here so that tests can
// hold one against the other.

namespace tool {

/// Thrown inside the migration when a part can't be built; caught at its entry.
struct MigrationFailed {};

/// The partition through its text form: written with the 4.5 writer into
/// memory and read back with the 4.5 partition reader. Throws MigrationFailed
/// when either yields nothing.
model::NimbraPartition roundTripPartition(const model::NimbraPartition& old);

/// The record roundTripPartition(old) yields, built field by field from `old`
/// when every text in it comes back from the text form unchanged; otherwise
/// (and whenever the layouts take a shape the direct path does not know) it is
/// roundTripPartition(old). The direct path takes the texts from `old`, which
/// is left moved-from; the round trip leaves it as it was.
model::NimbraPartition normalisePartition(model::NimbraPartition& old);

/// Whether normalisePartition takes the direct path for `partition`.
bool normalisesDirectly(const model::NimbraPartition& partition);

}  // namespace tool
