// What all points share.
#include "tests/reliability/faults/fault_point.h"

#include <utility>

#include "tests/support/module_image.h"

namespace qvtest {

std::atomic<bool> g_counting{false};
std::atomic<bool> g_notePurposes{false};
std::atomic<HMODULE> g_service{nullptr};

const char* NameOf(PointKind kind) {
  static constexpr const char* kNames[] = {"Windows",     "C library",     "host library",
                                           "host object", "found by name", "Java VM"};
  return kNames[static_cast<size_t>(kind)];
}

bool CalledByService(const void* returnAddress) {
  const auto* const module = reinterpret_cast<const std::byte*>(g_service.load());
  if (module == nullptr) return false;
  return returnAddress >= module && returnAddress < module + ModuleImage(module).Headers().OptionalHeader.SizeOfImage;
}

Point BuildDependent(Point point) {
  point.buildDependent = true;
  return point;
}

Point Steady(Point point, const char* why) {
  point.fault = "";
  point.steady = why;
  return point;
}

Point NeverCalled(Point point, const char* why) {
  point.never = true;
  return Steady(std::move(point), why);
}

}  // namespace qvtest
