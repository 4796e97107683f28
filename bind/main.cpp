// qvjvm-bind: writes C++ headers for Java classes, or tells whether those that are there still fit.
// Exit codes: 0 done, 1 the headers do not fit, 2 something that was asked for is missing, 3 wrong usage or no Java.
#include <windows.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "bind/java_text.h"
#include "bind/names.h"
#include "bind/output.h"
#include "bind/read.h"
#include "bind/write.h"

#ifdef __MINGW32__
// "java.util.*" is no pattern of files.
extern "C" int _dowildcard;  // NOLINT(bugprone-reserved-identifier)
int _dowildcard = 0;         // NOLINT(bugprone-reserved-identifier)
#endif

namespace {

enum ExitCode { kDone = 0, kDiffers = 1, kMissing = 2, kUsage = 3 };

struct Arguments {
  std::string classPath;
  std::string out;
  std::vector<std::string> classes;
  std::vector<std::string> macros;
  binder::Style style;
  bool check = false;
  bool quiet = false;
};

std::wstring Wide(const std::string& text) {
  return std::filesystem::path(std::u8string(text.begin(), text.end())).wstring();
}

int Work(const Arguments& arguments) {
  for (const std::string& name : arguments.macros) binder::ReserveMacro(name);
  const std::wstring classPath = Wide(arguments.classPath);
  const qvjvm::jvm java = qvjvm::jvm::start(classPath.c_str());
  std::vector<std::string> asked;
  for (const std::string& word : arguments.classes) {
    const std::vector<std::string> names = binder::ClassesFor(java, classPath, word);
    asked.insert(asked.end(), names.begin(), names.end());
  }
  const binder::Library library = binder::ReadLibrary(java, asked);
  const auto headers = binder::WriteHeaders(library, arguments.style);
  int status = kDone;
  for (const binder::Skipped& skipped : library.skipped) {
    std::fprintf(stderr, "qvjvm-bind: %s was left out: %s\n", skipped.name.c_str(), skipped.why.c_str());
    // Alone in a package it may be missing for good reasons; by its own name it was wanted.
    const auto byName = [&](const std::string& word) { return word == skipped.name; };
    if (std::any_of(arguments.classes.begin(), arguments.classes.end(), byName)) status = kMissing;
  }
  const std::filesystem::path folder = Wide(arguments.out);
  if (arguments.check) {
    const auto differences = binder::Differences(folder, headers);
    for (const std::string& line : differences) std::printf("%s\n", line.c_str());
    return status != kDone ? status : differences.empty() ? kDone : kDiffers;
  }
  const size_t written = binder::WriteFolder(folder, headers);
  if (!arguments.quiet) {
    std::printf("%zu classes, %zu headers, %zu of them written\n", library.asked.size(), headers.size(), written);
  }
  return status;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  Arguments arguments;
  std::string text = "wide";
  CLI::App app("Writes C++ headers for Java classes, for hosts of the Java VM Service.", "qvjvm-bind");
  app.add_option("--class-path,-c", arguments.classPath, "jars and folders, with ; between them");
  app.add_option("--out,-o", arguments.out, "folder of the headers, for one call alone")->required();
  app.add_option("--text", text, "what a String is: wide (std::wstring) or utf8 (std::string)")
      ->check(CLI::IsMember({"wide", "utf8"}))
      ->capture_default_str();
  app.add_flag("--try", arguments.style.attempts, "also functions that hand results back instead of throwing");
  app.add_option("--macro", arguments.macros, "a macro that names must keep clear of; more than once for more")
      ->allow_extra_args(false);
  app.add_flag("--check", arguments.check, "write nothing, tell what would change");
  app.add_flag("--quiet,-q", arguments.quiet, "tell only what is wrong");
  app.add_option("classes", arguments.classes,
                 "java.util.Map, java.util.* for a package, java.base/* for what a module exports")
      ->required();
  app.footer("Exit codes: 0 done, 1 the headers do not fit, 2 a class is missing, 3 wrong usage or no Java.");
  std::vector<std::string> words;
  for (int i = argc - 1; i > 0; --i) words.push_back(qvjvm::detail::to_utf8(argv[i]));
  try {
    app.parse(std::move(words));
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kUsage;
  }
  arguments.style.text = text == "utf8" ? binder::Text::Utf8 : binder::Text::Wide;
  try {
    return Work(arguments);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qvjvm-bind: %s\n", error.what());
    return kUsage;
  }
}
