// The tables of the service's classes, walked by slot number: hosts of other compilers know nothing else of them.
// Every operation is an ordinary virtual function at its index, the destructors included, which take a delete flag and
// have one slot each.
#include <gtest/gtest.h>

#include <string>
#include <typeinfo>

#include "config/jvm_config_info.h"
#include "service/java_vm_manager.h"
#include "service/jni_initializer.h"
#include "tests/startup/startup_world.h"
#include "tests/support/product.h"
#include "tests/support/slot_call.h"

namespace qvtest {
namespace {

// The service object's class with each operation replaced by a note of its name.
class NotingObject final : public CQV_JNIVMManager {
 public:
  int32_t QueryInterface(const GUID&, void**) noexcept override { return Note("QueryInterface"); }
  uint32_t AddRef() noexcept override { return static_cast<uint32_t>(Note("AddRef")); }
  uint32_t Release() noexcept override { return static_cast<uint32_t>(Note("Release")); }
  int32_t AcquireService(IQV_JavaVM**) noexcept override { return Note("AcquireService"); }
  int32_t ReleaseService(IQV_JavaVM**) noexcept override { return Note("ReleaseService"); }
  int32_t GetErrorText(IQvString**) noexcept override { return Note("GetErrorText"); }
  int32_t GetErrorCode(int32_t*) noexcept override { return Note("GetErrorCode"); }
  void* Destroy(uint32_t) noexcept override { return Note("Destroy"), nullptr; }
  int32_t CastReference(qv_jobject*, qv_jobject) noexcept override { return Note("CastReference"); }
  int32_t DeleteLocalRef(qv_jobject) noexcept override { return Note("DeleteLocalRef"); }
  int32_t DeleteLocalRef2(qv_jobject) noexcept override { return Note("DeleteLocalRef2"); }
  int32_t DeleteLocalRef3(qv_jobject) noexcept override { return Note("DeleteLocalRef3"); }
  int32_t DeleteGlobalRef(qv_jobject) noexcept override { return Note("DeleteGlobalRef"); }
  int32_t FindClass(qv_jclass*, const char*) noexcept override { return Note("FindClass"); }
  int32_t NewGlobalRef(qv_jobject*, qv_jobject) noexcept override { return Note("NewGlobalRef"); }
  int32_t NewString(qv_jstring*, const wchar_t*) noexcept override { return Note("NewString"); }
  int32_t GetStringLength(int32_t*, qv_jstring) noexcept override { return Note("GetStringLength"); }
  int32_t GetStringChars(wchar_t*, int32_t*, qv_jstring) noexcept override { return Note("GetStringChars"); }
  int32_t GetStringValue(IQvString**, qv_jstring) noexcept override { return Note("GetStringValue"); }
  int32_t NewObject(qv_jobject*, qv_jclass, const char*, ...) noexcept override { return Note("NewObject"); }
  int32_t NewDefaultObject(qv_jobject*, qv_jclass) noexcept override { return Note("NewDefaultObject"); }
  int32_t CallIntMethod(int32_t*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallIntMethod");
  }
  int32_t CallIntMethod2(int32_t*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallIntMethod2");
  }
  int32_t CallShortMethod(int16_t*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallShortMethod");
  }
  int32_t CallShortMethod2(int16_t*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallShortMethod2");
  }
  int32_t CallFloatMethod(float*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallFloatMethod");
  }
  int32_t CallFloatMethod2(float*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallFloatMethod2");
  }
  int32_t CallDoubleMethod(double*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallDoubleMethod");
  }
  int32_t CallDoubleMethod2(double*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallDoubleMethod2");
  }
  int32_t CallByteMethod(int8_t*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallByteMethod");
  }
  int32_t CallByteMethod2(int8_t*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallByteMethod2");
  }
  int32_t CallVoidMethod(qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallVoidMethod");
  }
  int32_t CallVoidMethod2(qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallVoidMethod2");
  }
  int32_t CallObjectMethod(qv_jobject*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallObjectMethod");
  }
  int32_t CallObjectMethod2(qv_jobject*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallObjectMethod2");
  }
  int32_t CallBooleanMethod(int32_t*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallBooleanMethod");
  }
  int32_t CallBooleanMethod2(int32_t*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallBooleanMethod2");
  }
  int32_t CallLongMethod(int64_t*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallLongMethod");
  }
  int32_t CallLongMethod2(int64_t*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept override {
    return Note("CallLongMethod2");
  }
  int32_t CallStaticBooleanMethod(int32_t*, qv_jclass, const char*, const char*, ...) noexcept override {
    return Note("CallStaticBooleanMethod");
  }
  int32_t CallStaticObjectMethod(qv_jobject*, qv_jclass, const char*, const char*, ...) noexcept override {
    return Note("CallStaticObjectMethod");
  }
  int32_t CallStaticVoidMethod(qv_jclass, const char*, const char*, ...) noexcept override {
    return Note("CallStaticVoidMethod");
  }
  int32_t GetStaticIntField(int32_t*, qv_jclass, const char*) noexcept override { return Note("GetStaticIntField"); }
  int32_t GetStaticShortField(int16_t*, qv_jclass, const char*) noexcept override {
    return Note("GetStaticShortField");
  }
  int32_t NewStringArray(qv_jarray*, int32_t) noexcept override { return Note("NewStringArray"); }
  int32_t SetObjectArrayElement(qv_jarray, int32_t, qv_jobject) noexcept override {
    return Note("SetObjectArrayElement");
  }
  int32_t NewByteArray(qv_jarray*, int32_t) noexcept override { return Note("NewByteArray"); }
  int32_t GetByteArrayData(qv_jarray, int32_t, int32_t, void*) noexcept override { return Note("GetByteArrayData"); }
  int32_t SetByteArrayData(qv_jarray, int32_t, const void*, int32_t) noexcept override {
    return Note("SetByteArrayData");
  }
  int32_t GetJNIEnv(qv_jnienv*) noexcept override { return Note("GetJNIEnv"); }
  int32_t GetJDKLocation(IQvString**) noexcept override { return Note("GetJDKLocation"); }
  int32_t GetJREBinLocation(IQvString**) noexcept override { return Note("GetJREBinLocation"); }
  int32_t GetLogFileName(IQvString**) noexcept override { return Note("GetLogFileName"); }
  int32_t SetLogFileName(const wchar_t*) noexcept override { return Note("SetLogFileName"); }
  int32_t SetJvmLogEnabled(int32_t) noexcept override { return Note("SetJvmLogEnabled"); }
  int32_t IsJVMCreated(int32_t*) noexcept override { return Note("IsJVMCreated"); }
  int32_t GetClassPath(IQvString**) noexcept override { return Note("GetClassPath"); }
  int32_t GetJavaVersion(IQvString**) noexcept override { return Note("GetJavaVersion"); }
  void ExceptionClear(qv_jnienv) noexcept override { Note("ExceptionClear"); }
  int32_t CaptureException(ErrorRecord**, qv_jnienv) noexcept override { return Note("CaptureException"); }
  qv_jnienv AcquireThreadEnv() noexcept override { return Note("AcquireThreadEnv"), nullptr; }

  std::string noted;

 private:
  int32_t Note(const char* name) noexcept {
    noted = name;
    return 0;
  }
};

TEST(Tables, ServiceObjectHasEachOfIts61OperationsUnderItsNumber) {
  NotingObject object;
  for (size_t slot = 0; slot < std::size(kSlotNames); ++slot) {
    object.noted.clear();
    CallSlot<int32_t>(&object, slot, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(object.noted, kSlotNames[slot]) << "slot " << slot;
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

TEST(Tables, ConfigurationObjectHasItsDestructorAndLoad) {
  const StartupWorld world;
  auto* const config = new CQV_JVMConfigInfo();
  EXPECT_EQ((CallSlot<uint8_t>(config, 1)), 1u) << "slot 1 loads";
  EXPECT_TRUE(config->m_bLoaded);
  CallSlot<void*>(config, 0, 1u);  // releases the log path and frees the object: the world's books

  auto* const kept = new CQV_JVMConfigInfo();
  CallSlot<void*>(kept, 0, 0u);
  QvshrFree(kept);
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
