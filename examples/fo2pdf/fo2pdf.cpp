// fo2pdf: lays out an XSL-FO document with the Java formatter FOP and writes it as a PDF.
// An example of a host program: it loads qvjvm.dll from its own folder, starts the JVM through it and calls Java.
// The PDF appears under its name only when it is complete.
// Exit codes: 0 done, 1 Java reported an error, 2 wrong usage, 3 no service or no JVM, 4 a file could not be used.

#include <windows.h>

#include <cstdio>
#include <memory>
#include <string>

#include "java.h"
#include "qvjvm/qvjvm.h"

namespace fo2pdf {
namespace {

enum ExitCode { kDone = 0, kJavaFailed = 1, kUsage = 2, kNoService = 3, kFileFailed = 4 };

struct HostError {
  ExitCode code;
  std::wstring text;
};

/// Writes text as the console shows it, and as UTF-8 when the output goes into a file or a pipe.
void Print(DWORD stream, const std::wstring& text) {
  const HANDLE handle = GetStdHandle(stream);
  DWORD mode = 0;
  DWORD written = 0;
  if (GetConsoleMode(handle, &mode)) {
    WriteConsoleW(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    return;
  }
  const int units = static_cast<int>(text.size());
  std::string bytes(
      static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr)), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), units, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
  WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void PrintLine(const std::wstring& name, const std::wstring& value) {
  Print(STD_OUTPUT_HANDLE, name + L": " + value + L"\n");
}

std::wstring FullPath(const wchar_t* path) {
  std::wstring full(GetFullPathNameW(path, 0, nullptr, nullptr), L'\0');
  full.resize(GetFullPathNameW(path, static_cast<DWORD>(full.size()), full.data(), nullptr));
  if (full.empty()) throw HostError{kFileFailed, std::wstring(L"not a path: ") + path};
  return full;
}

std::wstring FolderOf(const std::wstring& path) { return path.substr(0, path.find_last_of(L'\\')); }

std::wstring OwnFolder() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD units = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (units < path.size()) return FolderOf(path.substr(0, units));
    path.resize(path.size() * 2);
  }
}

std::wstring Hex(int32_t status) {
  wchar_t text[16];
  swprintf(text, 16, L"0x%08X", static_cast<unsigned>(status));
  return text;
}

