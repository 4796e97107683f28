// What a JVM writes about itself with -XX:+LogVMOutput: where it is from, its class paths, its options. Pure.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace train {

// In the encoding that the JVM has for its options.
struct VmReport {
  std::string version;        // "17.0.9+9"
  std::string home;           // of the runtime
  std::string classPath;      // as the JVM got it
  std::string bootClassPath;  // what stands behind its own; empty for nothing
  std::string arguments;      // all options in one line
};

// Nothing when the text ends before its properties do.
std::optional<VmReport> ReadVmReport(std::string_view text);

// The class path that an archive may be made with: the JVM takes any longer one that begins with it, but no folder.
std::string ClassPathOfArchive(std::string_view classPath);

}  // namespace train
