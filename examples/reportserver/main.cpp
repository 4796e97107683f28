// A host to start from: it converts many documents on several threads, each with FOP for itself, goes on when one of
// them is broken, and ends cleanly on Ctrl+C. Options and exit codes: options.cpp. Java: formatter.cpp.
#include <windows.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <cwchar>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "display.h"
#include "formatter.h"
#include "options.h"

namespace reportserver {
namespace {

namespace fs = std::filesystem;

std::atomic<bool> g_stop{false};

/// Ends a document after Ctrl+C.
struct GivenUp : std::exception {
  const char* what() const noexcept override { return "stopped by Ctrl+C"; }
};

/// Windows asks the handler that came last first: it comes after Java's, which would end the process.
BOOL WINAPI OnControl(DWORD event) {
  if (event != CTRL_C_EVENT) return FALSE;
  g_stop = true;
  return TRUE;
}

std::wstring OwnFolder() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD units = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (units < path.size()) return fs::path(path.substr(0, units)).parent_path().wstring();
    path.resize(path.size() * 2);
  }
}

/// The file appears under its name when it is complete.
void WriteWhole(const fs::path& path, const std::vector<std::byte>& content) {
  const fs::path partial = path.wstring() + L".partial";
  std::ofstream file(partial, std::ios::binary);
  file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
  file.close();
  std::error_code error;
  if (file) fs::rename(partial, path, error);
  if (file && !error) return;
  fs::remove(partial, error);
  throw std::runtime_error("the PDF cannot be written");
}

std::wstring Wide(const char* text) { return std::wstring(text, text + std::strlen(text)); }

/// Lets nobody through before all threads have come. (std::latch of g++ 12 can miss a wake on Windows.)
class Meeting {
 public:
  explicit Meeting(size_t threads) : missing_(threads) {}

  void ArriveAndWait() {
    std::unique_lock guard(lock_);
    if (--missing_ == 0) complete_.notify_all();
    complete_.wait(guard, [this] { return missing_ == 0; });
  }

 private:
  std::mutex lock_;
  std::condition_variable complete_;
  size_t missing_;
};

class Server {
 public:
  Server(qvjvm::jvm java, Options options)
      : java_(std::move(java)), options_(std::move(options)), display_(options_.threads), done_(options_.threads) {
    if (options_.classPath.empty()) options_.classPath = java_.class_path();
  }

  /// Java's exceptions are those of a first FOP that cannot be made.
  ExitCode Run() {
    const auto begin = std::chrono::steady_clock::now();
    const Formatter first = MakeFormatter(0);
    std::vector<std::thread> workers;
    for (size_t place = 1; place < options_.threads; ++place) {
      workers.emplace_back([this, place] {
        Work(place);
        done_.ArriveAndWait();  // together: under Wine a thread must not end while Java starts one
      });
    }
    ConvertAll(first, 0);
    done_.ArriveAndWait();
    for (std::thread& worker : workers) worker.join();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    return Sum(took.count());
  }

 private:
  Formatter MakeFormatter(size_t place) {
    return Formatter(java_, options_.classPath,
                     [this, place](const std::wstring& text, bool problem) { Hear(place, text, problem); });
  }

  void Work(size_t place) {
    try {
      const Formatter formatter = MakeFormatter(place);
      ConvertAll(formatter, place);
    } catch (const GivenUp&) {
    } catch (const qvjvm::error& error) {
      display_.Complain(L"reportserver: one thread less: " + error.message());
    }
  }

  void ConvertAll(const Formatter& formatter, size_t place) {
    for (size_t at = next_++; at < options_.documents.size() && !g_stop; at = next_++) {
      Convert(formatter, place, options_.documents[at]);
    }
  }

  /// What FOP says of the place's document.
  void Hear(size_t place, const std::wstring& text, bool problem) {
    if (g_stop) throw GivenUp();
    if (problem) display_.Complain(names_[place] + L": " + text);
    if (text.starts_with(L"["))
      display_.Page(place, pages_[place] = static_cast<int>(std::wcstol(text.c_str() + 1, nullptr, 10)));
  }

  void Convert(const Formatter& formatter, size_t place, const Document& document) {
    const std::wstring name = document.input.filename().wstring();
    names_[place] = name;
    pages_[place] = 0;
    display_.Begin(place, name);
    try {
      const std::vector<std::byte> pdf = formatter.Convert(document.input);
      WriteWhole(document.output, pdf);
      ++written_;
      display_.Print(name + L": " + std::to_wstring(pages_[place]) + L" pages, " + std::to_wstring(pdf.size()) +
                     L" bytes");
    } catch (const qvjvm::java_error& error) {
      Fail(name, error.stack_text());
    } catch (const qvjvm::error& error) {
      Fail(name, error.message());
    } catch (const GivenUp&) {
      display_.Print(name + L": given up");
    } catch (const std::exception& error) {
      Fail(name, Wide(error.what()));
    }
    display_.End(place);
  }

  void Fail(const std::wstring& name, const std::wstring& why) {
    ++failed_;
    display_.Complain(name + L" failed: " + why);
  }

  ExitCode Sum(double seconds) {
    wchar_t time[32];
    swprintf(time, std::size(time), L"%.1f s", seconds);
    const size_t all = options_.documents.size();
    display_.Print(std::to_wstring(all) + L" documents: " + std::to_wstring(written_) + L" written, " +
                   std::to_wstring(failed_) + L" failed, " + std::to_wstring(all - written_ - failed_) +
                   L" not done; " + time);
    if (g_stop) return kStopped;
    return failed_ == 0 ? kAllWritten : kSomeFailed;
  }

  qvjvm::jvm java_;
  Options options_;
  Display display_;
  Meeting done_;
  std::vector<std::wstring> names_ = std::vector<std::wstring>(options_.threads);  // each worker has its own
  std::vector<int> pages_ = std::vector<int>(options_.threads);
  std::atomic<size_t> next_{0};
  std::atomic<size_t> written_{0};
  std::atomic<size_t> failed_{0};
};

ExitCode Main(int argc, wchar_t** argv) {
  try {
    Options options = ReadOptions(argc, argv);
    if (options.help) {
      Write(STD_OUTPUT_HANDLE, kHelp);
      return kAllWritten;
    }
    const qvjvm::jvm java = qvjvm::jvm::start(qvjvm::options().library(OwnFolder() + L"\\qvjvm.dll").compiled());
    SetConsoleCtrlHandler(OnControl, TRUE);
    Server server(java, std::move(options));
    return server.Run();
  } catch (const UsageError& error) {
    Write(STD_ERROR_HANDLE, L"reportserver: " + error.text + L"; --help tells more\r\n");
    return kUsage;
  } catch (const GivenUp&) {
    return kStopped;
  } catch (const qvjvm::error& error) {
    Write(STD_ERROR_HANDLE, L"reportserver: Java cannot be used: " + error.message() + L"\r\n");
    return kNoJava;
  }
}

}  // namespace
}  // namespace reportserver

int wmain(int argc, wchar_t** argv) { return reportserver::Main(argc, argv); }
