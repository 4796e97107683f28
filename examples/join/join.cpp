// qvjoin.dll: the native library of ReportHost.java. An example of the service inside a Java program: it joins the JVM
// that is there, and a class that the program does not have is looked for on the service's own class path.
// Exit codes: 0 done, 1 Java reported an error, 3 no service or no JVM, 4 a file could not be used.

#include "common/program.h"
#include "common/service.h"
#include "fo2pdf/fop.h"

namespace example {
namespace {

void MakePdf(const Service& service, qv_jstring input, qv_jstring output) {
  int32_t created = 0;
  service.Check(service->IsJVMCreated(&created), "IsJVMCreated");
  PrintLine(L"the service", created ? L"created the JVM" : L"joined the JVM");
  IQvString* classPath = nullptr;
  service.Check(service->GetClassPath(&classPath), "GetClassPath");
  PrintLine(L"the service's class path", TakeText(classPath));
  const std::wstring pdf = service.TextOf(output);
  WritePdf(service, service.TextOf(input), pdf);
  PrintLine(L"written", pdf);
}

}  // namespace
}  // namespace example

/// The two strings are local references of this thread, so the service's operations take them as they are. JNI's own
/// environment, the first argument, is not needed.
extern "C" __declspec(dllexport) int32_t
    Java_ReportHost_makePdf(void* /*env*/, void* /*cls*/, void* input, void* output) {
  return example::Run(L"qvjoin", [=] { example::MakePdf(example::Service(example::OwnFolder()), input, output); });
}
