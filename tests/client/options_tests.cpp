// The start with an application's own options, in a program that has no other: QV_TEST_RUNTIME names the runtime, and
// JAVA_HOME leads nowhere.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "qvjvm/qvjvm.hpp"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

using namespace qvjvm::literals;
using testing::Contains;
using testing::ElementsAre;

std::wstring Log() { return ProgramFolder() + L"\\options-" + std::to_wstring(GetCurrentProcessId()) + L".log"; }

qvjvm::options Asked() {
  return qvjvm::options()
      .heap(200_MiB)
      .option("-XX:+UseSerialGC")
      .property("qv.name", "Gr\u00FC\u00DFe")
      .class_path({L"clienttests.jar"})
      .runtime(_wgetenv(L"QV_TEST_RUNTIME"))
      .log_file(Log())
      .context_class_loader()
      .compiled();
}

const qvjvm::jvm& Java() {
  static const qvjvm::jvm java = [] {
    // What fails changes nothing for the next start.
    const auto missing = qvjvm::jvm::try_start(qvjvm::options().runtime(L"no such folder"));
    EXPECT_THAT(missing.reason().message(), testing::HasSubstr(L"there is no Java runtime"));
    return qvjvm::jvm::start(Asked());
  }();
  return java;
}

using system = qvjvm::instance<"java/lang/System">;

TEST(ClientOptions, TheServiceSaysItsVersion) {
  EXPECT_EQ(qvjvm::service_version(), QVJVM_VERSION);
  EXPECT_EQ(qvjvm::service_version(L"client_library.dll"), 0) << "a library without a version";
  EXPECT_EQ(qvjvm::service_version(L"no such library.dll"), 0);
}

TEST(ClientOptions, ReachTheJvm) {
  const qvjvm::jvm& java = Java();
  EXPECT_THAT(java.ignored(), testing::IsEmpty());
  const auto bean = java.call_static<"java/lang/management/ManagementFactory", "getRuntimeMXBean",
                                     qvjvm::instance<"java/lang/management/RuntimeMXBean">>();
  std::vector<std::string> arguments;
  for (const auto& argument :
       qvjvm::elements<std::string>(bean.call<"getInputArguments", qvjvm::instance<"java/util/List">>())) {
    arguments.push_back(argument);
  }
  EXPECT_THAT(arguments, Contains("-Xmx200m"));
  EXPECT_THAT(arguments, Contains("-XX:+UseSerialGC"));
  EXPECT_THAT(arguments, testing::Not(Contains("-Xmx128m")));
  EXPECT_EQ((system::call_static<"getProperty", std::wstring>(java, "qv.name")), L"Gr\u00FC\u00DFe");
  EXPECT_EQ((system::call_static<"getProperty", std::optional<std::string>>(java, "java.compiler")), std::nullopt);
  EXPECT_EQ(java.class_path().rfind(ProgramFolder() + L"\\clienttests.jar;", 0), 0u) << "in the program's folder";
  EXPECT_NO_THROW((void)java.find_class("client/Callbacks"));
  EXPECT_EQ(java.log_file(), Log());
}

TEST(ClientOptions, ComeTooLateOnceTheJvmRunsAndSaySo) {
  (void)Java();
  const auto again = qvjvm::jvm::start(qvjvm::options().heap(1_GiB).class_path(L"other.jar").log_file(Log()));
  EXPECT_THAT(again.ignored(), ElementsAre("heap", "class_path"));
  EXPECT_TRUE(again.class_path_ignored());
  EXPECT_THAT(qvjvm::jvm::start(Asked()).ignored(),
              ElementsAre("heap", "option", "property", "compiled", "class_path", "runtime"));
  EXPECT_THAT(qvjvm::jvm::start(qvjvm::options().log_file(Log())).ignored(), testing::IsEmpty());
}

TEST(ClientOptions, ThreadsGetAContextClassLoaderWhenTheyAsk) {
  const qvjvm::jvm& java = Java();
  const auto loader = [&] {
    return java.call_static<"java/lang/Thread", "currentThread", qvjvm::instance<"java/lang/Thread">>()
        .call<"getContextClassLoader", qvjvm::instance<"java/lang/ClassLoader">>();
  };
  const auto own =
      java.call_static<"java/lang/ClassLoader", "getSystemClassLoader", qvjvm::instance<"java/lang/ClassLoader">>();
  EXPECT_TRUE(loader().same_as(own));
  const qvjvm::global kept(own);
  std::thread worker([&] {
    java.use_context_class_loader();
    EXPECT_TRUE(loader().same_as(kept.on_this_thread()));
  });
  worker.join();
}

}  // namespace
}  // namespace qvtest
