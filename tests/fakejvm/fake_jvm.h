// The fake jvm.dll's own interface: what it was asked, and what it is to answer. It exports JNI's three invocation
// functions (a variant lacks one of them) and FakeJvmGetState. Whatever start-up has no business with ends the process.
// The state is the DLL's and goes with it; a test that wants the record afterwards keeps the DLL loaded
// (fake_jvm_user.h). Plain data only, because the DLL and its users have runtimes of their own. For a process whose
// test cannot reach in, environment variables, read when the DLL is loaded:
//   FAKEJVM_SCRIPT=field=number   a field of FakeJvmScript by name ("existing=2")
//   FAKEJVM_LOG=<path>            one line appended for each call, at once, at process end too
#pragma once

#include <cstdint>

enum FakeJvmEntry : int32_t {
  kFakeGetDefaultArgs,  // JNI_GetDefaultJavaVMInitArgs
  kFakeCreateVM,        // JNI_CreateJavaVM
  kFakeGetCreatedVMs,   // JNI_GetCreatedJavaVMs
  kFakeAttach,          // a JavaVM's AttachCurrentThread
  kFakeDetach,          // and its DetachCurrentThread
  kFakeDeleteGlobalRef  // a JNIEnv's
};
inline constexpr const char* kFakeEntryNames[] = {"GetDefaultArgs", "CreateVM", "GetCreatedVMs",
                                                  "Attach",         "Detach",   "DeleteGlobalRef"};

enum FakeJvmRaise : int32_t {
  kRaiseNothing,
  kRaiseAccessViolation,
  kRaiseSoftware,  // a structured exception of a code of its own
  kRaiseCpp,       // a C++ exception
};

struct FakeJvmScript {
  int32_t existing;           // VMs that ran before anything was created: 0 to 3
  int32_t firstVmNull;        // the first of them is reported as a null pointer
  int32_t defaultArgsResult;  // of JNI_GetDefaultJavaVMInitArgs
  int32_t getCreatedResult;   // of JNI_GetCreatedJavaVMs; the count is reported all the same
  int32_t createResult;       // negative: nothing is created
  int32_t createRaises;       // FakeJvmRaise, before anything is created
  int32_t createWithoutEnv;   // success, but the environment comes back null
  int32_t createPrints;       // calls the vfprintf hook with "fake %s %d\n", "output", 42 while creating
  int32_t attachResult;
  int32_t attachWithoutEnv;  // success, but the environment comes back null
  int32_t detachResult;      // not 0: the thread stays attached
  // Runs while a thread is detached and still has its environment, as Java's handler of an uncaught exception does.
  void (*duringDetach)(void* context);
  void* duringDetachContext;
};

struct FakeJvmOption {
  const char* text;
  void* extraInfo;
};

struct FakeJvmCall {
  int32_t entry;  // FakeJvmEntry
  uint32_t threadId;
  int32_t vm;       // 0 to 2, the VM that was called; -1 for an exported function
  const void* env;  // the environment that came back or that was called
  int32_t version;  // of the arguments; 0 without any
  int32_t ignoreUnrecognized;
  int32_t optionCount;  // of CreateVM
  const FakeJvmOption* options;
  int32_t capacity;        // of GetCreatedVMs
  int32_t countBefore;     // ... and its count as it came in
  int32_t argumentsNull;   // of Attach: no argument structure
  const char* threadName;  // of Attach; "<null>" for none
  const void* threadGroup;
  const void* reference;  // of DeleteGlobalRef
  int32_t result;
};

struct FakeJvmState {
  FakeJvmScript script;
  int32_t attachedThreads;  // pairs of VM and thread that have an environment now
  int32_t callCount;
  int32_t callsLost;  // more than the record holds
  FakeJvmCall calls[1024];
};

inline constexpr int32_t kFakeVMs = 3;
inline constexpr uint32_t kFakeSoftwareException = 0xE0C0FFEE;

// The state; `reset` not 0 first forgets every call, VM and thread and goes back to a script of zeros.
using FakeJvmGetStateFn = FakeJvmState* (*)(int32_t reset);
