// The rows. A particular one stands before the general one of its call.
#include "tests/reliability/faults/expectations.h"

#include "tests/reliability/faults/scenario.h"

namespace qvtest {

const std::vector<Expectation>& Expectations() {
  constexpr auto S = kSame;
  constexpr auto AsEver = Started::AsEver;
  static const std::vector<Expectation> rows = {
      // -- loading the service, and a start right afterwards: without its locks, its registry or its slots it starts
      // nothing --
      {"QvshrAlloc", "*", "*", 0, "load", kFail, Started::Nothing},
      {"TlsAlloc", "*", "*", kLast, "load", S},  // every look-up walks then
      {"TlsAlloc", "*", "*", 0, "load", kFail, Started::Nothing},
      {"FlsAlloc", "*", "*", 0, "load", S},  // the entry routine is told of every end
      // -- unloading: what Windows answers then changes nothing --
      {"FreeLibrary", "*", "*", 0, "*", S},
      {"TlsFree", "*", "*", 0, "*", S},
      {"FlsFree", "*", "*", 0, "*", S},

      // -- the runtime's library; the one below "client" is the only other --
      {"LoadLibraryA", "*", "jvm.dll", 0, "start, client runtime", S, Started::Elsewhere},
      {"LoadLibraryA", "*", "jvm.dll", 0, "start, private runtime", kFail, Started::Nothing,
       kForGood},  // an empty file
      {"LoadLibraryA", "*", "jvm.dll", 0, "start, known host", kFail, Started::Nothing, kForGood},
      {"LoadLibraryA", "*", "jvm.dll", 0, "start, joins in a Java host", kFail, Started::Nothing, kForGood},
      {"LoadLibraryA", "*", "jvm.dll", 0, "start", S},  // by its path then
      {"LoadLibraryExW", "*", "zip.dll", 0, "start", S},
      // An entry point that is missing is noticed when the start-up ran, and not looked for again.
      {"GetProcAddress", "*", "JNI_GetCreatedJavaVMs", 0, "start, joins in a Java host", kFail, Started::Nothing,
       kForGood},
      {"GetProcAddress", "*", "JNI_GetCreatedJavaVMs", 0, "start, joins", kFail, Started::Anew, kForGood},
      {"GetProcAddress", "*", "JNI_GetCreatedJavaVMs", 0, "start", kFail, AsEver, kForGood},
      {"GetProcAddress", "*", "JNI_GetDefaultJavaVMInitArgs", 0, "start", kFail, AsEver, kForGood},
      {"GetProcAddress", "*", "JNI_CreateJavaVM", 0, "start", kFail, Started::Nothing, kForGood},
      {"GetProcAddress", "*", "RtlDllShutdownInProgress", 0, "load", S},
      // Later compilers' own library looks for these as it is loaded with the service, and has others instead.
      {"GetProcAddress", "*", "GetTickCount64", 0, "load", S},
      {"GetProcAddress", "*", "GetSystemTimePreciseAsFileTime", 0, "load", S},
      {"GetProcAddress", "*", "QV_RTGetJvmWebConfig", 0, "start in a web", S},  // the log is "vm.out"
      {"QV_RTGetJvmWebConfig", "*", "*", 0, "start in a web", S},
      {"LoadLibraryW", "*", "qvrth.dll", 0, "start in a web", S},
      {"GetModuleHandleW", "*", "qvrth.dll", 0, "start in a web", S},  // it is loaded then
      {"GetModuleHandleW", "*", "zip.dll", 0, "start", S},
      {"GetModuleHandleW", "*", "ntdll.dll", 0, "load", S},
      {"GetModuleHandleW", "*", "qvjvm.dll", 0, "*", S},  // the host's folder stands for the service's own
      {"GetModuleHandleExW", "*", "the runtime", 0, "start", S},
      // No JVM gets the addresses of a service that may go.
      {"GetModuleHandleExW", "*", "to stay loaded", 0, "start", kFail, Started::Nothing},
      {"GetModuleFileNameW", "*", "host program", 1, "start", kFail, Started::Nothing},
      {"GetModuleFileNameW", "*", "host program", kLast, "start, known host without", S},
      {"GetModuleFileNameW", "*", "host program", 0, "GetClassPath", S},
      {"GetModuleFileNameW", "*", "jvm.dll", 2, "start, known host without", S},
      {"GetModuleFileNameW", "*", "jvm.dll", 2, "start", S, Started::BareBoot},
      {"GetModuleFileNameW", "*", "jvm.dll", kLast, "start", S},  // its folder is not made reachable
      {"GetModuleFileNameW", "*", "qvjvm.dll", 0, "*", kFail, Started::Nothing},

      // -- the search for a runtime, and PATH --
      {"GetEnvironmentVariableW", "*", "PATH", 0, "start", S, AsEver, kPathWithoutOld},
      {"GetEnvironmentVariableW", "*", "JAVA_HOME", 0, "start", S},
      {"GetEnvironmentVariableW", "*", "CLASSPATH", 0, "start", S, Started::Whole},
      {"GetEnvironmentVariableW", "*", "CLASSPATH", 0, "GetClassPath", S},
      {"SetEnvironmentVariableW", "*", "PATH", 0, "start, known host", kFail, Started::Nothing},
      {"SetEnvironmentVariableW", "*", "PATH", 0, "start, private runtime", kFail, Started::Nothing},
      {"SetEnvironmentVariableW", "*", "PATH", 0, "start", S},  // the search goes on
      {"GetFileAttributesW", "*", "*", 0, "*", S},              // a file that is not there: the next candidate
      {"SetThreadErrorMode", "*", "set", 0, "start", S},
      {"SetThreadErrorMode", "*", "back", 0, "start", S, AsEver, kErrorMode},

      // -- threads --
      // A class path or an attachment that cannot be kept for its thread: nothing is started.
      {"FlsSetValue", "*", "mark", 0, "start", kFail, Started::Nothing},
      {"FlsSetValue", "*", "mark", 0, "thread's calls", kMissed},
      {"FlsSetValue", "*", "*", 0, "thread that calls at its end", S},
      {"TlsGetValue", "*", "*", 0, "*", S},
      {"TlsSetValue", "*", "remember", 1, "start", kFail, Started::Nothing},  // as above
      {"TlsSetValue", "*", "remember", 2, "start", kFail, Started::Nothing},
      {"TlsSetValue", "*", "remember", 1, "thread's calls", kMissed},
      {"TlsSetValue", "*", "*", 0, "*", S},
      {"QvshrNoDetachQuery", "*", "*", 1, "thread that calls at its end", S},  // the second time may do it
      {"QvshrNoDetachQuery", "*", "*", 0, "thread", kMissed},

      // -- texts and what is told --
      {"LoadStringW", "*", "*", 0, "start", S},
      {"wsprintfW", "*", "*", 0, "start", S},
      {"MessageBoxW", "*", "*", 0, "start", S},
      {"MultiByteToWideChar", "*", "*", 0, "start", S},
      {"OpenFileMappingW", "*", "*", 0, "*", S},
      {"CloseHandle", "*", "*", 0, "start", S},

      // -- the log --
      {"_wfopen", "*", "*", 0, "*", -1},
      {"fwrite", "*", "*", 0, "*", S},  // nobody asks whether the disk was full
      {"fputs", "*", "*", 0, "*", S},
      {"fputc", "*", "*", 0, "*", S},
      {"fflush", "*", "*", 0, "*", S},
      {"fclose", "*", "*", 0, "*", S},
      {"QvshrCreateString", "*", "*", 0, "first message", -1},
      {"QvshrCreateString", "*", "*", 0, "later message", -1},

      // -- memory of the host library: a JVM with all of its options, or none --
      {"_wcsupr", "*", "*", 0, "start", kFail, Started::Nothing},
      {"QvshrAlloc", "*", "2048 bytes", 0, "start", kFail, Started::Nothing},  // PATH or JAVA_HOME unread
      {"QvshrAlloc", "*", "128 bytes", 1, "start", S},                         // the log has no path
      {"QvshrAlloc", "*", "16 bytes", 2, "start, joins in a Java host", kFail,
       Started::Nothing},                                               // the library's entry
      {"QvshrAlloc", "*", "*", kLast, "start, known host without", S},  // a text that nobody reads
      {"QvshrAlloc", "*", "*", kLast, "start", kNoMemory},              // the service object
      {"QvshrAlloc", "*", "*", 0, "thread's calls", kMissed},
      {"QvshrAlloc", "*", "*", 0, "thread that calls at its end", S},
      {"QvshrAlloc", "*", "*", 0, "GetClassPath", kFail},
      {"QvshrCreateString", "*", "vm.out", 0, "start", S},
      {"QvshrCreateString", "*", "Java Runtime Environment", 0, "start", S},  // no home is registered
      {"QvshrCreateString", "*", "*", 0, "start", kFail, Started::Nothing},
      {"QvshrCreateString", "*", "*", 0, "GetLogFileName", kMissed},  // success without a text
      {"QvshrCreateString", "*", "*", 0, "SetLogFileName", kMissed},
      {"QvshrCreateString", "*", "*", 0, "GetErrorText", kNoMemory},
      {"QvshrCreateString", "*", "*", 0, "Get", kFail},
      {"QvshrWideToMultiByte", "*", "*", 0, "start", kFail, Started::Nothing},

      // -- paths and settings of the host --
      {"QvshrGetDirectory", "*", "qvjvm.dll", 0, "*", kFail, Started::Nothing},
      {"QvshrGetDirectory", "*", "jvm.dll", kLast, "start", S},
      {"QvshrGetDirectory", "*", "jvm.dll", 0, "start, known host without", S},
      {"QvshrGetDirectory", "*", "jvm.dll", 0, "start", S, Started::BareBoot},
      {"QvshrGetDirectory", "*", "*", 0, "*", S},  // the host's
      // Without its name the host is an unknown one, for good.
      {"QvshrGetFileName", "*", "*", 0, "start, known host", kDone, Started::LikeUnknown, kUnknown},
      {"QvshrGetFileName", "*", "*", 0, "start", S},
      {"QvshrGetSpecialFolder", "*", "*", 0, "start", S},
      {"QvshrGetSetting", "*", "*", 0, "start", S},
      {"QvshrIsWebDeployment", "*", "*", 0, "start", S},

      // -- keys and values --
      {"QvshrOpenRegistryKey", "*", "*", 0, "start, known host", kFail, Started::Nothing},
      {"QvshrOpenRegistryKey", "*", "*", 0, "start", S, Started::Whole},
      {"QvshrOpenRegistryKey", "*", "*", 0, "Get", kFail},
      {"QvshrOpenDefaultTree", "*", "*", 0, "*", kFail, Started::Nothing},
      {"IQvRegKey::OpenSubKey", "*", "1.5", 0, "start", S},
      {"IQvRegKey::OpenSubKey", "*", "QVJVMprops", 0, "start, unknown host with settings", S, Started::Whole},
      {"IQvRegKey::OpenSubKey", "*", "QVJVMconfig", 0, "start, unknown host with settings", S, Started::Whole},
      {"IQvRegKey::OpenSubKey", "*", "*", 0, "*", kFail, Started::Nothing},
      {"IQvRegKey::EnumValue", "*", "0", 1, "start", S, Started::Whole},           // no properties
      {"IQvRegKey::EnumValue", "*", "0", kLast, "start", S, Started::NoProperty},  // counted, and gone when read
      {"IQvRegKey::EnumValue", "*", "*", 0, "start", S},
      {"IQvRegKey::QueryStringValue", "*", "CurrentVersion", 0, "start", S},
      {"IQvRegKey::QueryStringValue", "*", "JavaHome", 0, "start", S},
      {"IQvRegKey::QueryStringValue", "*", "*", kLast, "start", kFail,
       Started::Nothing},  // an option that Count promised
      {"IQvRegKey::QueryStringValue", "*", "*", 0, "start, known host", kFail, Started::Nothing},  // where Java is
      {"IQvRegKey::QueryStringValue", "*", "*", 0, "start", S, Started::Whole},  // a list's entry is left out
      {"IQvRegKey::QueryStringValue", "*", "*", 0, "GetJREBinLocation", kFail},
      {"IQvRegKey::QueryStringValue", "*", "*", 0, "GetClassPath", S},

      // -- the Java VM --
      {"JNI_GetCreatedJavaVMs", "-1", "*", 0, "start, joins in a Java host", kFail, Started::Nothing},
      {"JNI_GetCreatedJavaVMs", "-1", "*", 0, "start, joins", S, Started::Anew},
      {"JNI_GetCreatedJavaVMs", "-1", "*", 0, "start", S},
      {"JNI_GetCreatedJavaVMs", "-1", "*", 0, "thread", S, Started::Anew},
      {"JNI_GetCreatedJavaVMs", "a null VM", "*", 0, "start, joins", kFail},
      {"JNI_GetCreatedJavaVMs", "a null VM", "*", 0, "start", S},
      {"JNI_GetCreatedJavaVMs", "a null VM", "*", 0, "thread's calls", kMissed},
      {"JNI_GetCreatedJavaVMs", "a null VM", "*", 0, "thread that calls at its end", S},
      {"JNI_CreateJavaVM", "-1", "*", 0, "start", kFail},
      {"JNI_CreateJavaVM", "no environment", "*", 0, "start", S},
      {"JNI_CreateJavaVM", "*", "*", 0, "start", kFail, AsEver, kOptions},
      {"JavaVM::AttachCurrentThread", "*", "*", 0, "start", kFail},
      {"JavaVM::AttachCurrentThread", "*", "*", 0, "thread's calls", kMissed},
      {"JavaVM::AttachCurrentThread", "-1", "*", 0, "thread that calls at its end", S},
      {"JavaVM::AttachCurrentThread", "*", "*", 0, "thread that calls at its end", kMissed},
      {"JavaVM::DetachCurrentThread", "*", "*", 0, "thread's calls", S},
      {"JavaVM::DetachCurrentThread", "*", "*", 0, "thread", kMissed},
  };
  return rows;
}

}  // namespace qvtest
