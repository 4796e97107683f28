// What every example program does: start Java, tell failures, print, find its files.
#pragma once

#include <string>

#include "qvjvm/qvjvm.hpp"

namespace example {

enum ExitCode { kDone = 0, kJavaFailed = 1, kUsage = 2, kNoService = 3, kFileFailed = 4, kWrongResult = 5 };

/// Ends an example with this exit code and this text for the user.
struct Failure {
  ExitCode exitCode;
  std::wstring text;
};

/// Loads qvjvm.dll from the folder of this code and starts the JVM, or joins the one of this process.
qvjvm::jvm StartJava();

/// Tells a failure on the error output, after the program's name, and returns its exit code.
int TellFailure(const wchar_t* name, const Failure& failure);

/// Runs the body and returns the exit code. What Java raised, or what could not be asked of it, is told too.
template <class Body>
int Run(const wchar_t* name, Body body) {
  try {
    body();
    return kDone;
  } catch (const Failure& failure) {
    return TellFailure(name, failure);
  } catch (const qvjvm::error& error) {
    return TellFailure(name, {kJavaFailed, error.message()});
  }
}

/// Prints "name: value". Text is UTF-8 when the output goes into a file or a pipe.
void PrintLine(const std::wstring& name, const std::wstring& value);

std::wstring FullPath(const wchar_t* path);
std::wstring FolderOf(const std::wstring& path);
/// The folder of the program or library that this code is linked into.
std::wstring OwnFolder();

}  // namespace example
