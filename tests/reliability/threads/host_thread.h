// A host's threads without the C++ library around them, so that handles can be counted, and what is left when they have
// gone.
#pragma once

#include <cstdint>

#include "qvjvm/qvjvm.h"
#include "tests/support/threads.h"

namespace qvtest {

// How the JVM is started for crowds of threads. It starts no threads of its own in the middle of a collection: where
// the system runs thread ends under a lock that starting threads need as well, a collection that waits for a new thread
// and a thread that ends during the collection would wait for each other (Wine 8).
inline const wchar_t* const kCrowdOptions[] = {L"-Xmx96m", L"-XX:-UseDynamicNumberOfGCThreads",
                                               L"-XX:-UseDynamicNumberOfCompilerThreads"};

// Counts of the process when only the calling thread works.
struct Remains {
  int64_t handles = 0;
  int64_t javaThreads = 0;
  int64_t blocks = 0;
  int64_t heapErrors = 0;
};
Remains CountRemains(IQV_JavaVM* vm);

// Nothing more than before; of handles the few that the JVM keeps for monitors that it needed for the first time, which
// are fewer than one for each thread.
bool IsFlat(const Remains& before, const Remains& after);
void ExpectFlat(const Remains& before, const Remains& after);

}  // namespace qvtest