template <class Function>
Function FindExport(HMODULE library, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

struct ReleaseService {
  void operator()(IQV_JavaVM* vm) const noexcept { vm->Release(); }
};
using Service = std::unique_ptr<IQV_JavaVM, ReleaseService>;

/// Loads the service and starts the JVM. The library stays loaded until the process ends, as the JVM does.
Service StartService() {
  const std::wstring path = OwnFolder() + L"\\qvjvm.dll";
  const HMODULE library = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (!library) throw HostError{kNoService, path + L" could not be loaded: error " + std::to_wstring(GetLastError())};
  const auto createJavaVM = FindExport<QV_CreateJavaVMFn>(library, "QV_CreateJavaVM");
  if (!createJavaVM) throw HostError{kNoService, path + L" has no QV_CreateJavaVM"};
  IQV_JavaVM* vm = nullptr;
  const int32_t status = createJavaVM(&vm, nullptr);
  if (status < 0 || !vm) {
    throw HostError{kNoService, L"the JVM could not be started: status " + Hex(status) +
                                    L". A Java runtime is looked for in JAVA_HOME, in the registry and in " +
                                    OwnFolder() + L"\\JRE."};
  }
  return Service(vm);
}

std::wstring SystemProperty(Java& java, const wchar_t* name) {
  const Ref system = java.FindClass("java/lang/System");
  const Ref key = java.NewString(name);
  return java.GetText(
      java.CallStaticObjectMethod(system, "getProperty", "(Ljava/lang/String;)Ljava/lang/String;", key.Get()));
}

void PrintSurroundings(IQV_JavaVM* vm, Java& java) {
  for (const wchar_t* name : {L"java.version", L"java.home", L"java.class.path"}) {
    PrintLine(name, SystemProperty(java, name));
  }
  IQvString* log = nullptr;
  if (vm->GetLogFileName(&log) < 0 || !log) return;
  PrintLine(L"log", log->GetText());
  log->Release();
}

/// "file:/C:/folder/name" for a path, with everything but ASCII escaped.
std::wstring AddressOf(Java& java, const std::wstring& path) {
  const Ref fileClass = java.FindClass("java/io/File");
  const Ref uriClass = java.FindClass("java/net/URI");
  const Ref pathText = java.NewString(path);
  const Ref file = java.NewObject(fileClass, "(Ljava/lang/String;)", pathText.Get());
  const Ref uri = java.CallObjectMethod(fileClass, file, "toURI", "()Ljava/net/URI;");
  return java.GetText(java.CallObjectMethod(uriClass, uri, "toASCIIString", "()Ljava/lang/String;"));
}

/// A logger that shows warnings and errors, for everything in FOP.
Ref MakeLogger(Java& java) {
  const jint warningsAndErrors = 2;
  const Ref loggerClass = java.FindClass("org/apache/avalon/framework/logger/ConsoleLogger");
  Ref logger = java.NewObject(loggerClass, "(I)", warningsAndErrors);
  const Ref messages = java.FindClass("org/apache/fop/messaging/MessageHandler");
  java.CallStaticVoidMethod(messages, "setScreenLogger", "(Lorg/apache/avalon/framework/logger/Logger;)V",
                            logger.Get());
  return logger;
}

/// FOP's own settings as it ships them, and pictures named relative to the document.
void Configure(Java& java, const std::wstring& folder) {
  const Ref optionsClass = java.FindClass("org/apache/fop/apps/Options");
  const Ref options = java.NewObject(optionsClass, "()");
  const Ref configuration = java.FindClass("org/apache/fop/configuration/Configuration");
  const Ref key = java.NewString(L"baseDir");
  const Ref value = java.NewString(AddressOf(java, folder));
  java.CallStaticVoidMethod(configuration, "put", "(Ljava/lang/String;Ljava/lang/Object;)V", key.Get(), value.Get());
}

void Render(Java& java, const std::wstring& input, const Ref& stream) {
  const jint renderPdf = 1;
  const Ref driverClass = java.FindClass("org/apache/fop/apps/Driver");
  const Ref driver = java.NewObject(driverClass, "()");
  const Ref logger = MakeLogger(java);
  Configure(java, FolderOf(input));
  const Ref sourceClass = java.FindClass("org/xml/sax/InputSource");
  const Ref address = java.NewString(AddressOf(java, input));
  const Ref source = java.NewObject(sourceClass, "(Ljava/lang/String;)", address.Get());
  java.CallVoidMethod(driverClass, driver, "setLogger", "(Lorg/apache/avalon/framework/logger/Logger;)V", logger.Get());
  java.CallVoidMethod(driverClass, driver, "setRenderer", "(I)V", renderPdf);
  java.CallVoidMethod(driverClass, driver, "setOutputStream", "(Ljava/io/OutputStream;)V", stream.Get());
  java.CallVoidMethod(driverClass, driver, "setInputSource", "(Lorg/xml/sax/InputSource;)V", source.Get());
  java.CallVoidMethod(driverClass, driver, "run", "()V");
}

void WritePdf(Java& java, const std::wstring& input, const std::wstring& output) {
  const Ref streamClass = java.FindClass("java/io/FileOutputStream");
  const Ref path = java.NewString(output);
  const Ref stream = java.NewObject(streamClass, "(Ljava/lang/String;)", path.Get());
  try {
    Render(java, input, stream);
  } catch (const JavaError&) {
    java.CallVoidMethod(streamClass, stream, "close", "()V");
    throw;
  }
  java.CallVoidMethod(streamClass, stream, "close", "()V");
}

void Convert(const std::wstring& input, const std::wstring& output) {
  const Service service = StartService();
  Java java(service.get());
  PrintSurroundings(service.get(), java);
  const std::wstring partial = output + L".partial";
  try {
    WritePdf(java, input, partial);
  } catch (const JavaError&) {
    DeleteFileW(partial.c_str());
    throw;
  }
  if (!MoveFileExW(partial.c_str(), output.c_str(), MOVEFILE_REPLACE_EXISTING)) {
    const DWORD error = GetLastError();
    DeleteFileW(partial.c_str());
    throw HostError{kFileFailed, output + L" could not be written: error " + std::to_wstring(error)};
  }
}

int Run(int argc, wchar_t** argv) {
  if (argc != 3) {
    Print(STD_ERROR_HANDLE, L"usage: fo2pdf input.fo output.pdf\n");
    return kUsage;
  }
  try {
    const std::wstring input = FullPath(argv[1]);
    const std::wstring output = FullPath(argv[2]);
    if (GetFileAttributesW(input.c_str()) == INVALID_FILE_ATTRIBUTES) {
      throw HostError{kFileFailed, input + L" is not there"};
    }
    Convert(input, output);
    PrintLine(L"written", output);
    return kDone;
  } catch (const HostError& error) {
    Print(STD_ERROR_HANDLE, L"fo2pdf: " + error.text + L"\n");
    return error.code;
  } catch (const JavaError& error) {
    Print(STD_ERROR_HANDLE, L"fo2pdf: Java reports " + error.text + L"\n");
    return kJavaFailed;
  }
}

}  // namespace
}  // namespace fo2pdf

int wmain(int argc, wchar_t** argv) { return fo2pdf::Run(argc, argv); }
