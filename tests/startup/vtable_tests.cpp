// The tables of the service's classes, walked by slot number: hosts of other compilers know nothing else of them.
// Every operation is an ordinary virtual function at its index, the destructors included, which take a delete flag and
// have one slot each.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "config/jvm_config_info.h"
#include "service/java_vm_manager.h"
#include "service/jni_initializer.h"
#include "tests/startup/startup_world.h"
#include "tests/support/product.h"
#include "tests/support/slot_call.h"

namespace qvtest {
namespace {

size_t g_slot = 0;
template <size_t Slot>
int64_t NoteSlot() {
  g_slot = Slot;
  return 0;
}

// The entry of the table through which an operation of the service object is called.
template <class Object, class Operation, class... Arguments>
size_t SlotCalled(Operation operation, Arguments... arguments) {
  static constexpr auto kTable = []<size_t... Slot>(std::index_sequence<Slot...>) {
    return std::array{&NoteSlot<Slot>...};
  }
  (std::make_index_sequence<std::size(kSlotNames)>());
  const void* object[] = {kTable.data()};
  g_slot = SIZE_MAX;
  (reinterpret_cast<Object*>(object)->*operation)(arguments...);
  return g_slot;
}
template <class Result, class Object, class... Arguments>
size_t SlotOf(Result (Object::*operation)(Arguments...) noexcept) {
  return SlotCalled<Object>(operation, std::remove_cvref_t<Arguments>{}...);
}
template <class Result, class Object, class... Arguments>
size_t SlotOf(Result (Object::*operation)(Arguments..., ...) noexcept) {
  return SlotCalled<Object>(operation, Arguments{}...);
}

#define QV_SLOT(name) std::pair(std::string(#name), SlotOf(&CQV_JNIVMManager::name))

TEST(Tables, ServiceObjectHasEachOfIts61OperationsUnderItsNumber) {
  const std::pair<std::string, size_t> operations[] = {QV_SLOT(QueryInterface),
                                                       QV_SLOT(AddRef),
                                                       QV_SLOT(Release),
                                                       QV_SLOT(AcquireService),
                                                       QV_SLOT(ReleaseService),
                                                       QV_SLOT(GetErrorText),
                                                       QV_SLOT(GetErrorCode),
                                                       QV_SLOT(CastReference),
                                                       QV_SLOT(DeleteLocalRef),
                                                       QV_SLOT(DeleteLocalRef2),
                                                       QV_SLOT(DeleteLocalRef3),
                                                       QV_SLOT(DeleteGlobalRef),
                                                       QV_SLOT(FindClass),
                                                       QV_SLOT(NewGlobalRef),
                                                       QV_SLOT(NewString),
                                                       QV_SLOT(GetStringLength),
                                                       QV_SLOT(GetStringChars),
                                                       QV_SLOT(GetStringValue),
                                                       QV_SLOT(NewObject),
                                                       QV_SLOT(NewDefaultObject),
                                                       QV_SLOT(CallIntMethod),
                                                       QV_SLOT(CallIntMethod2),
                                                       QV_SLOT(CallShortMethod),
                                                       QV_SLOT(CallShortMethod2),
                                                       QV_SLOT(CallFloatMethod),
                                                       QV_SLOT(CallFloatMethod2),
                                                       QV_SLOT(CallDoubleMethod),
                                                       QV_SLOT(CallDoubleMethod2),
                                                       QV_SLOT(CallByteMethod),
                                                       QV_SLOT(CallByteMethod2),
                                                       QV_SLOT(CallVoidMethod),
                                                       QV_SLOT(CallVoidMethod2),
                                                       QV_SLOT(CallObjectMethod),
                                                       QV_SLOT(CallObjectMethod2),
                                                       QV_SLOT(CallBooleanMethod),
                                                       QV_SLOT(CallBooleanMethod2),
                                                       QV_SLOT(CallLongMethod),
                                                       QV_SLOT(CallLongMethod2),
                                                       QV_SLOT(CallStaticBooleanMethod),
                                                       QV_SLOT(CallStaticObjectMethod),
                                                       QV_SLOT(CallStaticVoidMethod),
                                                       QV_SLOT(GetStaticIntField),
                                                       QV_SLOT(GetStaticShortField),
                                                       QV_SLOT(NewStringArray),
                                                       QV_SLOT(SetObjectArrayElement),
                                                       QV_SLOT(NewByteArray),
                                                       QV_SLOT(GetByteArrayData),
                                                       QV_SLOT(SetByteArrayData),
                                                       QV_SLOT(GetJNIEnv),
                                                       QV_SLOT(GetJDKLocation),
                                                       QV_SLOT(GetJREBinLocation),
                                                       QV_SLOT(GetLogFileName),
                                                       QV_SLOT(SetLogFileName),
                                                       QV_SLOT(SetJvmLogEnabled),
                                                       QV_SLOT(IsJVMCreated),
                                                       QV_SLOT(GetClassPath),
                                                       QV_SLOT(GetJavaVersion),
                                                       QV_SLOT(Destroy),
                                                       QV_SLOT(ExceptionClear),
                                                       QV_SLOT(CaptureException),
                                                       QV_SLOT(AcquireThreadEnv)};
  ASSERT_EQ(std::size(operations), 61u);
  for (size_t slot = 0; slot < 61; ++slot) {
    EXPECT_EQ(operations[slot], std::pair(std::string(kSlotNames[slot]), slot));
  }
}

TEST(Tables, ServiceObjectsDestructorInSlot57FreesItsMemoryByTheFlagAlone) {
  const StartupWorld world;
  const auto liveBlocks = [] { return Books().liveBlocks; };
  for (const uint32_t flag : {0u, 1u, 2u, 3u}) {
    auto* const object = new CQV_JNIVMManager();
    object->ReplaceErrorRecord(qv::NewErrorRecord(L"a record", 0));
    const uint64_t before = liveBlocks();
    CallSlot<void*>(object, 57, flag);
    const bool deleted = (flag & 1) != 0;
    EXPECT_EQ(before - liveBlocks(), deleted ? 2u : 1u) << "flag " << flag << ": the record goes in any case";
    if (!deleted) QvshrFree(object);
  }
}

// An initializer that notes when its Terminate is called through its table.
class NotingInitializer final : public CQV_JNIInitializer {
 public:
  explicit NotingInitializer(int& terminated) : m_terminated(terminated) {}
  void Terminate() noexcept override { ++m_terminated; }

