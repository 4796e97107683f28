// The process's JVM through the client header.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qvjvm/qvjvm.hpp"

namespace qvtest {

inline qvjvm::jvm StartOnce() {
  static const qvjvm::jvm java = [] {
    qvjvm::jvm started = qvjvm::jvm::start();
    started.set_log_enabled(false);
    return started;
  }();
  return java;
}

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
