// The recorded VM itself: what it must catch, caught.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <thread>

#include "tests/bridge/fake_jni.h"

namespace qvtest {
namespace {

TEST(FakeJni, TheNamesCoverTheWholeTable) {
  constexpr size_t kEntries = sizeof(JNINativeInterface_) / sizeof(void*);
  EXPECT_EQ(kJniNameCount + 4, kEntries);
  EXPECT_STREQ(kJniNames[offsetof(JNINativeInterface_, GetVersion) / sizeof(void*) - 4], "GetVersion");
  EXPECT_STREQ(kJniNames[offsetof(JNINativeInterface_, NewString) / sizeof(void*) - 4], "NewString");
  EXPECT_STREQ(kJniNames[offsetof(JNINativeInterface_, GetModule) / sizeof(void*) - 4], "GetModule");
}

TEST(FakeJni, AFunctionThatNobodyExpectsFailsTheTestWithItsName) {
  FakeVm vm;
  EXPECT_NONFATAL_FAILURE(vm.Here().GetVersion(), "JNI function GetVersion is not expected here");
  EXPECT_NONFATAL_FAILURE(vm.Here().PushLocalFrame(1), "JNI function PushLocalFrame is not expected here");
  EXPECT_NONFATAL_FAILURE(vm.Here().functions->CallStaticVoidMethodV(&vm.Here(), nullptr, nullptr, va_list{}),
                          "JNI function CallStaticVoidMethodV is not expected here");
}

TEST(FakeJni, EveryEntryIsFilled) {
  const auto* const entries = reinterpret_cast<void* const*>(FakeJniTable());
  for (size_t i = 0; i < sizeof(JNINativeInterface_) / sizeof(void*); ++i) EXPECT_NE(entries[i], nullptr) << i;
}

TEST(FakeJni, ADeletedReferenceIsNotUsedAgain) {
  FakeVm vm;
  const jstring text = vm.Here().GivenString(L"x");
  vm.Here().DeleteLocalRef(text);
  EXPECT_NONFATAL_FAILURE(vm.Here().GetStringLength(text), "was deleted before");
  EXPECT_NONFATAL_FAILURE(vm.Here().DeleteLocalRef(text), "was deleted before");
  EXPECT_NONFATAL_FAILURE(vm.Here().GetStringLength(reinterpret_cast<jstring>(&vm)), "is not a reference");
}

TEST(FakeJni, GlobalAndLocalReferencesAreNotMixedUp) {
  FakeVm vm;
  const jobject local = vm.Here().GivenObject("x");
  const jobject global = vm.Here().NewGlobalRef(local);
  EXPECT_NONFATAL_FAILURE(vm.Here().DeleteLocalRef(global), "wrong kind of reference");
  EXPECT_NONFATAL_FAILURE(vm.Here().DeleteGlobalRef(local), "wrong kind of reference");
}

TEST(FakeJni, AnotherThreadsEnvironmentAndReferencesAreRefused) {
  FakeVm vm;
  FakeJni& mine = vm.Here();
  const jstring text = mine.GivenString(L"x");
  std::thread([&] {
    EXPECT_NONFATAL_FAILURE(mine.ExceptionCheck(), "with another thread's environment");
    EXPECT_NONFATAL_FAILURE(vm.Here().GetStringLength(text), "is another thread's");
  }).join();
}

TEST(FakeJni, AWriteBehindTheElementsIsFound) {
  FakeVm vm;
  const jbyteArray array = vm.Here().GivenBytes({1, 2});
  jbyte* const elements = vm.Here().GetByteArrayElements(array, nullptr);
  elements[2] = 0;
  EXPECT_NONFATAL_FAILURE(vm.Here().ReleaseByteArrayElements(array, elements, JNI_ABORT), "wrote past the end");
  EXPECT_EQ(vm.Pinned(), 0u);
}

TEST(FakeJni, CharactersEndWithoutANull) {
  FakeVm vm;
  const jstring text = vm.Here().GivenString(L"ab");
  const jchar* const units = vm.Here().GetStringChars(text, nullptr);
  EXPECT_EQ(units[1], 'b');
  EXPECT_EQ(units[2], 0x5A5A);
  vm.Here().ReleaseStringChars(text, units);
}

TEST(FakeJni, CallsAreRecordedWithTheirArguments) {
  FakeVm vm;
  FakeJni& jni = vm.Here();
  const jclass list = jni.GivenClass("java/util/List");
  const jmethodID id = jni.GetMethodID(list, "set", "(ILjava/lang/Object;[[DZJ)I");
  vm.answers["set"] = [](FakeJni&, const Thing&, const std::vector<jvalue>& arguments) { return arguments.at(0); };
  EXPECT_EQ(jni.CallIntMethod(jni.GivenObject("it"), id, 7, jni.GivenString(L"v"), nullptr, 1, jlong{-5}), 7);
  jni.SetPending(Throwable("e", L"e"));
  jni.GivenObject("unrecorded");
  EXPECT_EQ(jni.FindClass("no/Such"), nullptr);
  EXPECT_EQ(vm.TakeLog(),
            (std::vector<std::string>{"GetMethodID(java/util/List, \"set\", \"(ILjava/lang/Object;[[DZJ)I\")",
                                      "CallIntMethodV(it, set(ILjava/lang/Object;[[DZJ)I, 7, \"v\", null, 1, -5)",
                                      "FindClass(\"no/Such\") !pending"}));
}

TEST(FakeJni, FaultsHitTheCallTheyAreMeantFor) {
  FakeVm vm;
  FakeJni& jni = vm.Here();
  vm.FailAt("FindClass", 2, Fault::Null);
  EXPECT_NE(jni.FindClass("java/lang/String"), nullptr);
  EXPECT_FALSE(vm.FaultFired());
  EXPECT_EQ(jni.FindClass("java/lang/String"), nullptr);
  EXPECT_TRUE(vm.FaultFired());
  EXPECT_EQ(jni.Pending(), nullptr);
  EXPECT_NE(jni.FindClass("java/lang/String"), nullptr);
  vm.FailAt("NewByteArray", 1, Fault::Throw);
  EXPECT_EQ(jni.NewByteArray(1), nullptr);
  ASSERT_NE(jni.Pending(), nullptr);
  EXPECT_EQ(jni.Pending()->text, L"java.lang.Error: NewByteArray");
}

}  // namespace
}  // namespace qvtest
