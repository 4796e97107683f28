// The operations of the bridge as a table: how each ends undisturbed, when each of its JNI calls fails, and without
// memory, and how many references it leaves on the thread.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/bridge/bridge_test.h"

namespace qvtest {

// How an operation ends. The references are those that it has made and not deleted, with what it hands out.
struct End {
  int32_t status = 0;
  RecordView record{};
  int locals = 0;
  int globals = 0;

  friend bool operator==(const End&, const End&) = default;
  friend std::ostream& operator<<(std::ostream& out, const End& end) {
    return out << "status " << std::hex << end.status << std::dec << ", " << end.record << ", " << end.locals
               << " local and " << end.globals << " global references more";
  }
};

struct FaultRow {
  const char* function;
  int n;
  Fault fault;
  End end;
};
using FaultRows = std::vector<FaultRow>;

struct WithoutMemory {
  End once;       // that one alone
  End fromThere;  // and every one after it
};

struct Operation {
  std::string name;
  bool created = false;  // whether the JVM counts as the service's own
  End end;
  FaultRows faults;
  std::function<void(FakeVm&, IQV_JavaVM&, SlotTable&)> prepare;
  std::function<int32_t(IQV_JavaVM&, FakeJni&)> call;
  // When an allocation fails, the first, the second, ... Empty: it makes none.
  std::vector<WithoutMemory> withoutMemory;
};

std::vector<Operation> Operations();

}  // namespace qvtest
