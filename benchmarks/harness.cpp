#include "benchmarks/harness.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/support/start_process.h"

namespace bench {

namespace {

double TimeOf(const Batch& batch, size_t times, uint64_t& result) {
  const double begin = NowNs();
  result = batch(times);
  return (NowNs() - begin) / static_cast<double>(times);
}

// How many times fill the wanted span, found by doubling; the doubling also warms everything up.
struct Plan {
  size_t times = 1;   // operations in a batch
  size_t rounds = 1;  // with two batches each
};

Plan Calibrate(const Batch& batch, const Settings& settings) {
  if (settings.quick) return {};
  uint64_t ignored = 0;
  for (size_t times = 1;; times *= 2) {
    const double perOperation = TimeOf(batch, times, ignored);
    const double span = perOperation * static_cast<double>(times);
    if (span >= settings.batchSeconds * 1e9 / 2) {
      const size_t fitting = std::max<size_t>(1, static_cast<size_t>(settings.batchSeconds * 1e9 / perOperation));
      const double round = 2e-9 * perOperation * static_cast<double>(fitting);
      return {fitting, std::max(settings.fewestRounds, static_cast<size_t>(settings.compareSeconds / round))};
    }
  }
}

nlohmann::json AsJson(const Sample& sample) {
  return {{"median", sample.median}, {"q1", sample.low}, {"q3", sample.high}};
}

const char* Verdict(const Settings& settings, double value, double limit) {
  if (limit == 0 || settings.quick) return "";
  return value <= limit ? "  ok" : "  MISSED";
}

}  // namespace

double NowNs() {
  LARGE_INTEGER frequency;
  LARGE_INTEGER count;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&count);
  return static_cast<double>(count.QuadPart) * 1e9 / static_cast<double>(frequency.QuadPart);
}

void Die(const std::string& message) {
  std::fprintf(stderr, "error: %s\n", message.c_str());
  std::fflush(nullptr);
  std::_Exit(1);
}

Sample Summarize(std::vector<double>& values) {
  std::sort(values.begin(), values.end());
  const auto at = [&](double share) {
    return values[static_cast<size_t>(std::lround(share * static_cast<double>(values.size() - 1)))];
  };
  return {.median = at(0.5), .low = at(0.25), .high = at(0.75)};
}

Pair Report::Compare(const std::string& name, double limit, const Batch& service, const Batch& twin) {
  const auto [times, rounds] = Calibrate(service, m_settings);
  std::vector<double> serviceTimes;
  std::vector<double> twinTimes;
  std::vector<double> ratios;
  for (size_t round = 0; round < rounds; ++round) {
    uint64_t serviceResult = 0;
    uint64_t twinResult = 0;
    const bool serviceFirst = round % 2 == 0;
    if (serviceFirst) serviceTimes.push_back(TimeOf(service, times, serviceResult));
    twinTimes.push_back(TimeOf(twin, times, twinResult));
    if (!serviceFirst) serviceTimes.push_back(TimeOf(service, times, serviceResult));
    if (serviceResult != twinResult) Die(name + ": the service and its twin came to different results");
    ratios.push_back(serviceTimes.back() / twinTimes.back());
  }
  return Compared(name, limit, serviceTimes, twinTimes, ratios, times);
}

Pair Report::Compared(const std::string& name, double limit, std::vector<double>& serviceTimes,
                      std::vector<double>& twinTimes, std::vector<double>& ratios, size_t times) {
  const size_t rounds = ratios.size();
  const Sample serviceSample = Summarize(serviceTimes);
  const Sample twinSample = Summarize(twinTimes);
  const Sample ratio = Summarize(ratios);
  std::printf("%-46s %12.1f ns  twin %12.1f ns  ratio %6.3f (%.3f-%.3f)%s\n", name.c_str(), serviceSample.median,
              twinSample.median, ratio.median, ratio.low, ratio.high, Verdict(m_settings, ratio.median, limit));
  std::fflush(stdout);
  m_results.push_back({{"name", name},
                       {"service", AsJson(serviceSample)},
                       {"twin", AsJson(twinSample)},
                       {"ratio", AsJson(ratio)},
                       {"limit", limit},
                       {"times", times},
                       {"rounds", rounds}});
  return {serviceSample, twinSample};
}

void Report::Measure(const std::string& name, double limitNs, const Batch& work) {
  const auto [times, rounds] = Calibrate(work, m_settings);
  std::vector<double> values;
  uint64_t ignored = 0;
  for (size_t round = 0; round < rounds; ++round) {
    values.push_back(TimeOf(work, times, ignored));
  }
  const Sample sample = Summarize(values);
  std::printf("%-46s %12.1f ns  (%.1f-%.1f)%s\n", name.c_str(), sample.median, sample.low, sample.high,
              Verdict(m_settings, sample.median, limitNs));
  std::fflush(stdout);
  m_results.push_back({{"name", name}, {"service", AsJson(sample)}, {"limitNs", limitNs}, {"times", times}});
}

void Report::Note(const std::string& name, double value, const std::string& unit, double limit) {
  std::printf("%-46s %12.5g %s%s\n", name.c_str(), value, unit.c_str(), Verdict(m_settings, value, limit));
  std::fflush(stdout);
  m_results.push_back({{"name", name}, {"value", value}, {"unit", unit}, {"limit", limit}});
}

bool Report::Write(const std::wstring& path) const {
  if (path.empty()) return true;
  std::ofstream file{std::filesystem::path(path)};
  file << nlohmann::json{{"program", m_program},
                         {"quick", m_settings.quick},
                         {"facts", m_facts},
                         {"results", m_results}}
              .dump(1)
       << '\n';
  file.close();
  return file.good();
}

std::optional<std::string> RunChild(std::wstring commandLine) {
  SECURITY_ATTRIBUTES inheritable = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  HANDLE readEnd = nullptr;
  HANDLE writeEnd = nullptr;
  CreatePipe(&readEnd, &writeEnd, &inheritable, 0);
  SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = writeEnd;
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION process = {};
  const bool started = qvtest::StartProcess([&] {
    return CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
  });
  if (!started) Die("a process could not be started");
  CloseHandle(writeEnd);
  std::string output;
  char buffer[4096];
  DWORD got = 0;
  while (ReadFile(readEnd, buffer, sizeof(buffer), &got, nullptr) && got > 0) output.append(buffer, got);
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = 1;
  GetExitCodeProcess(process.hProcess, &code);
  for (const HANDLE handle : {readEnd, process.hThread, process.hProcess}) CloseHandle(handle);
  if (code != 0) return std::nullopt;
  std::erase(output, '\r');
  return output;
}

}  // namespace bench
