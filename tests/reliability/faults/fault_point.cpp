// What all points share, and those of the Java VM.
#include "tests/reliability/faults/fault_point.h"

#include "tests/fakejvm/fake_jvm_user.h"
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

namespace {

// The Java VM's invocation functions fail as the fake jvm.dll is told to, for as long as an operation lasts: within one
// none of them is called twice for one and the same thread.
Point JvmPoint(const FakeJvm& jvm, const char* name, const char* fault, FakeJvmEntry entry,
               int32_t FakeJvmScript::*field, int32_t value) {
  return {.call = name,
          .fault = fault,
          .kind = PointKind::JavaVM,
          .count = [&jvm, entry] { return uint64_t{jvm.Count(entry)}; },
          .script = [&jvm, field, value](bool fails) { jvm.Script().*field = fails ? value : 0; }};
}

}  // namespace

std::vector<Point> AllPoints(const FakeJvm& jvm) {
  std::vector<Point> points = {
      JvmPoint(jvm, "JNI_GetCreatedJavaVMs", "-1", kFakeGetCreatedVMs, &FakeJvmScript::getCreatedResult, -1),
      JvmPoint(jvm, "JNI_GetCreatedJavaVMs", "a null VM", kFakeGetCreatedVMs, &FakeJvmScript::firstVmNull, 1),
      JvmPoint(jvm, "JNI_CreateJavaVM", "-1", kFakeCreateVM, &FakeJvmScript::createResult, -1),
      JvmPoint(jvm, "JNI_CreateJavaVM", "no environment", kFakeCreateVM, &FakeJvmScript::createWithoutEnv, 1),
      JvmPoint(jvm, "JNI_CreateJavaVM", "access violation", kFakeCreateVM, &FakeJvmScript::createRaises,
               kRaiseAccessViolation),
      JvmPoint(jvm, "JNI_CreateJavaVM", "C++ exception", kFakeCreateVM, &FakeJvmScript::createRaises, kRaiseCpp),
      JvmPoint(jvm, "JavaVM::AttachCurrentThread", "-1", kFakeAttach, &FakeJvmScript::attachResult, -1),
      JvmPoint(jvm, "JavaVM::AttachCurrentThread", "no environment", kFakeAttach, &FakeJvmScript::attachWithoutEnv, 1),
      JvmPoint(jvm, "JavaVM::DetachCurrentThread", "-1", kFakeDetach, &FakeJvmScript::detachResult, -1),
  };
  Point defaults =
      JvmPoint(jvm, "JNI_GetDefaultJavaVMInitArgs", "", kFakeGetDefaultArgs, &FakeJvmScript::defaultArgsResult, -1);
  points.push_back(NeverCalled(std::move(defaults), "the service asks for it, and never calls it"));
  for (const auto& list : {WindowsPoints(), CLibraryPoints(), HostPoints()}) {
    points.insert(points.end(), list.begin(), list.end());
  }
  return points;
}

}  // namespace qvtest
