// The command line of the report server.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace reportserver {

enum ExitCode { kAllWritten = 0, kSomeFailed = 1, kUsage = 2, kNoJava = 3, kStopped = 6 };

extern const wchar_t* const kHelp;

/// A document and where its PDF goes.
struct Document {
  std::filesystem::path input;
  std::filesystem::path output;
};

struct Options {
  std::vector<Document> documents;
  std::wstring classPath;  ///< empty: the service's own
  unsigned threads = 0;    ///< 1 or more, at most one for each document
  bool help = false;
};

/// What is wrong with the command line.
struct UsageError {
  std::wstring text;
};

/// Reads the command line and looks into the folders that it names. Throws a UsageError.
Options ReadOptions(int argc, wchar_t** argv);

}  // namespace reportserver
