// Ends a process that has stopped making progress, after it has said what every thread was doing: nobody has to look at
// a hang with a debugger, and no test waits for ever. It needs nothing of what may hang: no Java, no locks of the C
// library.
// Positive control: support_tests.cpp.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "tests/support/threads.h"

namespace qvtest {

// The exit code of a process that a watchdog has ended.
inline constexpr DWORD kHungExitCode = 98;

class Watchdog : private Pinned {
 public:
  // The process ends when `progress` has not changed for so long. `describe` adds what the program knows, such as what
  // each worker was about to do.
  Watchdog(const std::atomic<uint64_t>& progress, DWORD limitMs, std::function<std::string()> describe = {});
  ~Watchdog();

 private:
  void Watch();

  const std::atomic<uint64_t>& m_progress;
  DWORD m_limitMs;
  std::function<std::string()> m_describe;
  Event m_stop;
  HostThread m_thread;
};

// Every thread of the process but the calling one: where it stands and who called that, as module and offset.
std::string StacksOfOtherThreads();

}  // namespace qvtest
