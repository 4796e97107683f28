// The host library's books around a piece of work: what was allocated in it must be gone, and nothing freed twice,
// freed that was never made, or written over. Also the allocation sweep that every start-up path goes through.
// Needs the ledger build of the host library, which lies beside the test programs.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "tests/ledger/ledger.h"
#include "tests/support/pinned.h"

namespace qvtest {

// The numbers of this moment.
[[nodiscard]] QvshrLedgerState Books();

// Fails the test at its end (or at Verify) when blocks, strings or keys are left or errors were found.
class LedgerCheck : private Pinned {
 public:
  LedgerCheck();
  ~LedgerCheck();

  // From here on exactly `blocks` blocks of this piece of work are expected to be left, for the reason given.
  void ExpectLeft(uint64_t blocks, std::string reason);
  // Compares now; the end of the object then does nothing.
  void Verify();
  // How many allocations there were since the object was made.
  [[nodiscard]] uint64_t Allocations() const;

 private:
  QvshrLedgerState m_before{};
  uint64_t m_expectedLeft = 0;
  std::string m_reason;
  bool m_done = false;
};

// Makes an allocation fail for the life of the object.
class FailAllocation : private Pinned {
 public:
  FailAllocation(uint64_t n, QvshrLedgerMode mode) { QvshrLedgerFailAt(n, mode); }
  ~FailAllocation() { QvshrLedgerFailAt(0, kQvshrFailOnce); }

  [[nodiscard]] bool Fired() const { return QvshrLedgerFired() != 0; }
};

// Makes the n-th call of a host library operation fail for the life of the object.
class FailCall : private Pinned {
 public:
  FailCall(QvshrCall call, uint64_t n, QvshrLedgerMode mode = kQvshrFailOnce) : m_call(call) {
    QvshrLedgerFailCall(call, n, mode);
  }
  ~FailCall() { QvshrLedgerFailCall(m_call, 0, kQvshrFailOnce); }

  [[nodiscard]] bool Fired() const { return QvshrLedgerCallFired(m_call) != 0; }

 private:
  QvshrCall m_call;
};

// Guard pages behind every block for the life of the object, or on none. With QVSHR_LEDGER_GUARD=1 every block of a
// test run has them.
class GuardPages : private Pinned {
 public:
  explicit GuardPages(bool on = true) : m_before(QvshrLedgerSetGuard(on ? 1 : 0)) {}
  ~GuardPages() { QvshrLedgerSetGuard(m_before); }

 private:
  int32_t m_before;
};

inline const char* NameOf(QvshrLedgerMode mode) { return mode == kQvshrFailOnce ? "once" : "from there on"; }

// Makes allocation 1 fail, then 2, then 3, until the work needs fewer: first that one alone, then it and every later
// one. `run` is called as bool(uint64_t n, QvshrLedgerMode mode): it makes a FailAllocation of these where its work
// begins and answers whether that has fired. Stops at the first failure of the test. Returns in how many runs an
// allocation failed; none fails the test.
template <class Run>
uint64_t SweepAllocations(Run&& run,
                          std::initializer_list<QvshrLedgerMode> modes = {kQvshrFailOnce, kQvshrFailFromHere}) {
  constexpr uint64_t kMost = 2000;
  uint64_t failed = 0;
  for (const QvshrLedgerMode mode : modes) {
    bool fired = true;
    for (uint64_t n = 1; fired && n < kMost && !testing::Test::HasFailure(); ++n) {
      SCOPED_TRACE(testing::Message() << "allocation " << n << " fails " << NameOf(mode));
      fired = run(n, mode);
      if (fired) ++failed;
    }
    EXPECT_TRUE(!fired || testing::Test::HasFailure()) << "it never needs fewer than " << kMost << " allocations";
  }
  EXPECT_GT(failed, 0u) << "it allocates nothing, so nothing was tested";
  return failed;
}

}  // namespace qvtest
