// The exported functions and the service object that QV_CreateJavaVM hands out: identity, the two counts, the error
// record, and what the object takes with it when it goes.
#include "service/java_vm_manager.h"
#include "service/jvm_start.h"
#include "service/thread_registry.h"
#include "tests/startup/startup_world.h"

namespace qvtest {
namespace {

constexpr GUID kUnknownId = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr GUID kJavaVMId = {0x76C5133D, 0x2502, 0x4A2A, {0xBC, 0x55, 0xF0, 0x3A, 0xFE, 0xB1, 0xB5, 0xAF}};

void* Unwritten() { return reinterpret_cast<void*>(uintptr_t{0x2222}); }

TEST(CreateJavaVM, NullOutPointerIsRefusedAndLoadsNoConfiguration) {
  StartupWorld world;
  EXPECT_EQ(static_cast<uint32_t>(QV_CreateJavaVM(nullptr, L"C:\\x.jar")), 0x80070057u);
  EXPECT_FALSE(JVMConfigInfo().m_bLoaded);
  EXPECT_TRUE(JVMConfigInfo().m_bFresh);
  EXPECT_EQ(world.jvm.Story(), std::vector<std::string>());
  EXPECT_EQ(g_pThreadRegistry->FindThreadClassPath(GetCurrentThreadId()), nullptr);
}

TEST(CreateJavaVM, SecondCallWithAClassPathAfterTheCreationGives8) {
  for (const wchar_t* classPath : {static_cast<const wchar_t*>(nullptr), L"C:\\first.jar"}) {
    const StartupWorld world;
    const Created first = CreateVM(classPath);
    EXPECT_EQ(first.status, 0) << "it creates the JVM with its class path";
    const Created second = CreateVM(L"C:\\late.jar");
    EXPECT_EQ(second.status, 8);
    EXPECT_NE(second.vm.get(), first.vm.get()) << "each call makes an object of its own";
    EXPECT_EQ(CreateVM().status, 0) << "no class path, so nothing was ignored";
    EXPECT_EQ(CreateVM(L"").status, 8) << "an empty class path is one too";
    EXPECT_EQ(world.jvm.Count(kFakeCreateVM), 1u);
  }
}

TEST(CreateJavaVM, JoinedJVMNeverGives8) {
  const StartupWorld world;
  world.jvm.Script().existing = 1;
  EXPECT_EQ(CreateVM(L"C:\\first.jar").status, 0);
  EXPECT_EQ(CreateVM(L"C:\\second.jar").status, 0);
  EXPECT_EQ(g_bJvmCreated, 0);
  EXPECT_EQ(g_bJvmJoined, 1);
}

TEST(CreateJavaVM, StoresTheHooksOnEveryCallAfterTheLoad) {
  const StartupWorld world;
  for (int call = 0; call < 2; ++call) {
    JVMConfigInfo().m_pfnVfprintfHook = nullptr;
    JVMConfigInfo().m_pfnExitHook = nullptr;
    EXPECT_EQ(CreateVM().status, 0);
    EXPECT_EQ(JVMConfigInfo().m_pfnVfprintfHook, reinterpret_cast<void*>(&JvmVfprintfHook));
    EXPECT_EQ(JVMConfigInfo().m_pfnExitHook, reinterpret_cast<void*>(&JvmExitHook));
  }
}

TEST(CreateJavaVM, ConfigurationThatCannotLoadGivesEFailAndLeavesTheOutPointer) {
  const StartupWorld world;
  const HostPath tooLong(std::wstring(260, L'x'));
  EXPECT_EQ(CreateVM().status, QV_E_FAIL);
  EXPECT_EQ(JVMConfigInfo().m_pfnVfprintfHook, nullptr) << "the hooks are stored after a good load only";
  EXPECT_EQ(world.jvm.Story(), std::vector<std::string>());
}

TEST(CreateJavaVM, NoMemoryForTheObjectGivesOutOfMemoryAndNull) {
  const StartedWorld world;
  const FailAllocation fault(1, kQvshrFailFromHere);
  EXPECT_EQ(CreateVM().status, QV_E_OUTOFMEMORY);  // CreateVM checks the null
  EXPECT_EQ(CreateVM(L"C:\\late.jar").status, QV_E_OUTOFMEMORY) << "before the note about the class path";
}

TEST(CreateJavaVM, WithoutTheProcessWideObjectsGivesEFail) {
  StartupWorld world;
  auto* const loader = std::exchange(g_csLoader, nullptr);
  EXPECT_EQ(CreateVM().status, QV_E_FAIL);
  g_csLoader = loader;
  auto* const load = std::exchange(g_csConfigLoad, nullptr);
  world.service.Restart();
  EXPECT_EQ(CreateVM().status, QV_E_FAIL);
  g_csConfigLoad = load;
  world.service.Unload();
  EXPECT_EQ(g_pThreadRegistry, nullptr);
  EXPECT_EQ(CreateVM().status, QV_E_FAIL);
  EXPECT_EQ(world.jvm.Story(), std::vector<std::string>());
}

TEST(DebugMode, IsOnAtFirstAndTakesAnyByteBeforeAndAfterTheStart) {
  const StartupWorld world;
  EXPECT_TRUE(JVMConfigInfo().m_bDebugMode);
  QV_SetJavaVMDebugMode(0);
  EXPECT_FALSE(JVMConfigInfo().m_bDebugMode);
  EXPECT_FALSE(JVMConfigInfo().m_bLoaded) << "it changes nothing else";
  const Created created = CreateVM();
  EXPECT_FALSE(JVMConfigInfo().m_bDebugMode) << "the load keeps it";
  for (const uint8_t byte : {uint8_t{1}, uint8_t{2}, uint8_t{255}}) {
    QV_SetJavaVMDebugMode(0);
    QV_SetJavaVMDebugMode(byte);
    EXPECT_TRUE(JVMConfigInfo().m_bDebugMode) << int{byte};
  }
}

TEST(QueryInterface, AnswersItsTwoIdsWithAReferenceEachAndNoOther) {
  const StartedWorld world;
  for (const GUID& id : {kUnknownId, kJavaVMId}) {
    void* found = Unwritten();
    EXPECT_EQ(world.vm->QueryInterface(id, &found), 0);
    EXPECT_EQ(found, world.vm.get());
    EXPECT_EQ(world.vm->Release(), 1u) << "QueryInterface had added one";
  }
  GUID lastByteOff = kJavaVMId;
  lastByteOff.Data4[7] ^= 1;
  GUID firstByteOff = kUnknownId;
  firstByteOff.Data1 = 1;
  constexpr GUID kDispatch = {0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  for (const GUID& id : {lastByteOff, firstByteOff, kDispatch, GUID{}}) {
    void* found = Unwritten();
    EXPECT_EQ(static_cast<uint32_t>(world.vm->QueryInterface(id, &found)), 0x80004002u);
    EXPECT_EQ(found, Unwritten());
  }
  EXPECT_EQ(world.vm->AddRef(), 2u) << "no reference was added";
  world.vm->Release();
}

TEST(ReferenceCount, StartsAt1AndTheLastReleaseFreesTheObject) {
  const StartupWorld world;
  IQV_JavaVM* vm = CreateVM().vm.release();
  EXPECT_EQ(vm->AddRef(), 2u);
  EXPECT_EQ(vm->AddRef(), 3u);
  EXPECT_EQ(vm->Release(), 2u);
  EXPECT_EQ(vm->Release(), 1u);
  const uint64_t before = Books().liveBlocks;
  EXPECT_EQ(vm->Release(), 0u);
  EXPECT_EQ(Books().liveBlocks, before - 1) << "the object is one block";
}

TEST(HoldCount, TheLastReleaseServiceDestroysTheObjectWithoutAnyRelease) {
  const StartupWorld world;  // its books would show an object that lives on
  for (const int holds : {0, 1, 2}) {
    IQV_JavaVM* const vm = CreateVM().vm.release();
    EXPECT_EQ(vm->AddRef(), 2u);
    IQV_JavaVM* held = vm;
    for (int hold = 0; hold < holds; ++hold) {
      held = nullptr;
      EXPECT_EQ(vm->AcquireService(&held), 0);
      EXPECT_EQ(held, vm);
    }
    if (holds == 2) {
      IQV_JavaVM* first = vm;
      EXPECT_EQ(vm->ReleaseService(&first), 0);
      EXPECT_EQ(first, nullptr);
      EXPECT_EQ(vm->AddRef(), 3u) << "still there, and the holds did not touch this count";
    }
    EXPECT_EQ(held->ReleaseService(&held), 0);
    EXPECT_EQ(held, nullptr);
  }
}

TEST(ErrorRecordOfAnObject, FreshObjectHasNoneAndNullOutPointersAreRefused) {
  const StartedWorld world;
  auto* text = static_cast<IQvString*>(Unwritten());
  EXPECT_EQ(static_cast<uint32_t>(world.vm->GetErrorText(&text)), 0x80004005u);
  EXPECT_EQ(text, nullptr);
  int32_t code = 77;
  EXPECT_EQ(static_cast<uint32_t>(world.vm->GetErrorCode(&code)), 0x80004005u);
  EXPECT_EQ(code, 0);
  EXPECT_EQ(static_cast<uint32_t>(world.vm->GetErrorText(nullptr)), 0x80070057u);
  EXPECT_EQ(static_cast<uint32_t>(world.vm->GetErrorCode(nullptr)), 0x80070057u);
}

// An object with its insides in reach.
class OpenObject final : public CQV_JNIVMManager {
 public:
  using CQV_JavaVMManager::m_jClassLoader;

 private:
  ~OpenObject() = default;  // it destroys itself, by its counts
};

TEST(ErrorRecordOfAnObject, TextAndCodeComeBackAndEveryTextIsANewString) {
  const StartupWorld world;
  auto* const vm = new OpenObject();
  vm->ReplaceErrorRecord(qv::NewErrorRecord(L"what went wrong", -1001));
  IQvString* first = nullptr;
  IQvString* second = nullptr;
  EXPECT_EQ(vm->GetErrorText(&first), 0);
  EXPECT_EQ(vm->GetErrorText(&second), 0);
  EXPECT_NE(first, second);
  EXPECT_EQ(TakeText(first), L"what went wrong");
  EXPECT_EQ(TakeText(second), L"what went wrong");
  int32_t code = 0;
  EXPECT_EQ(vm->GetErrorCode(&code), 0);
  EXPECT_EQ(code, -1001);
  {
    const FailCall fault(kQvshrCallCreateString, 1);
    IQvString* none = first;
    EXPECT_LT(vm->GetErrorText(&none), 0) << "the result is that of making the string";
    EXPECT_EQ(none, nullptr);
  }
  vm->Release();  // takes the record with it: the world's books
}

TEST(ErrorRecordOfAnObject, TextIsCutTo511CharactersAndWhatIsBehindItIsZero) {
  const StartupWorld world;
  for (const size_t length : {0u, 1u, 510u, 511u, 512u, 513u, 600u, 5000u}) {
    SCOPED_TRACE(length);
    const qv::HostPtr<ErrorRecord> record(qv::NewErrorRecord(std::wstring(length, L'm'), -7));
    std::wstring whole(std::min<size_t>(length, 511), L'm');
    whole.resize(512);
    EXPECT_EQ(std::wstring(record->text, 512), whole);
    EXPECT_EQ(record->code, -7);
  }
  const FailAllocation fault(1, kQvshrFailOnce);
  EXPECT_EQ(qv::NewErrorRecord(L"no memory", 0), nullptr);
}

TEST(ObjectWithAClassLoader, DeletesItThroughItsOwnSlotAndSoMayAttachTheThread) {
  for (const int32_t attachResult : {0, -1}) {
    const StartedWorld world;
    auto* const vm = new OpenObject();
    auto* const loader = static_cast<jobject>(Unwritten());
    vm->m_jClassLoader = loader;
    world.jvm.Script().attachResult = attachResult;
    const DWORD threadId = OnThread([&] { vm->Release(); });
    ASSERT_EQ(world.jvm.Count(kFakeAttach), 1u);
    EXPECT_EQ(world.jvm.Calls(kFakeAttach)[0].threadId, threadId) << "the thread that destroyed it, for that";
    const std::vector<FakeJvmCall> deleted = world.jvm.Calls(kFakeDeleteGlobalRef);
    ASSERT_EQ(deleted.size(), attachResult == 0 ? 1u : 0u) << "the object is freed in any case: the world's books";
    if (deleted.empty()) continue;
    EXPECT_EQ(deleted[0].reference, loader);
    EXPECT_EQ(deleted[0].threadId, threadId);
  }
}

}  // namespace
}  // namespace qvtest
