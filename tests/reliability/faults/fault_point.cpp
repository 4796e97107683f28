// What all points share.
#include "tests/reliability/faults/fault_point.h"

#include <utility>

namespace qvtest {

std::atomic<bool> g_counting{false};
std::atomic<bool> g_notePurposes{false};
std::atomic<HMODULE> g_service{nullptr};

const char* NameOf(PointKind kind) {
  switch (kind) {
    case PointKind::Windows:
      return "Windows";
    case PointKind::CLibrary:
      return "C library";
    case PointKind::HostLibrary:
      return "host library";
    case PointKind::HostObject:
      return "host object";
    case PointKind::Found:
      return "found by name";
    case PointKind::JavaVM:
      return "Java VM";
  }
  return "";
}

bool CalledByService(const void* returnAddress) {
  const auto* const module = reinterpret_cast<const std::byte*>(g_service.load());
  if (module == nullptr) return false;
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(module);
  const auto* const nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(module + dos->e_lfanew);
  return returnAddress >= module && returnAddress < module + nt->OptionalHeader.SizeOfImage;
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
