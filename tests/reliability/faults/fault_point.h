// One call that the service makes outside itself, as something that can be counted and made to fail. A point stands for
// one function; its hook goes into the import table of a freshly loaded qvjvm.dll, or into a table of functions that
// the service calls through. Only calls of the service are counted, and only while an operation is under way. Hooks run
// on any thread, also at a thread's end; a hook takes no lock and leaves the last error alone.
#pragma once

#include <atomic>
#include <cerrno>
#include <memory>
#include <type_traits>

#include "tests/support/import_hook.h"
#include "tests/support/text.h"

namespace qvtest {

class FakeJvm;

enum class PointKind { Windows, CLibrary, HostLibrary, HostObject, Found, JavaVM };
const char* NameOf(PointKind kind);

// The calls of one function during one operation.
struct PointCalls {
  std::atomic<uint64_t> count{0};
  uint64_t failAt = 0;                // 0: none
  std::string purpose;                // of the call that failed
  std::vector<std::string> purposes;  // of all calls, when they are wanted

  void Reset(uint64_t failNow = 0) {
    count = 0;
    failAt = failNow;
    purpose.clear();
    purposes.clear();
  }
};

// Whether an operation is under way.
extern std::atomic<bool> g_counting;
extern std::atomic<bool> g_notePurposes;
// Whether a return address lies in the service.
bool CalledByService(const void* returnAddress);
// The service's module while it is loaded; its hooks are put in before its entry routine runs.
extern std::atomic<HMODULE> g_service;

struct Point {
  std::string call{};           // the function
  std::string fault{};          // what goes wrong
  std::string steady{};         // why nothing can go wrong; empty when something can
  bool never = false;           // the service has no business with it
  bool buildDependent = false;  // some compilers' builds have another function in its place
  uint16_t ordinal = 0;         // of the host library
  PointKind kind = PointKind::Windows;
  PointCalls* calls = nullptr;
  // Puts the hook in; null for what is not imported.
  std::function<std::unique_ptr<ImportHook>(HMODULE service)> install{};
  // For what is not hooked: how often it was called since the operation began, and making its calls fail.
  std::function<uint64_t()> count{};
  std::function<void(bool)> script{};

  [[nodiscard]] bool CanFail() const { return steady.empty(); }
  [[nodiscard]] uint64_t Count() const { return count ? count() : calls->count.load(); }
};

// Counts this call; true when it is the one to fail.
template <class Describe, class... Arguments>
bool CountCall(PointCalls& calls, const Describe& describe, Arguments... arguments) {
  if (!g_counting) return false;
  const uint64_t number = ++calls.count;
  const bool fails = number == calls.failAt;
  if (!fails && !g_notePurposes) return false;
  const DWORD error = GetLastError();
  const std::string purpose = describe(arguments...);
  if (fails) calls.purpose = purpose;
  if (g_notePurposes) calls.purposes.push_back(purpose);
  SetLastError(error);
  return fails;
}

// The function that stands in an import table. Every lambda and answer is a type of its own, so every point has statics
// of its own.
template <class Fail, class Describe, class Result, class... Arguments>
struct HookOf {
  static_assert(std::is_class_v<Fail> && std::is_class_v<Describe>, "lambdas, which can be made again from their type");
  static inline Result (*original)(Arguments...) = nullptr;
  static inline Result (*standIn)(Arguments...) = nullptr;  // what a call that goes well does; null: the original
  static inline PointCalls calls;

  static Result Call(Arguments... arguments) {
    if (CountCall(calls, Describe{}, arguments...)) return Fail{}(arguments...);
    return standIn != nullptr ? standIn(arguments...) : original(arguments...);
  }
};

// The answers of failing functions: with a last error, with errno, without an object. Each use is a type of its own.
template <DWORD Error, auto Value, auto = [] {}>
struct Refuse {
  auto operator()(auto...) const {
    SetLastError(Error);
    return Value;
  }
};
template <int Error, auto Value, auto = [] {}>
struct RefuseWithErrno {
  auto operator()(auto...) const {
    errno = Error;
    return Value;
  }
};
template <auto Value, auto = [] {}>
struct Answer {
  auto operator()(auto...) const { return Value; }
};
// It is done all the same.
template <auto Function, DWORD Error, auto = [] {}>
struct DoneBut {
  BOOL operator()(auto... arguments) const {
    Function(arguments...);
    SetLastError(Error);
    return FALSE;
  }
};
template <class Object>
int32_t Without(Object** out, int32_t status) {
  *out = nullptr;
  return status;
}

// What a call is for, in a word: nothing that would need one, or its first argument.
inline constexpr auto kNoPurpose = [](auto...) { return std::string(); };
using NoPurpose = std::remove_const_t<decltype(kNoPurpose)>;
inline std::string Word(const char* text) { return text; }
inline std::string Word(const wchar_t* text) { return ToUtf8(text); }
inline constexpr auto kFirst = [](const auto* text, auto...) { return Word(text); };
// The last part of a path.
inline std::string LastPart(std::wstring_view path) { return ToUtf8(path.substr(path.find_last_of(L'\\') + 1)); }
inline constexpr auto kFirstLastPart = [](const wchar_t* path, auto...) {
  return LastPart(path != nullptr ? path : L"<null>");
};

// `fail` does what the failing function does: sets the last error and the out-values and gives its answer. `describe`
// says in a word what the call is for, from its arguments. What has an ordinal is a function of the host library.
template <class Result, class... Arguments, class Fail, class Describe = NoPurpose>
Point MakePoint(PointKind kind, uint16_t ordinal, const char* name, Result (*)(Arguments...), const char* fault, Fail,
                Describe = {}, Result (*standIn)(Arguments...) = nullptr) {
  using Hook = HookOf<Fail, Describe, Result, Arguments...>;
  Hook::standIn = standIn;
  Point point{.call = name, .fault = fault, .ordinal = ordinal, .kind = kind, .calls = &Hook::calls};
  point.install = [=](HMODULE service) -> std::unique_ptr<ImportHook> {
    if (ordinal == 0 && !ImportHook::Imports(service, name)) return nullptr;
    void* const call = reinterpret_cast<void*>(&Hook::Call);
    auto hook = ordinal == 0 ? std::make_unique<ImportHook>(service, name, call)
                             : std::make_unique<ImportHook>(service, "qvshr.dll", ordinal, call);
    Hook::original = hook->template Original<decltype(Hook::original)>();
    return hook;
  };
  return point;
}

// Some builds have another function in its place.
Point BuildDependent(Point point);
// Counted, never failed.
Point Steady(Point point, const char* why);
// Counted, and the count has to stay 0.
Point NeverCalled(Point point, const char* why = "the service never calls it");

std::vector<Point> WindowsPoints();
std::vector<Point> CLibraryPoints();
std::vector<Point> HostPoints();
// These, and the Java VM's invocation functions: the points of the matrix.
std::vector<Point> AllPoints(const FakeJvm& jvm);

}  // namespace qvtest
