// qvjoin.dll: the native library of ReportHost.java. An example of the service inside a Java program: it joins the JVM
// that is there, and a class that the program does not have is looked for on the service's own class path.
// Exit codes: 0 done, 1 Java reported an error, 3 no service or no JVM, 4 a file could not be used.

#include "common/program.h"
#include "fo2pdf/fop.h"

namespace example {
namespace {

void MakePdf(const qvjvm::jvm& java, void* input, void* output) {
  PrintLine(L"the service", java.created() ? L"created the JVM" : L"joined the JVM");
  PrintLine(L"the service's class path", java.class_path());
  const auto pdf = java.object_of(output).as<std::wstring>();
  WritePdf(java, java.object_of(input).as<std::wstring>(), pdf);
  PrintLine(L"written", pdf);
}

}  // namespace
}  // namespace example

/// The two strings are JNI references of this thread. JNI's own environment, the first argument, is not needed.
extern "C" __declspec(dllexport) int32_t
    Java_ReportHost_makePdf(void* /*env*/, void* /*cls*/, void* input, void* output) {
  return example::Run(L"qvjoin", [=] { example::MakePdf(example::StartJava(), input, output); });
}
