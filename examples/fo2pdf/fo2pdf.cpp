// fo2pdf: lays out an XSL-FO document with the Java formatter FOP and writes it as a PDF.
// An example of a host program: it loads qvjvm.dll from its own folder, starts the JVM through it and calls Java.
// Exit codes: 0 done, 1 Java reported an error, 2 wrong usage, 3 no service or no JVM, 4 a file could not be used.

#include <windows.h>

#include "common/program.h"
#include "fo2pdf/fop.h"

namespace example {
namespace {

void PrintSurroundings(const qvjvm::jvm& java) {
  PrintLine(L"java.version", java.java_version());
  PrintLine(L"java.home", java.call_static<"java/lang/System", "getProperty", std::wstring>(L"java.home"));
  PrintLine(L"java.class.path", java.class_path());
  PrintLine(L"log", java.log_file());
}

void Fo2Pdf(int argc, wchar_t** argv) {
  if (argc != 3) throw Failure{kUsage, L"usage: fo2pdf input.fo output.pdf"};
  const std::wstring input = FullPath(argv[1]);
  const std::wstring output = FullPath(argv[2]);
  if (GetFileAttributesW(input.c_str()) == INVALID_FILE_ATTRIBUTES) {
    throw Failure{kFileFailed, input + L" is not there"};
  }
  const qvjvm::jvm java = StartJava();
  PrintSurroundings(java);
  WritePdf(java, input, output);
  PrintLine(L"written", output);
}

}  // namespace
}  // namespace example

int wmain(int argc, wchar_t** argv) {
  return example::Run(L"fo2pdf", [=] { example::Fo2Pdf(argc, argv); });
}
