// The fake jvm.dll itself: what it records, and that its traps spring. The program is also its own child, which walks
// into the trap that QV_FAKEJVM_TRAP names.
#include <jni.h>

#include <gtest/gtest.h>

#include "base/procedure.h"
#include "tests/fakejvm/fake_jvm_user.h"
#include "tests/support/child_process.h"
#include "tests/support/environment.h"
#include "tests/support/temp_folder.h"
#include "tests/support/text.h"
#include "tests/support/threads.h"

namespace qvtest {
namespace {

constexpr wchar_t kTrap[] = L"QV_FAKEJVM_TRAP";
constexpr DWORD kTrapped = 97;

struct Started {
  JavaVM* vm = nullptr;
  void* env = nullptr;
  jint result = -1;
};

Started CreateVM(const FakeJvm& jvm, std::vector<std::string> options = {}) {
  using CreateFn = jint(JNICALL*)(JavaVM**, void**, void*);
  std::vector<JavaVMOption> all;
  for (std::string& option : options) all.push_back({option.data(), &option});
  JavaVMInitArgs args = {JNI_VERSION_1_2, static_cast<jint>(all.size()), all.data(), JNI_TRUE};
  Started started;
  started.result = qv::FindProcedure<CreateFn>(jvm.Module(), "JNI_CreateJavaVM")(&started.vm, &started.env, &args);
  for (std::string& option : options) option.assign(option.size(), '#');
  return started;
}

// Runs before main when this process is a child.
bool WalkIntoTrap() {
  const auto trap = ReadVariable(kTrap);
  if (!trap) return false;
  const FakeJvm jvm;
  const Started started = CreateVM(jvm);
  auto* const env = static_cast<JNIEnv*>(started.env);
  if (trap == L"unexpected") env->GetVersion();
  if (trap == L"destroyed") started.vm->DestroyJavaVM();
  if (trap == L"detached") {
    started.vm->DetachCurrentThread();
    env->DeleteGlobalRef(nullptr);
  }
  if (trap == L"other thread") OnThread([&] { env->DeleteGlobalRef(nullptr); });
  ExitProcess(0);
}
const bool g_isChild = WalkIntoTrap();

ChildResult RunSelf(std::map<std::wstring, std::optional<std::wstring>> environment) {
  ChildOptions options;
  options.environment = std::move(environment);
  return RunChild(ProgramFolder() + L"\\fakejvm_tests.exe", options);
}

TEST(FakeJvm, TrapsEndTheProcessAndSayWhy) {
  const struct {
    const wchar_t* trap;
    const wchar_t* script;
    const char* says;
  } rows[] = {{L"unexpected", L"existing=0", "a call that start-up has no business with, JNI function 4"},
              {L"destroyed", L"existing=0", "a call of the invocation interface that start-up has no business with"},
              {L"detached", L"existing=0", "through the environment of a thread that was detached, JNI function 22"},
              {L"other thread", L"existing=0", "through another thread's environment"},
              {L"none of them", L"exisitng=2", "names no field"}};
  for (const auto& row : rows) {
    const ChildResult result = RunSelf({{kTrap, row.trap}, {L"FAKEJVM_SCRIPT", row.script}});
    EXPECT_EQ(result.exitCode, kTrapped) << ToUtf8(row.trap);
    EXPECT_NE(result.output.find(row.says), std::string::npos) << result.output;
  }
  EXPECT_EQ(RunSelf({{kTrap, L"none of them"}}).exitCode, 0u) << "the way to the traps is free";
}

TEST(FakeJvm, RecordHasCopiesOfTheOptionsAndForgetsThemWhenReset) {
  const FakeJvm jvm;
  const Started started = CreateVM(jvm, {"-Done", "-Dtwo"});
  EXPECT_EQ(started.result, 0);
  EXPECT_EQ(jvm.OptionTexts(), (std::vector<std::string>{"-Done", "-Dtwo"}));
  const FakeJvmCall call = jvm.Calls(kFakeCreateVM).at(0);
  EXPECT_EQ(call.version, JNI_VERSION_1_2);
  EXPECT_EQ(call.ignoreUnrecognized, JNI_TRUE);
  EXPECT_EQ(call.env, started.env);
  EXPECT_EQ(jvm.AttachedThreads(), 1);
  jvm.Reset();
  EXPECT_TRUE(jvm.Calls().empty());
  EXPECT_EQ(jvm.AttachedThreads(), 0);
}

TEST(FakeJvm, InvocationInterfaceKeepsEnvironmentsByThreadAndGivesEachOutOnce) {
  const FakeJvm jvm;
  const Started started = CreateVM(jvm);
  void* env = nullptr;
  EXPECT_EQ(started.vm->AttachCurrentThread(&env, nullptr), JNI_OK);
  EXPECT_EQ(env, started.env);
  jvm.Script().detachResult = -3;
  EXPECT_EQ(started.vm->DetachCurrentThread(), -3);
  EXPECT_EQ(jvm.AttachedThreads(), 1);
  EXPECT_EQ(jvm.Calls(kFakeDetach).at(0).result, -3);
  jvm.Script().detachResult = 0;
  EXPECT_EQ(started.vm->DetachCurrentThread(), JNI_OK);
  EXPECT_EQ(jvm.AttachedThreads(), 0);
  EXPECT_EQ(started.vm->AttachCurrentThread(&env, nullptr), JNI_OK);
  EXPECT_NE(env, started.env);
  EXPECT_EQ(jvm.Story(), (std::vector<std::string>{"CreateVM", "Attach", "Detach", "Detach", "Attach"}));
  EXPECT_EQ(jvm.Calls(kFakeAttach).at(0).argumentsNull, 1);
}

TEST(FakeJvm, EachVariantLacksItsEntryPointAlone) {
  for (const char* missing : {"GetCreatedJavaVMs", "GetDefaultJavaVMInitArgs", "CreateJavaVM"}) {
    const FakeJvm jvm(FakeJvm::PathWithout(ToWide(missing)));
    for (const char* name : {"GetCreatedJavaVMs", "GetDefaultJavaVMInitArgs", "CreateJavaVM"}) {
      const bool there = GetProcAddress(jvm.Module(), (std::string("JNI_") + name).c_str()) != nullptr;
      EXPECT_EQ(there, std::string_view(name) != missing) << name << " in the variant without " << missing;
    }
  }
}

TEST(FakeJvm, LogOutsideHasALineForEachCall) {
  const TempFolder folder;
  const std::wstring log = folder.Path(L"calls.log");
  {
    const EnvironmentScope variable(L"FAKEJVM_LOG", log);
    const EnvironmentScope script(L"FAKEJVM_SCRIPT", L"createResult=-4");
    HMODULE const module = LoadLibraryW(FakeJvm::DefaultPath().c_str());
    const FakeJvm jvm = FakeJvm::AlreadyLoaded();
    FreeLibrary(module);
    EXPECT_EQ(CreateVM(jvm).result, -4);
  }
  EXPECT_EQ(ReadWholeFile(log), "CreateVM vm=-1 thread=" + std::to_string(GetCurrentThreadId()) + " result=-4\n");
}

}  // namespace
}  // namespace qvtest
