// FOP driven as its Java documentation shows it, call by call.
#include "fo2pdf/fop.h"

#include <windows.h>

#include "common/program.h"

namespace example {
namespace {

using Logger = qvjvm::instance<"org/apache/avalon/framework/logger/Logger">;
using ConsoleLogger = qvjvm::instance<"org/apache/avalon/framework/logger/ConsoleLogger", Logger>;
using OutputStream = qvjvm::instance<"java/io/OutputStream">;
using FileOutputStream = qvjvm::instance<"java/io/FileOutputStream", OutputStream>;

/// "file:/C:/folder/name" for a path, with everything but ASCII escaped.
std::wstring AddressOf(const qvjvm::jvm& java, const std::wstring& path) {
  const auto uri = java.create<"java/io/File">(path).call<"toURI", qvjvm::instance<"java/net/URI">>();
  return uri.call<"toASCIIString", std::wstring>();
}

/// FOP's own settings as it ships them, and pictures named relative to the document.
void Configure(const qvjvm::jvm& java, const std::wstring& folder) {
  (void)java.create<"org/apache/fop/apps/Options">();
  java.call_static<"org/apache/fop/configuration/Configuration", "put", void(std::wstring, qvjvm::object)>(
      L"baseDir", AddressOf(java, folder));
}

void Render(const qvjvm::jvm& java, const std::wstring& input, const OutputStream& stream) {
  constexpr int32_t kWarningsAndErrors = 2;
  constexpr int32_t kRenderPdf = 1;
  const auto logger = ConsoleLogger::create(java, kWarningsAndErrors);
  java.call_static<"org/apache/fop/messaging/MessageHandler", "setScreenLogger", void(Logger)>(logger);
  Configure(java, FolderOf(input));
  const auto driver = java.create<"org/apache/fop/apps/Driver">();
  driver.call<"setLogger", void(Logger)>(logger);
  driver.call<"setRenderer">(kRenderPdf);
  driver.call<"setOutputStream">(stream);
  driver.call<"setInputSource">(java.create<"org/xml/sax/InputSource">(AddressOf(java, input)));
  driver.call<"run">();
}

void RenderTo(const qvjvm::jvm& java, const std::wstring& input, const std::wstring& path) {
  const auto stream = FileOutputStream::create(java, path);
  try {
    Render(java, input, stream);
  } catch (const qvjvm::error&) {
    (void)stream.try_call<"close">();
    throw;
  }
  stream.call<"close">();
}

}  // namespace

void WritePdf(const qvjvm::jvm& java, const std::wstring& input, const std::wstring& output) {
  const std::wstring partial = output + L".partial";
  try {
    RenderTo(java, input, partial);
  } catch (const qvjvm::error&) {
    DeleteFileW(partial.c_str());
    throw;
  }
  if (!MoveFileExW(partial.c_str(), output.c_str(), MOVEFILE_REPLACE_EXISTING)) {
    const DWORD error = GetLastError();
    DeleteFileW(partial.c_str());
    throw Failure{kFileFailed, output + L" could not be written: error " + std::to_wstring(error)};
  }
}

}  // namespace example
