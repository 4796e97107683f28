// Whether the process is ending: from then on no lock is taken, because the other threads are gone, perhaps in the
// middle of what they held. Nothing is waited for either, unless the host library allows detaching then: the JVM is
// told of each thread that is still attached, and may wait for what it likes.
#pragma once

namespace qv {

bool ProcessIsEnding() noexcept;

}  // namespace qv
