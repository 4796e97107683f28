// fo2pdf: lays out an XSL-FO document with the Java formatter FOP and writes it as a PDF.
// An example of a host program: it loads qvjvm.dll from its own folder, starts the JVM through it and calls Java.
// Exit codes: 0 done, 1 Java reported an error, 2 wrong usage, 3 no service or no JVM, 4 a file could not be used.

#include <windows.h>

#include "common/program.h"
#include "common/service.h"
#include "fo2pdf/fop.h"

namespace example {
namespace {

std::wstring SystemProperty(const Service& service, const wchar_t* name) {
  return service.TextOf(service.CallStaticObject("java/lang/System", "getProperty",
                                                 "(Ljava/lang/String;)Ljava/lang/String;", service.NewString(name)));
}

void PrintSurroundings(const Service& service) {
  IQvString* text = nullptr;
  service.Check(service->GetJavaVersion(&text), "GetJavaVersion");
  PrintLine(L"java.version", TakeText(text));
  PrintLine(L"java.home", SystemProperty(service, L"java.home"));
  service.Check(service->GetClassPath(&text), "GetClassPath");
  PrintLine(L"java.class.path", TakeText(text));
  service.Check(service->GetLogFileName(&text), "GetLogFileName");
  PrintLine(L"log", TakeText(text));
}

void Fo2Pdf(int argc, wchar_t** argv) {
  if (argc != 3) throw Failure{kUsage, L"usage: fo2pdf input.fo output.pdf"};
  const std::wstring input = FullPath(argv[1]);
  const std::wstring output = FullPath(argv[2]);
  if (GetFileAttributesW(input.c_str()) == INVALID_FILE_ATTRIBUTES) {
    throw Failure{kFileFailed, input + L" is not there"};
  }
  const Service service(OwnFolder());
  PrintSurroundings(service);
  WritePdf(service, input, output);
  PrintLine(L"written", output);
}

}  // namespace
}  // namespace example

int wmain(int argc, wchar_t** argv) {
  return example::Run(L"fo2pdf", [=] { example::Fo2Pdf(argc, argv); });
}
