// The client in a JVM that the host made: the service has joined it, and classes of the service's own class path come
// from its loader.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "qvjvm/callbacks.hpp"
#include "tests/client/c_host.h"
#include "tests/real/joined_host.h"

namespace qvtest {
namespace {

using testing::HasSubstr;

struct greeter : qvjvm::java_class<greeter, "outside/Greeter"> {
  using java_class::java_class;
  [[nodiscard]] std::wstring name() const { return call<"name", std::wstring>(); }
};

class ClientJoined : public testing::Test {
 protected:
  static const qvjvm::jvm& Joined() {
    static const qvjvm::jvm joined = [] {
      EXPECT_NE(HostVm(), nullptr);
      return qvjvm::jvm::start(L"C:\\too late.jar");
    }();
    return joined;
  }
  const qvjvm::jvm& java = Joined();
};

TEST_F(ClientJoined, TheServiceTellsThatItJoined) {
  EXPECT_FALSE(java.created());
  EXPECT_THROW((void)java.java_version(), qvjvm::error);
}

TEST_F(ClientJoined, ClassesOfTheProgramAndOfTheServiceAreFound) {
  const auto inside = java.find_class("program/Inside");
  EXPECT_EQ(inside.call_static<qvjvm::object>("where").as<std::wstring>(), L"inside");
  EXPECT_EQ((greeter::call_static<"greet", qvjvm::object>(java, L"client").as<std::wstring>()), L"Hello client");
  const greeter one = greeter::create(java);
  EXPECT_THAT(one.name(), HasSubstr(L"of greeter"));
  EXPECT_EQ((greeter::static_field<"seven", int32_t>(java)), 7);
  EXPECT_TRUE(one.is<"outside/Base">());
  EXPECT_TRUE(java.find_class("outside/Greeter").same_as(one.get_class()));
}

TEST_F(ClientJoined, AThreadOfTheHostsFindsTheSameClasses) {
  std::thread([&] {
    const auto here = java.on_this_thread();
    EXPECT_THAT(greeter::create(here).name(), HasSubstr(L"of greeter"));
  }).join();
}

// An interface of Java's, of the program's loader and of the service's: each through the loader that has it.
TEST_F(ClientJoined, TheHostImplementsInterfacesOfEveryLoader) {
  int calls = 0;
  const auto run = qvjvm::implement<"java/lang/Runnable">(java, [&] { ++calls; });
  run.call<"run">();
  const auto outside = qvjvm::implement<"outside/Greeting">(java, [](const std::wstring& name) { return name + L"!"; });
  EXPECT_EQ((greeter::call_static<"greetBy", std::wstring(qvjvm::instance<"outside/Greeting">, std::wstring)>(
                java, outside, L"client")),
            L"client!");
  const auto both = qvjvm::implement<"outside/Greeting", "java/util/function/IntUnaryOperator">(
      java, qvjvm::on<"greet">([](const std::wstring& name) { return name; }),
      qvjvm::on<"applyAsInt">([](int32_t value) -> int32_t {
        if (value < 0) throw std::out_of_range("below zero");
        return value;
      }));
  using Operator = qvjvm::instance<"java/util/function/IntUnaryOperator">;
  EXPECT_THROW((both.as<Operator>().call<"applyAsInt", int32_t>(-1)), std::out_of_range);
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(qvjvm::close_callbacks(java, std::chrono::minutes(1)));
}

TEST_F(ClientJoined, SoDoesAHostInC) {
  const char* const interfaces[] = {"outside/Greeting", "java/util/function/UnaryOperator"};
  const qv_function functions[] = {{"greet", "(Ljava/lang/String;)Ljava/lang/String;", SameInC},
                                   {"apply", "(Ljava/lang/Object;)Ljava/lang/Object;", SameInC}};
  const qv_implementation what = {interfaces, 2, functions, 2, nullptr, nullptr};
  qv_jobject made = nullptr;
  ASSERT_EQ(qv_implement(java.get(), &what, nullptr, &made, nullptr), QV_S_OK);
  using Greeting = qvjvm::instance<"outside/Greeting">;
  EXPECT_EQ((greeter::call_static<"greetBy", std::wstring(Greeting, std::wstring)>(
                java, java.object_of(made).as<Greeting>(), L"client")),
            L"client");
  java.get()->DeleteLocalRef(made);
  const char* const none[] = {"no/such/Interface"};
  const qv_implementation missing = {none, 1, functions, 1, nullptr, nullptr};
  IQvString* why = nullptr;
  EXPECT_EQ(qv_implement(java.get(), &missing, nullptr, &made, &why), QV_E_FAIL);
  ASSERT_NE(why, nullptr);
  EXPECT_THAT(why->GetText(), HasSubstr(L"no/such/Interface"));
  why->Release();
  EXPECT_EQ(qv_close_callbacks(java.get(), 60000), QV_S_OK);
}

TEST_F(ClientJoined, AMissingClassIsNamedByJava) {
  const auto missing = java.try_find_class("no/such/Thing");
  EXPECT_THAT(missing.reason().message(), HasSubstr(L"no/such/Thing"));
  EXPECT_TRUE(missing.reason().is_java());
  EXPECT_FALSE(qvjvm::detail::exception_pending(java.env()));
}

// The JVM was made with -Xcheck:jni, and prints to us. The client calls the functions that take arrays of arguments;
// the service calls others, and has its own reports.
TEST_F(ClientJoined, JavaHasNoComplaint) {
  const auto output = TakeJvmOutput();
  EXPECT_THAT(output, testing::Not(testing::ContainsRegex("WARNING.*MethodA")));
  EXPECT_THAT(output, testing::Not(HasSubstr("exceeds capacity")));
  EXPECT_THAT(output, testing::Not(HasSubstr("FATAL")));
}

}  // namespace
}  // namespace qvtest
