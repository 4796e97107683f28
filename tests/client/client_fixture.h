// The process's JVM through the client header, with the tests' own classes on its class path.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "qvjvm/callbacks.hpp"
#include "tests/support/temp_folder.h"

namespace qvtest {

// Where Java itself watches the use of JNI (-Xcheck:jni), what it reports is a failure, but for the service's own way
// of reading an exception's text; the client calls the functions that take arrays of arguments.
class ReportsOfJava : public testing::Environment {
 public:
  ReportsOfJava() {
    static int process = 0;
    m_log = std::filesystem::temp_directory_path() /
            (L"qvclient" + std::to_wstring(GetCurrentProcessId()) + std::to_wstring(++process) + L".log");
  }
  [[nodiscard]] const std::filesystem::path& Log() const { return m_log; }
  void TearDown() override {
    std::ifstream log(m_log);
    for (std::string line; std::getline(log, line);) {
      if (line.ends_with("from CallObjectMethod\r") || line.ends_with("from CallObjectMethod")) continue;
      EXPECT_THAT(line, testing::Not(testing::HasSubstr("WARNING in native method")));
      EXPECT_THAT(line, testing::Not(testing::HasSubstr("exceeds capacity")));
      EXPECT_THAT(line, testing::Not(testing::HasSubstr("FATAL ERROR")));
    }
    log.close();
    // A thread of the JVM may be writing its last words.
    std::error_code why;
    for (int attempt = 0; attempt < 100 && !std::filesystem::remove(m_log, why); ++attempt) Sleep(10);
    EXPECT_FALSE(std::filesystem::exists(m_log)) << why.message();
  }

 private:
  std::filesystem::path m_log;
};

inline const qvjvm::jvm& Java() {
  static const qvjvm::jvm java = [] {
    qvjvm::jvm started = qvjvm::jvm::start((ProgramFolder() + L"\\clienttests.jar").c_str());
    auto* const reports = new ReportsOfJava();
    started.set_log_file(reports->Log().c_str());
    testing::AddGlobalTestEnvironment(reports);
    return started;
  }();
  return java;
}

// Every test ends as it began: with no exception pending. JNI's own check is the witness.
class ClientTest : public testing::Test {
 protected:
  ~ClientTest() override {
    const qv_jnienv env = java.env();
    EXPECT_FALSE(qvjvm::detail::exception_pending(env));
    qvjvm::detail::clear_exception(env);
  }

  const qvjvm::jvm& java = Java();
};

// The failure that a call ends with; fails the test when it succeeds.
template <class Work>
qvjvm::failure FailureOf(const Work& work) {
  try {
    work();
  } catch (const qvjvm::error& error) {
    return error.reason();
  }
  ADD_FAILURE() << "it succeeded";
  return {};
}

// Whether the default methods of an object of client.Callbacks.Defaults, whose own method gives what it gets, run.
inline void ExpectDefaultMethods(const qvjvm::object& object) {
  const auto plain = object.as<qvjvm::instance<"client/Callbacks$Defaults">>();
  EXPECT_EQ((plain.call<"twice", int32_t>(21)), 42);
  EXPECT_TRUE((plain.call<"isSmall", bool>(9)));
  EXPECT_EQ((plain.call<"half", double>(3.0)), 1.5);
  EXPECT_EQ((plain.call<"text", std::string(std::string, int8_t, char16_t, int16_t, int64_t, float, double, bool,
                                            qvjvm::object)>("a", int8_t{-1}, u'b', int16_t{2}, int64_t{3}, 0.5F, 0.25,
                                                            true, nullptr)),
            "a-1b230.50.25truenull");
  EXPECT_EQ(plain.try_call<"fail">().reason().message(), L"java.io.IOException: of the default method");
}

}  // namespace qvtest
