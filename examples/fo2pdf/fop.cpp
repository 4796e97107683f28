// FOP driven as its Java documentation shows it, call by call.
#include "fo2pdf/fop.h"

#include <windows.h>

namespace example {
namespace {

/// "file:/C:/folder/name" for a path, with everything but ASCII escaped.
Ref AddressOf(const Service& service, const std::wstring& path) {
  const Object file = service.New("java/io/File", "(Ljava/lang/String;)", service.NewString(path));
  const Object uri(service, service.FindClass("java/net/URI"), file.CallObject("toURI", "()Ljava/net/URI;"));
  return uri.CallObject("toASCIIString", "()Ljava/lang/String;");
}

/// FOP's own settings as it ships them, and pictures named relative to the document.
void Configure(const Service& service, const std::wstring& folder) {
  service.New("org/apache/fop/apps/Options", "()");
  service.CallStaticVoid("org/apache/fop/configuration/Configuration", "put", "(Ljava/lang/String;Ljava/lang/Object;)V",
                         service.NewString(L"baseDir"), AddressOf(service, folder));
}

void Render(const Service& service, const std::wstring& input, const Object& stream) {
  constexpr int32_t kWarningsAndErrors = 2;
  constexpr int32_t kRenderPdf = 1;
  constexpr char kTakesLogger[] = "(Lorg/apache/avalon/framework/logger/Logger;)V";
  const Object logger = service.New("org/apache/avalon/framework/logger/ConsoleLogger", "(I)", kWarningsAndErrors);
  service.CallStaticVoid("org/apache/fop/messaging/MessageHandler", "setScreenLogger", kTakesLogger, logger);
  Configure(service, FolderOf(input));
  const Object source = service.New("org/xml/sax/InputSource", "(Ljava/lang/String;)", AddressOf(service, input));
  const Object driver = service.New("org/apache/fop/apps/Driver", "()");
  driver.CallVoid("setLogger", kTakesLogger, logger);
  driver.CallVoid("setRenderer", "(I)V", kRenderPdf);
  driver.CallVoid("setOutputStream", "(Ljava/io/OutputStream;)V", stream);
  driver.CallVoid("setInputSource", "(Lorg/xml/sax/InputSource;)V", source);
  driver.CallVoid("run", "()V");
}

void RenderTo(const Service& service, const std::wstring& input, const std::wstring& path) {
  const Object stream = service.New("java/io/FileOutputStream", "(Ljava/lang/String;)", service.NewString(path));
  try {
    Render(service, input, stream);
  } catch (const Failure&) {
    stream.CallVoid("close", "()V");
    throw;
  }
  stream.CallVoid("close", "()V");
}

}  // namespace

void WritePdf(const Service& service, const std::wstring& input, const std::wstring& output) {
  const std::wstring partial = output + L".partial";
  try {
    RenderTo(service, input, partial);
  } catch (const Failure&) {
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
