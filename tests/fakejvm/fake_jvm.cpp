// The fake jvm.dll: three VMs that do nothing but write down who called them.
// g_lock guards the record, the VMs and the environments. It is not waited for while the process ends.
// An environment is never given out twice: one that is used after its thread was detached ends in a trap.
#include "tests/fakejvm/fake_jvm.h"

#include <windows.h>

#include <jni.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "base/handle.h"
#include "base/lock.h"

namespace {

constexpr int32_t kEnvironments = 2048;

struct Environment {
  JNIEnv env;  // first, so that its address is the environment's
  int32_t vm;
  uint32_t threadId;
  bool attached;
};

qv::SlimLock g_lock;
FakeJvmState g_state;
bool g_created = false;  // VM 0 was made by JNI_CreateJavaVM
Environment g_environments[kEnvironments];
int32_t g_environmentCount = 0;
wchar_t g_logPath[1024];

JNINativeInterface_ g_functions;
JNINativeInterface_ g_deadFunctions;
extern const JNIInvokeInterface_ g_invoke;
JavaVM g_vms[kFakeVMs] = {{&g_invoke}, {&g_invoke}, {&g_invoke}};

void AppendToLog(const FakeJvmCall& call) {
  if (g_logPath[0] == L'\0') return;
  char line[128];
  const int length = std::snprintf(line, sizeof(line), "%s vm=%d thread=%lu result=%d\n", kFakeEntryNames[call.entry],
                                   static_cast<int>(call.vm), static_cast<unsigned long>(call.threadId),
                                   static_cast<int>(call.result));
  const qv::Handle file(CreateFileW(g_logPath, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  WriteFile(file.Get(), line, static_cast<DWORD>(length), &written, nullptr);
}

FakeJvmCall NewCall(FakeJvmEntry entry, int32_t vm) {
  FakeJvmCall call = {};
  call.entry = entry;
  call.threadId = GetCurrentThreadId();
  call.vm = vm;
  call.threadName = "<null>";
  return call;
}

// The lock is held.
int32_t Record(const FakeJvmCall& call) {
  AppendToLog(call);
  if (g_state.callCount < static_cast<int32_t>(std::size(g_state.calls))) {
    g_state.calls[g_state.callCount++] = call;
  } else {
    ++g_state.callsLost;
  }
  return call.result;
}

const char* CopyText(const char* text) {
  if (text == nullptr) return "<null>";
  char* const copy = static_cast<char*>(HeapAlloc(GetProcessHeap(), 0, std::strlen(text) + 1));
  return copy != nullptr ? std::strcpy(copy, text) : "<no memory>";
}

const FakeJvmOption* CopyOptions(const JavaVMInitArgs& args) {
  if (args.nOptions <= 0) return nullptr;
  auto* const copies = static_cast<FakeJvmOption*>(
      HeapAlloc(GetProcessHeap(), 0, static_cast<size_t>(args.nOptions) * sizeof(FakeJvmOption)));
  for (jint i = 0; copies != nullptr && i < args.nOptions; ++i) {
    copies[i] = {CopyText(args.options[i].optionString), args.options[i].extraInfo};
  }
  return copies;
}

[[noreturn]] void EndTest(const char* what, size_t number) {
  std::fprintf(stderr, "fake jvm.dll: %s, JNI function %zu of its table\n", what, number);
  std::fflush(stderr);
  TerminateProcess(GetCurrentProcess(), 97);
  std::abort();
}

template <size_t I>
void NotExpected() {
  EndTest("a call that start-up has no business with", I);
}
template <size_t I>
void NotAttached() {
  EndTest("a call through the environment of a thread that was detached", I);
}

constexpr size_t kFunctions = sizeof(JNINativeInterface_) / sizeof(void*);

template <size_t... I>
void FillTables(std::index_sequence<I...>) {
  ((reinterpret_cast<void**>(&g_functions)[I] = reinterpret_cast<void*>(&NotExpected<I>)), ...);
  ((reinterpret_cast<void**>(&g_deadFunctions)[I] = reinterpret_cast<void*>(&NotAttached<I>)), ...);
}

int32_t IndexOf(const JavaVM* vm) { return static_cast<int32_t>(vm - g_vms); }

// The lock is held.
Environment* FindEnvironment(int32_t vm, uint32_t threadId) {
  for (int32_t i = g_environmentCount; i-- > 0;) {
    Environment& found = g_environments[i];
    if (found.attached && found.vm == vm && found.threadId == threadId) return &found;
  }
  return nullptr;
}

// The lock is held.
Environment* Attach(int32_t vm) {
  if (Environment* const found = FindEnvironment(vm, GetCurrentThreadId())) return found;
  if (g_environmentCount == kEnvironments) EndTest("more environments than it has", 0);
  Environment& made = g_environments[g_environmentCount++];
  made = {{&g_functions}, vm, GetCurrentThreadId(), true};
  ++g_state.attachedThreads;
  return &made;
}

// The one function of an environment that start-up and teardown may use.
void JNICALL DeleteGlobalRef(JNIEnv* env, jobject reference) {
  const qv::SlimGuard lock(g_lock);
  const auto* const environment = reinterpret_cast<const Environment*>(env);
  FakeJvmCall call = NewCall(kFakeDeleteGlobalRef, environment->vm);
  call.env = env;
  call.reference = reference;
  if (environment->threadId != call.threadId) EndTest("a call through another thread's environment", 0);
  Record(call);
}

// ---- the invocation interface ----

template <class... Arguments>
jint JNICALL NeverCalled(JavaVM*, Arguments...) {
  EndTest("a call of the invocation interface that start-up has no business with", 0);
}

jint JNICALL AttachCurrentThread(JavaVM* vm, void** env, void* arguments) {
  const qv::SlimGuard lock(g_lock);
  FakeJvmCall call = NewCall(kFakeAttach, IndexOf(vm));
  call.result = g_state.script.attachResult;
  const auto* const args = static_cast<const JavaVMAttachArgs*>(arguments);
  call.argumentsNull = args == nullptr;
  if (args != nullptr) {
    call.version = args->version;
    call.threadName = CopyText(args->name);
    call.threadGroup = args->group;
  }
  if (call.result == JNI_OK) {
    Environment* const attached = Attach(call.vm);
    *env = g_state.script.attachWithoutEnv != 0 ? nullptr : attached;
    call.env = *env;
  }
  return Record(call);
}

jint JNICALL DetachCurrentThread(JavaVM* vm) {
  const FakeJvmScript script = g_state.script;
  if (script.duringDetach != nullptr) script.duringDetach(script.duringDetachContext);
  const qv::SlimGuard lock(g_lock);
  FakeJvmCall call = NewCall(kFakeDetach, IndexOf(vm));
  call.result = g_state.script.detachResult;
  Environment* const attached = FindEnvironment(call.vm, call.threadId);
  if (call.result == JNI_OK && attached != nullptr) {
    attached->attached = false;
    attached->env.functions = &g_deadFunctions;
    call.env = attached;
    --g_state.attachedThreads;
  }
  return Record(call);
}

const JNIInvokeInterface_ g_invoke = {nullptr,
                                      nullptr,
                                      nullptr,
                                      NeverCalled<>,  // DestroyJavaVM
                                      AttachCurrentThread,
                                      DetachCurrentThread,
                                      NeverCalled<void**, jint>,    // GetEnv
                                      NeverCalled<void**, void*>};  // AttachCurrentThreadAsDaemon

// ---- creating ----

void PrintThroughHook(void* hook, const char* format, ...) {
  using VfprintfHook = jint(JNICALL*)(FILE*, const char*, va_list);
  va_list args;
  va_start(args, format);
  reinterpret_cast<VfprintfHook>(hook)(stderr, format, args);
  va_end(args);
}

void PrintAsScripted(const JavaVMInitArgs& args) {
  for (jint i = 0; i < args.nOptions; ++i) {
    if (std::strcmp(args.options[i].optionString, "vfprintf") != 0) continue;
    PrintThroughHook(args.options[i].extraInfo, "fake %s %d\n", "output", 42);
  }
}

void RaiseAsScripted(int32_t what) {
  switch (what) {
    case kRaiseAccessViolation: {
      volatile int* volatile nowhere = nullptr;
      *nowhere = 1;
      break;
    }
    case kRaiseSoftware:
      RaiseException(kFakeSoftwareException, 0, 0, nullptr);
      break;
    case kRaiseCpp:
      throw std::runtime_error("the fake JVM throws");
    default:
      break;
  }
}

// ---- script from outside ----

void ReadScript(char* field) {
  constexpr std::pair<const char*, int32_t FakeJvmScript::*> kFields[] = {
      {"existing", &FakeJvmScript::existing},
      {"createResult", &FakeJvmScript::createResult},
      {"createRaises", &FakeJvmScript::createRaises},
      {"createPrints", &FakeJvmScript::createPrints}};
  char* const equals = std::strchr(field, '=');
  if (equals != nullptr) *equals = '\0';
  for (const auto& [name, value] : kFields) {
    if (equals == nullptr || std::strcmp(name, field) != 0) continue;
    g_state.script.*value = std::atoi(equals + 1);
    return;
  }
  EndTest("FAKEJVM_SCRIPT names no field of its script", 0);
}

}  // namespace

extern "C" {

jint JNICALL JNI_GetDefaultJavaVMInitArgs(void*) {
  const qv::SlimGuard lock(g_lock);
  FakeJvmCall call = NewCall(kFakeGetDefaultArgs, -1);
  call.result = g_state.script.defaultArgsResult;
  return Record(call);
}

jint JNICALL JNI_GetCreatedJavaVMs(JavaVM** vms, jsize capacity, jsize* count) {
  const qv::SlimGuard lock(g_lock);
  FakeJvmCall call = NewCall(kFakeGetCreatedVMs, -1);
  call.capacity = capacity;
  call.countBefore = *count;
  call.result = g_state.script.getCreatedResult;
  const int32_t running = g_created ? 1 : g_state.script.existing;
  *count = running;
  for (int32_t i = 0; i < running && i < capacity; ++i) {
    vms[i] = i == 0 && g_state.script.firstVmNull != 0 ? nullptr : &g_vms[i];
  }
  return Record(call);
}

jint JNICALL JNI_CreateJavaVM(JavaVM** vm, void** env, void* arguments) {
  const auto& args = *static_cast<const JavaVMInitArgs*>(arguments);
  int32_t raises = kRaiseNothing;
  bool prints = false;
  jint result = JNI_OK;
  {
    const qv::SlimGuard lock(g_lock);
    FakeJvmCall call = NewCall(kFakeCreateVM, -1);
    call.version = args.version;
    call.ignoreUnrecognized = args.ignoreUnrecognized;
    call.optionCount = args.nOptions;
    call.options = CopyOptions(args);
    raises = g_state.script.createRaises;
    prints = g_state.script.createPrints != 0;
    result = g_state.script.createResult;
    call.result = result;
    if (raises == kRaiseNothing && result >= 0) {
      g_created = true;
      Environment* const attached = Attach(0);
      *vm = &g_vms[0];
      *env = g_state.script.createWithoutEnv != 0 ? nullptr : attached;
      call.env = *env;
    } else {
      // What a JVM that gives up half way may leave in its out-values.
      *vm = &g_vms[2];
      *env = &g_environments[kEnvironments - 1];
    }
    Record(call);
  }
  if (prints) PrintAsScripted(args);
  RaiseAsScripted(raises);
  return result;
}

FakeJvmState* FakeJvmGetState(int32_t reset) {
  const qv::SlimGuard lock(g_lock);
  if (reset != 0) {
    g_state = {};
    g_created = false;
    g_environmentCount = 0;
  }
  return &g_state;
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  FillTables(std::make_index_sequence<kFunctions>());
  g_functions.DeleteGlobalRef = DeleteGlobalRef;
  char script[512] = {};
  const DWORD length = GetEnvironmentVariableA("FAKEJVM_SCRIPT", script, sizeof(script));
  if (length != 0 && length < sizeof(script)) ReadScript(script);
  if (GetEnvironmentVariableW(L"FAKEJVM_LOG", g_logPath, static_cast<DWORD>(std::size(g_logPath))) >=
      std::size(g_logPath)) {
    g_logPath[0] = L'\0';
  }
  return TRUE;
}
}