 private:
  ~NotingInitializer() = default;
  int& m_terminated;
};

TEST(Tables, InitializerHasItsFourOperations) {
  const StartupWorld world;
  ASSERT_EQ(CreateVM().status, 0);
  OnThread([&] {
    auto* const initializer = new CQV_JNIInitializer();
    EXPECT_EQ(initializer->ThreadId(), 0u);
    EXPECT_EQ((CallSlot<void*>(initializer, 1)), nullptr) << "slot 1 is GetEnv";
    ErrorRecord* record = nullptr;
    EXPECT_EQ((CallSlot<int32_t>(initializer, 2, 4711u, &record)), 0) << "slot 2 is Initialize";
    EXPECT_EQ(initializer->ThreadId(), 4711u);
    EXPECT_EQ((CallSlot<const void*>(initializer, 1)), world.jvm.Calls(kFakeAttach).back().env);
    CallSlot<void>(initializer, 3);
    EXPECT_EQ(world.jvm.Count(kFakeDetach), 1u) << "slot 3 is Terminate";
    EXPECT_EQ((CallSlot<void*>(initializer, 1)), nullptr);
    CallSlot<void*>(initializer, 0, 1u);
    EXPECT_EQ(world.jvm.Count(kFakeDetach), 1u) << "terminated before, so its end detaches nothing";
  });
}

TEST(Tables, InitializersDestructorTerminatesThroughItsTable) {
  const StartupWorld world;
  int terminated = 0;
  auto* const initializer = new NotingInitializer(terminated);
  CallSlot<void*>(initializer, 0, 0u);
  EXPECT_EQ(terminated, 1);
  QvshrFree(initializer);
}

TEST(Tables, ClassesCarryTheirTypeInformation) {
  const StartupWorld world;
  const Created created = CreateVM();
  EXPECT_EQ(typeid(*static_cast<CQV_JavaVMManager*>(created.vm.get())), typeid(CQV_JNIVMManager));
  EXPECT_EQ(typeid(JVMConfigInfo()), typeid(CQV_JVMConfigInfo));
  const InitializerOwner initializer(new CQV_JNIInitializer());
  EXPECT_EQ(typeid(static_cast<CQV_JavaInitializer&>(*initializer)), typeid(CQV_JNIInitializer));
}

}  // namespace
}  // namespace qvtest
