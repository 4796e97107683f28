// How the work grows with its size: class path entries, options and properties, text length, joined threads. Each
// figure is the time of one whole operation; what matters is that doubling the size does no more than double it.
#include <algorithm>
#include <atomic>
#include <thread>

#include "benchmarks/host.h"
#include "benchmarks/registry_keys.h"
#include "config/jvm_config_info.h"
#include "service/process_events.h"

namespace {

using bench::Host;
using bench::Report;

std::vector<size_t> Sizes(const Report& report, std::vector<size_t> sizes) {
  if (report.Options().quick) sizes.resize(2);
  return sizes;
}

// Median time of one operation; `size` and the series name make the plot.
template <class Work>
void Grow(Report& report, const std::string& series, size_t size, const Work& work) {
  std::vector<double> times;
  const size_t rounds = report.Options().quick ? 1 : 9;
  for (size_t round = 0; round < rounds; ++round) {
    const double begin = bench::NowNs();
    work();
    times.push_back(bench::NowNs() - begin);
  }
  const bench::Sample sample = bench::Summarize(times);
  std::printf("%-40s %9zu  %12.3f ms  %10.1f ns each\n", series.c_str(), size, sample.median / 1e6,
              sample.median / static_cast<double>(size));
  std::fflush(stdout);
  report.Add({{"series", series}, {"size", size}, {"ns", sample.median}, {"q1", sample.low}, {"q3", sample.high}});
}

// -- configuration: the service's own code, with a registry of our making --

std::vector<std::wstring> Entries(size_t count, const std::wstring& prefix) {
  std::vector<std::wstring> entries;
  for (size_t i = 0; i < count; ++i) entries.push_back(prefix + std::to_wstring(i));
  return entries;
}

void Configuration(Report& report) {
  qv::OnModuleLoaded(GetModuleHandleW(nullptr));
  CQV_JVMConfigInfo& config = JVMConfigInfo();
  if (!config.Load()) bench::Die("no configuration");
  config.m_bHostKnown = true;
  config.m_bQuovantHost = true;
  wcscpy(g_szJvmModuleName, L"qvjvm.dll");
  bench::Need(LoadLibraryW(L"qvjvm.dll"), "qvjvm.dll");
  for (const size_t size : Sizes(report, {10, 20, 50, 100, 200, 500, 1000, 2000})) {
    const bench::PrivateMachine machine(L"scaling-" + std::to_wstring(GetCurrentProcessId()));
    machine.SetText(bench::kQuovantJava, L"JDKLocation", L"C:\\jdk");
    machine.SetText(bench::kQuovantJava, L"JREBinLocation", L"C:\\jdk\\jre\\bin");
    machine.SetList(bench::kKnownHostConfig + L"\\QVSysclasspath", Entries(size, L"\\libraries\\some-library-"));
    Grow(report, "class path entries", size, [&] {
      qv::StringRef path;
      if (!config.ComposeClassPath(path.Out()) || path->GetLength() < static_cast<int32_t>(size)) {
        bench::Die("no class path");
      }
    });
  }
  for (const size_t size : Sizes(report, {10, 20, 50, 100, 200, 500, 1000})) {
    const bench::PrivateMachine machine(L"scaling-" + std::to_wstring(GetCurrentProcessId()));
    machine.SetText(bench::kQuovantJava, L"JDKLocation", L"C:\\jdk");
    machine.SetText(bench::kQuovantJava, L"JREBinLocation", L"C:\\jdk\\jre\\bin");
    machine.SetList(bench::kKnownHostConfig + L"\\QVSysclasspath", {L"\\one.jar"});
    machine.SetList(bench::kKnownHostConfig + L"\\QVJVMconfig", Entries(size, L"-Dconfigured.option="));
    for (size_t i = 0; i < size; ++i) {
      machine.SetText(bench::kKnownHostConfig + L"\\QVJVMprops", L"some.property." + std::to_wstring(i), L"value");
    }
    Grow(report, "options and as many properties", size, [&] {
      JavaVMOption* options = nullptr;
      int32_t count = 0;
      if (!config.BuildJavaVMOptions(&options, &count, nullptr) || count < static_cast<int32_t>(2 * size)) {
        bench::Die("no options");
      }
      qv::FreeOptions(options, count);
    });
  }
}

// -- texts through a real JVM --

void Texts(Report& report, const Host& host) {
  IQV_JavaVM* const vm = host.Vm();
  for (const size_t size : Sizes(report, {1 << 10, 1 << 12, 1 << 14, 1 << 16, 1 << 18, 1 << 20, 1 << 22, 1 << 24})) {
    const std::wstring text(size, L'\u20ac');
    qv_jstring string = nullptr;
    Grow(report, "NewString, units", size, [&] {
      if (string != nullptr) vm->DeleteLocalRef(string);
      if (vm->NewString(&string, text.c_str()) != QV_S_OK) bench::Die("NewString");
    });
    Grow(report, "GetStringValue, units", size, [&] {
      IQvString* value = nullptr;
      if (vm->GetStringValue(&value, string) != QV_S_OK) bench::Die("GetStringValue");
      value->Release();
    });
    vm->DeleteLocalRef(string);
  }
}

// -- joined threads: all come, all go --

struct Gathering {
  IQV_JavaVM* vm;
  HANDLE leave = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::atomic<size_t> joined = 0;
};

DWORD WINAPI Join(void* gathering) {
  auto& all = *static_cast<Gathering*>(gathering);
  qv_jnienv env = nullptr;
  if (all.vm->GetJNIEnv(&env) != QV_S_OK) bench::Die("a thread could not join");
  ++all.joined;
  WaitForSingleObject(all.leave, INFINITE);
  return 0;
}

void Threads(Report& report, const Host& host) {
  // Under Wine a thread costs five files; 20,000 of them, a usual limit, end this near 4,000.
  for (const size_t size : Sizes(report, {10, 20, 50, 100, 200, 500, 1000, 2000, 3500})) {
    Grow(report, "threads that join and leave", size, [&] {
      Gathering all = {.vm = host.Vm()};
      std::vector<HANDLE> threads;
      for (size_t i = 0; i < size; ++i) {
        const HANDLE thread = CreateThread(nullptr, 1 << 18, &Join, &all, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
        if (thread == nullptr) bench::Die("no more threads");
        threads.push_back(thread);
      }
      while (all.joined < size) Sleep(1);
      SetEvent(all.leave);
      for (const HANDLE thread : threads) {
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
      }
      CloseHandle(all.leave);
    });
  }
}

}  // namespace

int main(int argc, char** argv) {
  const bench::CommandLine line = bench::ReadCommandLine(argc, argv);
  Report report("scaling", line.settings);
  const Host host;
  host.Describe(report);
  Texts(report, host);
  Threads(report, host);
  Configuration(report);
  return report.Write(line.json) ? 0 : 1;
}
