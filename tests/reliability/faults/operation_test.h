// How the runs of one kind of fault ended: what the page tells of the operations of the bridge.
#pragma once

#include <string>

#include "tests/bridge/operation_rows.h"
#include "tests/reliability/faults/tally.h"

namespace qvtest {

// Counts how an operation ended.
inline void Count(Tally& tally, const End& normal, const End& stated, const End& end) {
  ++(!(end == stated) ? tally.otherwise : normal.status == end.status ? tally.goOn : tally.fail);
}

}  // namespace qvtest
