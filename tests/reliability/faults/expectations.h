// How an operation ends when one call outside fails: the rows of the matrix, written from what the service promises.
#pragma once

#include <climits>
#include <cstdint>
#include <string_view>
#include <vector>

namespace qvtest {

inline constexpr int32_t kSame = INT_MIN;  // as when nothing fails

// What a JVM is created with.
enum class Started {
  AsEver,       // as when nothing fails
  Whole,        // what could be read, and the built-in values for the rest; nothing cut or changed
  BareBoot,     // as ever, but the boot class path has no folder
  NoProperty,   // as ever, but the last property has neither name nor value
  LikeUnknown,  // as for a host that is not known
  Anew,         // one more is created
  Elsewhere,    // by another library than the recorded one
  Nothing,      // none is created
};

// What stays behind in the process.
enum Left : uint32_t {
  kNothingLeft = 0,
  kPathWithoutOld = 1,  // PATH read as absent: the runtime's folder alone stands in it
  kErrorMode = 4,       // the thread's error mode is not set back
  kOptions = 8,         // the options of a creation that raised
  kForGood = 16,        // the next start fails too
  kUnknown = 32,        // the next start is that of a host that is not known
};

inline constexpr int kLast = -1;

struct Expectation {
  std::string_view call;
  std::string_view fault;     // "*" for any
  std::string_view purpose;   // "*" for any
  int which;                  // the number of the call, kLast, or 0 for any
  std::string_view scenario;  // its beginning; "*" for any
  int32_t status;
  Started started = Started::AsEver;
  uint32_t left = kNothingLeft;
};

// The first row that fits counts.
const std::vector<Expectation>& Expectations();

}  // namespace qvtest
