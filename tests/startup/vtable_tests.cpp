// The tables of the service's classes, walked by slot number: hosts of other compilers know nothing else of them.
// Every operation is an ordinary virtual function at its index, the destructors included, which take a delete flag and
// have one slot each.
#include <array>
#include <type_traits>
#include <typeinfo>

#include "base/compiler.h"
#include "service/java_vm_manager.h"
#include "service/jni_initializer.h"
#include "tests/startup/startup_world.h"
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
QV_NOINLINE size_t SlotCalled(Operation operation, Arguments... arguments) {
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

TEST(Tables, ServiceObjectHasEachOfIts61OperationsUnderItsNumber) {
  const size_t slots[] = {
#define QV_SLOT(name) SlotOf(&CQV_JNIVMManager::name),
#include "tests/support/slot_names.inc"
  };
  for (size_t slot = 0; slot < std::size(slots); ++slot) EXPECT_EQ(slots[slot], slot) << kSlotNames[slot];
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
  const StartedWorld world;
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
  const StartedWorld world;
  const auto& manager = *static_cast<CQV_JavaVMManager*>(world.vm.get());
  EXPECT_EQ(typeid(manager), typeid(CQV_JNIVMManager));
  const auto& config = JVMConfigInfo();
  EXPECT_EQ(typeid(config), typeid(CQV_JVMConfigInfo));
  const InitializerOwner initializer(new CQV_JNIInitializer());
  const CQV_JavaInitializer& base = *initializer;
  EXPECT_EQ(typeid(base), typeid(CQV_JNIInitializer));
}

}  // namespace
}  // namespace qvtest
