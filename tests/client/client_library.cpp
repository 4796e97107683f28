// A module that Java calls and that is unloaded; see the header.
#include "tests/client/client_library.h"

#include <atomic>
#include <optional>
#include <stdexcept>

#include "qvjvm/callbacks.hpp"

namespace {

std::optional<qvjvm::jvm> g_java;
std::atomic<int64_t> g_calls{0};

}  // namespace

extern "C" {

__declspec(dllexport) int GiveRunnable(IQV_JavaVM* vm, void* list) {
  g_java = qvjvm::jvm::share(vm);
  const auto object = qvjvm::try_implement<"java/lang/Runnable">(*g_java, [] {
    if (++g_calls == 1) throw std::runtime_error("of the library");
  });
  if (!object) return -1;
  using java_list = qvjvm::instance<"java/util/List">;
  const auto given = g_java->object_of(list).as<java_list>().try_call<"add", bool(qvjvm::object)>(object.value());
  return given ? 0 : -1;
}

__declspec(dllexport) int CloseLibrary() {
  const auto closed = qvjvm::try_close_callbacks(*g_java, std::chrono::minutes(1));
  g_java.reset();
  return closed && closed.value() ? 1 : 0;
}

__declspec(dllexport) int64_t CountCalls() { return g_calls; }
}
