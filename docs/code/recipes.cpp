#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include "qvjvm/callbacks.hpp"

// ---- options ----

qvjvm::options own_options() {
  using namespace qvjvm::literals;
  return qvjvm::options()
      .heap(512_MiB)
      .option("-XX:+UseSerialGC")
      .property("user.language", "de")
      .class_path({L"lib\\*", L"reports.jar"})
      .log_file(L"java.log", 3)
      .compiled();
}

// ---- class path ----

bool has_class(const qvjvm::jvm& java, const char* name) { return static_cast<bool>(java.try_find_class(name)); }

qvjvm::jvm with_jar(const qvjvm::jvm& java, const std::wstring& jar) {
  using uri = qvjvm::instance<"java/net/URI">;
  using url = qvjvm::instance<"java/net/URL">;
  std::vector<url> jars;
  jars.push_back(java.create<"java/io/File">(jar).call<"toURI", uri>().call<"toURL", url>());
  return java.with_loader(java.create<"java/net/URLClassLoader">(jars));
}

// ---- errors ----

bool parse(const qvjvm::jvm& java, const std::string& text, int32_t& number) {
  try {
    number = java.call_static<"java/lang/Integer", "parseInt", int32_t>(text);
    return true;
  } catch (const qvjvm::java_error& error) {
    if (error.catch_as<"java/lang/NumberFormatException">()) return false;
    std::fprintf(stderr, "%ls\n", error.stack_text().c_str());  // with all causes
    throw;
  }
}

// ---- threads ----

int64_t sum_of_lengths(const qvjvm::jvm& java, const std::vector<std::string>& texts, int workers) {
  std::atomic<size_t> next{0};
  std::atomic<int64_t> sum{0};
  const auto work = [&] {
    const qvjvm::thread_jvm here = java.on_this_thread();  // joins Java, once
    for (size_t i; (i = next++) < texts.size();) {
      sum += here.create<"java/lang/StringBuilder">(texts[i]).call<"length", int32_t>();
    }
  };
  std::vector<std::thread> crowd;
  for (int i = 0; i < workers; ++i) crowd.emplace_back(work);
  for (std::thread& thread : crowd) thread.join();
  return sum;
}

// ---- a debugger ----

void let_debuggers_in(qvjvm::options& options) {
  if (const char* const port = std::getenv("REPORTS_DEBUG_PORT")) {
    options.option(std::string("-agentlib:jdwp=transport=dt_socket,server=y,suspend=n,address=127.0.0.1:") + port);
  }
}

// ---- what is left of a crash ----

void keep_evidence(qvjvm::options& options, const std::wstring& folder) {
  options.option(L"-XX:ErrorFile=" + folder + L"\\hs_err_%p.log");  // %p is the process
  options.option(L"-XX:+HeapDumpOnOutOfMemoryError");
  options.option(L"-XX:HeapDumpPath=" + folder);
}

// ---- what all threads do ----

void print_threads(const qvjvm::jvm& java) {
  using thread_bean = qvjvm::instance<"java/lang/management/ThreadMXBean">;
  using thread_info = qvjvm::instance<"java/lang/management/ThreadInfo">;
  const auto bean = java.call_static<"java/lang/management/ManagementFactory", "getThreadMXBean", thread_bean>();
  for (const auto& thread : bean.call<"dumpAllThreads", std::vector<thread_info>>(true, true)) {
    std::printf("%s", thread.call<"toString", std::string>().c_str());
  }
}

// ---- the log ----

void watch_collections(const qvjvm::jvm& java, const wchar_t* path) {
  java.set_log_file(path);  // for the whole process; begins anew
  java.set_log_enabled(true);
  std::printf("Java writes to %ls\n", java.log_file().c_str());
}

// The tests run each part, with a folder for what it leaves.
int wmain(int argc, wchar_t** argv) {
  if (argc != 3) return 2;
  const std::wstring part = argv[1];
  const std::wstring folder = argv[2];
  try {
    qvjvm::options options = own_options();
    let_debuggers_in(options);
    keep_evidence(options, folder);
    const qvjvm::jvm java = qvjvm::jvm::start(options);
    if (part == L"calls") {
      int32_t number = 0;
      std::printf("class path: %d %d\n", has_class(java, "java/util/List"), has_class(java, "org/example/Missing"));
      std::printf("loader: %d\n", has_class(with_jar(java, L"later.jar"), "program/Inside"));
      std::printf("errors: %d %d\n", parse(java, "17", number), parse(java, "seventeen", number));
      std::printf("threads: %lld\n", static_cast<long long>(sum_of_lengths(java, {"a", "bc", "def", "ghij"}, 3)));
      print_threads(java);
      watch_collections(java, (folder + L"\\other.log").c_str());
    } else if (part == L"wait") {  // for a debugger
      std::puts("waiting");
      std::fflush(stdout);
      std::getchar();
    } else if (part == L"memory") {
      const auto list = java.create<"java/util/ArrayList">();
      for (;;) list.call<"add", bool(qvjvm::object)>(qvjvm::array<int64_t>::make(java, 1 << 22));
    } else if (part == L"crash") {
      const auto broken =
          // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): the crash is wanted
          qvjvm::implement<"java/lang/Runnable">(java, [] { *static_cast<volatile int*>(nullptr) = 0; });
      broken.call<"run">();
    }
    return 0;
  } catch (const qvjvm::error& error) {
    std::printf("%s\n", error.what());
    return 1;
  }
}
