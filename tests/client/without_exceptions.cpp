// The half of the client that hands results back, in a build without exceptions and run-time types.
#include <cstdio>

#include "qvjvm/callbacks.hpp"

#if QVJVM_EXCEPTIONS
#error "this program is built without exceptions"
#endif

namespace {

int g_failed = 0;

void Expect(bool holds, const char* what) {
  if (holds) return;
  ++g_failed;
  std::printf("failed: %s\n", what);
}

void UseEverything(const qvjvm::jvm& java) {
  using Integer = qvjvm::instance<"java/lang/Integer">;
  const auto list = java.try_create<"java/util/ArrayList">();
  Expect(static_cast<bool>(list), "create");
  Expect((list.value().try_call<"add", bool(qvjvm::object)>("text")).value(), "add");
  Expect(list.value().try_call<int32_t>("size").value() == 1, "size by name");
  Expect(list.value().try_call_as<std::string>("get", "(I)Ljava/lang/Object;", 0).value() == "text", "get");
  Expect(!list.value().try_as<Integer>(), "a list is no Integer");

  const auto parsed = Integer::try_call_static<"parseInt", int32_t>(java, L"seventeen");
  Expect(!parsed && parsed.reason().message() == L"java.lang.NumberFormatException: For input string: \"seventeen\"",
         "the text of a Java exception");
  Expect(parsed.reason().exception().class_name() == L"java.lang.NumberFormatException", "its class");
  Expect(!parsed.reason().exception().stack_trace().empty(), "its stack");
  Expect(parsed.value_or(7) == 7, "value_or");

  const auto found = java.try_find_class("java/lang/Integer");
  const auto parse = found.value().try_find_static_method<int32_t(std::wstring_view)>("parseInt");
  Expect(parse.value().try_call(L"42").value() == 42, "a resolved method");
  Expect(!java.try_find_class("no/such/Thing"), "a missing class");
  Expect(Integer::try_static_field<"MAX_VALUE", int32_t>(java).value() == 2147483647, "a static field");

  const std::vector<int32_t> numbers = {1, 2, 3};
  const auto made = qvjvm::try_new_list(java, numbers);
  int32_t sum = 0;
  Expect(static_cast<bool>(qvjvm::try_for_each<int32_t>(made.value(), [&](int32_t number) { sum += number; })),
         "a loop");
  Expect(sum == 6, "its sum");
  const auto array = qvjvm::array<int32_t>::try_make(java, numbers);
  Expect(array.value().try_at(2).value() == 3, "an array");
  Expect(!array.value().try_at(3), "an array's end");
  const auto kept = qvjvm::global::try_make(list.value());
  Expect(kept.value().try_on_this_thread<qvjvm::instance<"java/util/List">>().value().same_as(list.value()),
         "a global");
  Expect(!qvjvm::jvm().try_find_class("x"), "an empty jvm");
}

void UseCallbacks(const qvjvm::jvm& java) {
  int runs = 0;
  const auto run = qvjvm::try_implement<"java/lang/Runnable">(java, [&] { ++runs; });
  Expect(run && run.value().try_call<"run">() && runs == 1, "a callback");
  const auto failing = qvjvm::try_implement<"java/util/concurrent/Callable">(
      java, []() -> qvjvm::result<int32_t> { return qvjvm::failure(QV_E_INVALIDARG, L"handed back"); });
  const auto failed = failing.value().try_call<"call", qvjvm::object>();
  Expect(!failed && failed.reason().status() == QV_E_INVALIDARG &&
             failed.reason().message() == L"qvjvm.HostException: handed back",
         "a callback's failure");
  Expect(!qvjvm::try_implement<"java/lang/Runnable">(java, [](int32_t) {}), "a callback of another type");
  Expect(static_cast<bool>(run.value().try_revoke()) && !run.value().try_call<"run">(), "revoked");
  const std::string text = "text";
  const auto in = qvjvm::try_new_input_stream(java, text);
  const auto buffer = qvjvm::input_streambuf::try_make(in.value());
  std::string back(4, ' ');
  Expect(buffer.value()->sgetn(back.data(), 4) == 4 && back == text, "a stream there and back");
  Expect(qvjvm::try_close_callbacks(java, std::chrono::minutes(1)).value(), "closed");
}

}  // namespace

int main() {
  const qvjvm::starting_jvm starting = qvjvm::jvm::start_async();
  const auto java = starting.try_get();
  if (!java) {
    std::printf("%s\n", java.reason().what());
    return 1;
  }
  UseEverything(java.value());
  UseCallbacks(java.value());
  if (g_failed == 0) std::printf("everything held\n");
  return g_failed == 0 ? 0 : 1;
}
