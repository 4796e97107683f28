// The client in a JVM that the host made: the service has joined it, and classes of the service's own class path come
// from its loader.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "qvjvm/qvjvm.hpp"
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
