// The host library's books around a piece of work: what was allocated in it must be gone, and nothing freed twice,
// freed that was never made, or written over. Also the allocation sweep that every start-up path goes through.
// Needs the ledger build of the host library, which lies beside the test programs.
#pragma once

#include <cstdint>
#include <string>

#include "tests/ledger/ledger.h"

namespace qvtest {

// Fails the test at its end (or at Verify) when blocks, strings or keys are left or errors were found.
class LedgerCheck {
 public:
  LedgerCheck();
  ~LedgerCheck();
  LedgerCheck(const LedgerCheck&) = delete;
  LedgerCheck& operator=(const LedgerCheck&) = delete;

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
class FailAllocation {
 public:
  FailAllocation(uint64_t n, QvshrLedgerMode mode) { QvshrLedgerFailAt(n, mode); }
  ~FailAllocation() { QvshrLedgerFailAt(0, kQvshrFailOnce); }
  FailAllocation(const FailAllocation&) = delete;
  FailAllocation& operator=(const FailAllocation&) = delete;

  [[nodiscard]] bool Fired() const { return QvshrLedgerFired() != 0; }
};

// Makes the n-th call of a host library operation fail for the life of the object.
class FailCall {
 public:
  FailCall(QvshrCall call, uint64_t n, QvshrLedgerMode mode = kQvshrFailOnce) : m_call(call) {
    QvshrLedgerFailCall(call, n, mode);
  }
  ~FailCall() { QvshrLedgerFailCall(m_call, 0, kQvshrFailOnce); }
  FailCall(const FailCall&) = delete;
  FailCall& operator=(const FailCall&) = delete;

  [[nodiscard]] bool Fired() const { return QvshrLedgerCallFired(m_call) != 0; }

 private:
  QvshrCall m_call;
};

// Guard pages behind every block for the life of the object, or on none. With QVSHR_LEDGER_GUARD=1 every block of a
// test run has them.
class GuardPages {
 public:
  explicit GuardPages(bool on = true) : m_before(QvshrLedgerSetGuard(on ? 1 : 0)) {}
  ~GuardPages() { QvshrLedgerSetGuard(m_before); }
  GuardPages(const GuardPages&) = delete;
  GuardPages& operator=(const GuardPages&) = delete;

 private:
  int32_t m_before;
};

inline const char* NameOf(QvshrLedgerMode mode) { return mode == kQvshrFailOnce ? "once" : "from there on"; }

}  // namespace qvtest
