// How the runs ended in which one call failed, and what the page says about it.
#pragma once

#include <set>

#include "tests/support/reliability.h"

namespace qvtest {

struct Tally {
  std::set<std::string> faults;
  std::string steady{};  // why the call cannot fail
  std::set<std::string> operations{};
  int goOn = 0;
  int fail = 0;
  int forGood = 0;
  int otherwise = 0;  // than stated

  [[nodiscard]] int Runs() const { return goOn + fail + forGood + otherwise; }
  [[nodiscard]] std::string Outcome() const {
    std::string text;
    const auto add = [&](int number, const char* how) {
      if (number != 0) text += (text.empty() ? "" : ", ") + std::to_string(number) + how;
    };
    add(goOn, " as ever");
    add(fail, " failed as stated");
    add(forGood, " failed for good as stated");
    add(otherwise, " otherwise");
    return text.empty() ? "-" : text;
  }
  void Record(const std::string& key, const std::string& call, const char* kind) const {
    std::string fails;
    for (const std::string& fault : faults) fails += (fails.empty() ? "" : ", ") + fault;
    RecordRow("faults", key,
              {call, kind, steady.empty() ? fails : "cannot fail: " + steady, operations.size(), Runs(), Outcome()});
  }
};

// Counts how an operation of the bridge ended.
template <class End>
void Count(Tally& tally, const End& normal, const End& stated, const End& end) {
  ++(!(end == stated) ? tally.otherwise : normal.status == end.status ? tally.goOn : tally.fail);
}

}  // namespace qvtest
