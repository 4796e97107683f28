// What the service itself keeps: for each joined thread, for each service object, and how large its DLL is. Runs beside
// the ledger build of the host library, which counts every block that the service has.
#include <atomic>
#include <filesystem>

#include "benchmarks/host.h"
#include "tests/ledger/ledger.h"

namespace {

constexpr size_t kThreads = 200;
constexpr size_t kObjects = 1000;

uint64_t LiveBytes() {
  QvshrLedgerState state = {};
  QvshrLedgerSnapshot(&state);
  return state.liveBytes;
}

struct Gathering {
  IQV_JavaVM* vm;
  HANDLE leave = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::atomic<size_t> joined = 0;
};

DWORD WINAPI Join(void* gathering) {
  auto& all = *static_cast<Gathering*>(gathering);
  if (QV_AcquireThreadEnv(all.vm) == nullptr) bench::Die("a thread could not join");
  ++all.joined;
  WaitForSingleObject(all.leave, INFINITE);
  return 0;
}

double BytesPerThread(const bench::Host& host) {
  Gathering all = {.vm = host.Vm()};
  const uint64_t before = LiveBytes();
  std::vector<HANDLE> threads;
  for (size_t i = 0; i < kThreads; ++i) threads.push_back(CreateThread(nullptr, 0, &Join, &all, 0, nullptr));
  while (all.joined < kThreads) Sleep(1);
  const uint64_t with = LiveBytes();
  SetEvent(all.leave);
  for (const HANDLE thread : threads) {
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
  }
  if (LiveBytes() != before) bench::Die("threads that ended left something");
  return static_cast<double>(with - before) / kThreads;
}

double BytesPerObject(const bench::Host& host) {
  const uint64_t before = LiveBytes();
  std::vector<IQV_JavaVM*> objects(kObjects);
  for (IQV_JavaVM*& object : objects) {
    if (host.Create()(&object, nullptr) != QV_S_OK) bench::Die("QV_CreateJavaVM");
  }
  const uint64_t with = LiveBytes();
  for (IQV_JavaVM* const object : objects) object->Release();
  if (LiveBytes() != before) bench::Die("released objects left something");
  return static_cast<double>(with - before) / kObjects;
}

}  // namespace

int main(int argc, char** argv) {
  const bench::CommandLine line = bench::ReadCommandLine(argc, argv);
  const bench::Host host;
  bench::Report report("memory", line.settings);
  host.Describe(report);
  report.Note("the service's own memory per joined thread", BytesPerThread(host), "bytes", 256);
  report.Note("memory per service object", BytesPerObject(host), "bytes", 1024);
  report.Note("qvjvm.dll", static_cast<double>(std::filesystem::file_size(host.LibraryPath())), "bytes", 400 << 10);
  return report.Write(line.json) ? 0 : 1;
}
