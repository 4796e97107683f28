// Whether the process is ending: from then on no lock is taken and nothing is waited for, because the other threads
// are gone, perhaps in the middle of what they held.
#pragma once

namespace qv {

bool ProcessIsEnding() noexcept;

}  // namespace qv
