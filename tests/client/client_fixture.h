// The process's JVM through the client header, with the tests' own classes on its class path.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "qvjvm/qvjvm.hpp"

namespace qvtest {

inline std::filesystem::path ProgramFolder() {
  wchar_t path[1024];
  GetModuleFileNameW(nullptr, path, 1024);
  return std::filesystem::path(path).parent_path();
}

inline const qvjvm::jvm& Java() {
  static const qvjvm::jvm java = [] {
    qvjvm::jvm started = qvjvm::jvm::start((ProgramFolder() / L"clienttests.jar").c_str());
    started.set_log_enabled(false);
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

}  // namespace qvtest
