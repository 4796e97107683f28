// Times two ways of doing the same work, alternating in one run, and reports medians, spread and their ratio.
// A ratio within one run is what counts: both ways meet the same machine, the same JVM, the same noise.
#pragma once

#include <nlohmann/json.hpp>

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace bench {

/// Does the work `times` times and returns something that depends on all of it, to be compared between the two ways.
using Batch = std::function<uint64_t(size_t times)>;

/// The sum of what `work` gives in `times` runs.
template <class Work>
uint64_t Sum(size_t times, const Work& work) {
  uint64_t sum = 0;
  for (size_t i = 0; i < times; ++i) sum += static_cast<uint64_t>(work());
  return sum;
}

/// The batch that sums up what `work` gives.
template <class Work>
Batch Repeat(Work work) {
  return [work = std::move(work)](size_t times) { return Sum(times, work); };
}

/// `work(times)` on each of `count` threads at once; the time is that of all of them together.
template <class Work>
uint64_t AtOnce(size_t count, size_t times, const Work& work) {
  std::atomic<uint64_t> sum = 0;
  std::vector<std::thread> threads;
  for (size_t i = 0; i < count; ++i) threads.emplace_back([&] { sum += work(times); });
  for (std::thread& thread : threads) thread.join();
  return sum;
}

/// The sum of what `work` gives on `times` threads, each from its start to its end before the next.
template <class Work>
uint64_t OnNewThreads(size_t times, const Work& work) {
  return Sum(times, [&] {
    uint64_t result = 0;
    std::thread([&] { result = static_cast<uint64_t>(work()); }).join();
    return result;
  });
}

struct Settings {
  bool quick = false;  ///< Only proves that everything runs and both ways agree; the figures mean nothing.
  // Batches much shorter than the system's time slices: most of them are not interrupted, whatever else runs.
  double batchSeconds = 0.0004;
  double compareSeconds = 1;  ///< For all rounds of a comparison; long operations take more.
  size_t fewestRounds = 61;   ///< One batch of each way in a round, first the one, next round first the other.
};

struct Sample {
  double median = 0;  ///< ns per operation
  double low = 0;     ///< first quartile
  double high = 0;    ///< third quartile
};

struct Pair {
  Sample service;
  Sample twin;
};

/// Quartiles of the values, which are reordered.
Sample Summarize(std::vector<double>& values);

/// Collects results and prints each as a line when it is there.
class Report {
 public:
  Report(std::string program, const Settings& settings) : m_program(std::move(program)), m_settings(settings) {}

  /// Times `service` against `twin`. `limit` is the ratio to reach, 0 for none. Ends the program with a message when
  /// the two ways do not agree in their results.
  Pair Compare(const std::string& name, double limit, const Batch& service, const Batch& twin);
  /// The same for times (ns) that were taken elsewhere, one of each way and their ratio a round; they are reordered.
  Pair Compared(const std::string& name, double limit, std::vector<double>& service, std::vector<double>& twin,
                std::vector<double>& ratios, size_t times);
  /// One way alone; `limitNs` is what the median may reach, 0 for no limit.
  void Measure(const std::string& name, double limitNs, const Batch& work);
  /// A figure that is no time.
  void Note(const std::string& name, double value, const std::string& unit, double limit = 0);
  /// Anything else to keep beside the results.
  void Fact(const std::string& name, const std::string& value) { m_facts[name] = value; }
  void Add(nlohmann::json result) { m_results.push_back(std::move(result)); }

  [[nodiscard]] const Settings& Options() const { return m_settings; }
  /// Writes everything as JSON; an empty path writes nothing. False when the file cannot be written.
  [[nodiscard]] bool Write(const std::wstring& path) const;

 private:
  std::string m_program;
  Settings m_settings;
  nlohmann::json m_facts = nlohmann::json::object();
  nlohmann::json m_results = nlohmann::json::array();
};

/// Nanoseconds of a steady clock.
double NowNs();

/// Prints the message to standard error and ends the program with exit code 1.
[[noreturn]] void Die(const std::string& message);

/// Runs a program to its end. What it printed, with plain line ends; nothing when its exit code is not 0. Dies when it
/// does not start.
std::optional<std::string> RunChild(std::wstring commandLine);

}  // namespace bench
