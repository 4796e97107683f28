// qvjvm-doctor: tells what the Java VM Service would do on this machine, and why it does not start.
// Exit codes: 0 nothing wrong, 1 warnings alone, 2 a problem, 3 wrong usage.
#include <windows.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "doctor/bundle.h"
#include "doctor/collect.h"
#include "doctor/host_library.h"
#include "doctor/judge.h"
#include "doctor/print.h"
#include "doctor/secrets.h"
#include "doctor/trial_start.h"

namespace {

enum ExitCode { kHealthy = 0, kWarnings = 1, kProblems = 2, kUsage = 3 };

struct Arguments {
  doctor::Question question;
  bool json = false;
  bool secrets = false;
  std::filesystem::path html;
  std::filesystem::path bundle;
  bool start = false;
  unsigned limitSeconds = 60;
};

std::wstring OwnFolder() {
  wchar_t path[32768];
  GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path)));
  return std::filesystem::path(path).parent_path().wstring();
}

// A terminal gets UTF-16 and colors, a file or a pipe UTF-8.
void Print(const std::wstring& text) {
  const HANDLE out = GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  DWORD written = 0;
  if (GetConsoleMode(out, &mode)) {
    WriteConsoleW(out, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  } else {
    const std::string bytes = doctor::ToUtf8(text);
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
  }
}

bool TerminalWithColors() {
  const HANDLE out = GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  constexpr DWORD kVirtualTerminal = 0x0004;
  return GetConsoleMode(out, &mode) && SetConsoleMode(out, mode | kVirtualTerminal) &&
         GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) == 0;
}

void WriteFile(const std::filesystem::path& path, const std::string& content) {
  if (path.empty()) return;
  std::ofstream file(path, std::ios::binary);
  file << content;
  if (!file.flush()) throw std::runtime_error(doctor::ToUtf8(path.wstring()) + " cannot be written");
}

// On the error output: the report may go to a script.
void WriteBundle(const Arguments& arguments, const doctor::Facts& facts) {
  if (arguments.bundle.empty()) return;
  const std::vector<doctor::BundledFile> files = doctor::CollectBundle(facts, arguments.secrets);
  WriteFile(arguments.bundle, doctor::AsZip(files));
  std::fputs(files.front().content.c_str(), stderr);
}

int Examine(const Arguments& arguments) {
  doctor::Facts facts = doctor::Collect(arguments.question, doctor::LoadHostLibrary);
  if (arguments.start && facts.examined && !facts.HostHasJvm())
    facts.start = doctor::TryStart(facts, arguments.limitSeconds);
  doctor::Judge(facts);
  if (!arguments.secrets) doctor::HideSecrets(facts);
  if (!arguments.html.empty()) WriteFile(arguments.html, doctor::AsHtml(facts));
  WriteBundle(arguments, facts);
  if (arguments.json) {
    const std::string json = doctor::AsJson(facts);
    std::fwrite(json.data(), 1, json.size(), stdout);
  } else {
    Print(doctor::AsText(facts, TerminalWithColors()));
  }
  constexpr ExitCode kCodes[] = {kProblems, kWarnings, kHealthy};
  return kCodes[static_cast<size_t>(doctor::WorstOf(facts))];
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (const wchar_t* const folder = _wgetenv(doctor::kTrialVariable)) doctor::RunAsHost(folder);
  Arguments arguments;
  std::string host = "program.exe";
  std::string folder;
  std::string html;
  std::string bundle;
  CLI::App app("Tells what the Java VM Service would do on this machine, without changing anything.", "qvjvm-doctor");
  app.add_option("--host", host, "the host program, such as qv190.exe, with its folder when that is not the service's")
      ->capture_default_str();
  app.add_flag("--as-joined", arguments.question.joined, "the host runs a JVM of its own");
  app.add_option("--service", folder, "folder of qvjvm.dll; the doctor's own without it");
  app.add_flag("--start", arguments.start, "also start the JVM, in a process of its own");
  app.add_option("--time-limit", arguments.limitSeconds, "seconds for the start")->capture_default_str();
  app.add_option("--html", html, "also write the report as a page for a browser");
  app.add_option("--bundle", bundle, "also write a zip for support: the reports, the JVM log, files of crashes");
  app.add_flag("--with-secrets", arguments.secrets, "keep values whose names say password, secret, token and the like");
  app.add_flag("--json", arguments.json, "for scripts");
  app.footer("Exit codes: 0 nothing wrong, 1 warnings, 2 a problem, 3 wrong usage.");
  std::vector<std::string> words;
  for (int i = argc - 1; i > 0; --i) words.push_back(doctor::ToUtf8(argv[i]));
  try {
    app.parse(std::move(words));
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kHealthy : kUsage;
  }
  const auto wide = [](const std::string& text) {
    return std::filesystem::path(std::u8string(text.begin(), text.end())).wstring();
  };
  const std::filesystem::path program = wide(host);
  arguments.question.host = program.filename().wstring();
  if (program.has_parent_path()) {
    arguments.question.hostFolder = std::filesystem::absolute(program.parent_path()).wstring();
  }
  arguments.html = wide(html);
  arguments.bundle = wide(bundle);
  arguments.question.serviceFolder = folder.empty() ? OwnFolder() : std::filesystem::absolute(wide(folder)).wstring();
  try {
    return Examine(arguments);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qvjvm-doctor: %s\n", error.what());
    return kUsage;
  }
}
