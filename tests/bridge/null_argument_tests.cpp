// What a null argument does, operation by operation: nothing is called in Java with it, out values are as stated.
// The typed calls have their own rows in typed_call_tests.cpp.
#include <algorithm>
#include <functional>
#include <string>

#include "tests/bridge/bridge_test.h"

namespace qvtest {

namespace {

struct NullCase {
  const char* name;
  int32_t status;
  bool record;  // "QVJava Internal Exception", code -1001
  std::function<int32_t(IQV_JavaVM&, FakeJni&)> call;
};

// The out values of the calls, filled before each.
qv_jobject g_out;
int32_t g_length;
wchar_t g_buffer[512];
jbyte g_bytes[4];
IQvString* g_text;

const NullCase kCases[] = {
    {"CastReference, out", E_FAIL, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.CastReference(nullptr, &vm); }},
    {"FindClass, out", E_FAIL, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.FindClass(nullptr, "a/B"); }},
    {"FindClass, name", E_FAIL, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.FindClass(&g_out, nullptr); }},
    {"NewGlobalRef, out", E_FAIL, false,
     [](IQV_JavaVM& vm, FakeJni& jni) { return vm.NewGlobalRef(nullptr, jni.GivenObject("it")); }},
    {"NewGlobalRef, reference", E_FAIL, false,
     [](IQV_JavaVM& vm, FakeJni&) { return vm.NewGlobalRef(&g_out, nullptr); }},
    {"NewString, out", E_FAIL, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.NewString(nullptr, L"x"); }},
    {"NewString, text", E_FAIL, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.NewString(&g_out, nullptr); }},
    {"GetStringLength, out", E_FAIL, false,
     [](IQV_JavaVM& vm, FakeJni& jni) { return vm.GetStringLength(nullptr, jni.GivenString(L"x")); }},
    {"GetStringLength, string", E_FAIL, false,
     [](IQV_JavaVM& vm, FakeJni&) { return vm.GetStringLength(&g_length, nullptr); }},
    {"GetStringChars, buffer", E_FAIL, false,
     [](IQV_JavaVM& vm, FakeJni& jni) { return vm.GetStringChars(nullptr, nullptr, jni.GivenString(L"x")); }},
    {"GetStringChars, string", E_FAIL, false,
     [](IQV_JavaVM& vm, FakeJni&) { return vm.GetStringChars(g_buffer, nullptr, nullptr); }},
    {"GetStringValue, out", E_FAIL, false,
     [](IQV_JavaVM& vm, FakeJni& jni) { return vm.GetStringValue(nullptr, jni.GivenString(L"x")); }},
    {"GetStringValue, string", E_FAIL, false,
     [](IQV_JavaVM& vm, FakeJni&) { return vm.GetStringValue(&g_text, nullptr); }},
    {"NewObject, out", E_FAIL, false,
     [](IQV_JavaVM& vm, FakeJni& jni) { return vm.NewObject(nullptr, jni.GivenClass("a/B"), "()"); }},
    {"NewObject, class", E_FAIL, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.NewObject(&g_out, nullptr, "()"); }},
    {"NewObject, signature", E_FAIL, false,
     [](IQV_JavaVM& vm, FakeJni& jni) { return vm.NewObject(&g_out, jni.GivenClass("a/B"), nullptr); }},
    {"NewDefaultObject, out", E_FAIL, false,
     [](IQV_JavaVM& vm, FakeJni& jni) { return vm.NewDefaultObject(nullptr, jni.GivenClass("a/B")); }},
    {"NewDefaultObject, class", E_FAIL, false,
     [](IQV_JavaVM& vm, FakeJni&) { return vm.NewDefaultObject(&g_out, nullptr); }},
    {"NewStringArray, out", E_INVALIDARG, false,
     [](IQV_JavaVM& vm, FakeJni&) { return vm.NewStringArray(nullptr, 1); }},
    {"SetObjectArrayElement, array", E_FAIL, true,
     [](IQV_JavaVM& vm, FakeJni&) { return vm.SetObjectArrayElement(nullptr, 0, nullptr); }},
    {"NewByteArray, out", E_INVALIDARG, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.NewByteArray(nullptr, 1); }},
    {"GetByteArrayData, array", E_FAIL, true,
     [](IQV_JavaVM& vm, FakeJni&) { return vm.GetByteArrayData(nullptr, 0, 1, g_bytes); }},
    {"GetByteArrayData, array, no bytes wanted", E_FAIL, true,
     [](IQV_JavaVM& vm, FakeJni&) { return vm.GetByteArrayData(nullptr, 0, 0, g_bytes); }},
    {"GetByteArrayData, bytes", E_FAIL, true,
     [](IQV_JavaVM& vm, FakeJni& jni) { return vm.GetByteArrayData(jni.GivenBytes({1}), 0, 1, nullptr); }},
    {"SetByteArrayData, array", E_FAIL, true,
     [](IQV_JavaVM& vm, FakeJni&) { return vm.SetByteArrayData(nullptr, 0, g_bytes, 1); }},
    {"SetByteArrayData, bytes", E_FAIL, true,
     [](IQV_JavaVM& vm, FakeJni& jni) { return vm.SetByteArrayData(jni.GivenBytes({1}), 0, nullptr, 1); }},
    {"GetJNIEnv", E_INVALIDARG, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.GetJNIEnv(nullptr); }},
    {"GetJDKLocation", E_INVALIDARG, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.GetJDKLocation(nullptr); }},
    {"GetJREBinLocation", E_INVALIDARG, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.GetJREBinLocation(nullptr); }},
    {"GetLogFileName", E_INVALIDARG, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.GetLogFileName(nullptr); }},
    {"IsJVMCreated", E_INVALIDARG, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.IsJVMCreated(nullptr); }},
    {"GetClassPath", E_INVALIDARG, false, [](IQV_JavaVM& vm, FakeJni&) { return vm.GetClassPath(nullptr); }},
};

using NullArguments = BridgeTest;

TEST_F(NullArguments, NothingIsCalledInJava) {
  for (const bool created : {true, false}) {
    for (const NullCase& row : kCases) {
      SCOPED_TRACE(row.name);
      SetCreated(created);
      g_out = &g_out;
      g_length = -1;
      g_buffer[0] = L'x';
      g_text = reinterpret_cast<IQvString*>(&g_text);
      EXPECT_EQ(row.call(Api(), Jni()), row.status);
      EXPECT_EQ(Log(), Lines{});
      EXPECT_EQ(ObjectRecord(), row.record ? Record(kInternal, -1001) : kNoRecord);
      const std::string name = row.name;
      const bool outGiven = name == "FindClass, name" || name == "NewGlobalRef, reference" ||
                            name == "NewString, text" || name == "NewObject, class" || name == "NewObject, signature" ||
                            name == "NewDefaultObject, class";
      EXPECT_EQ(g_out, outGiven ? nullptr : &g_out);
      EXPECT_EQ(g_length, name == "GetStringLength, string" ? 0 : -1);
      EXPECT_EQ(g_buffer[0], name == "GetStringChars, string" ? L'\0' : L'x');
      EXPECT_EQ(g_text == nullptr, name == "GetStringValue, string");
      Renew();
    }
  }
}

TEST_F(NullArguments, TheVersionIsAskedForAndThenHasNowhereToGo) {
  SetCreated(true);
  Java().properties[L"java.version"] = L"17";
  EXPECT_EQ(Api().GetJavaVersion(nullptr), E_FAIL);
  const Lines log = Log();
  EXPECT_NE(std::find(log.begin(), log.end(),
                      "CallStaticObjectMethodV(java/lang/System, getProperty(Ljava/lang/String;)Ljava/lang/String;, "
                      "\"java.version\")"),
            log.end());
  SetCreated(false);
  EXPECT_EQ(Api().GetJavaVersion(nullptr), E_FAIL);
}

// -- without an environment --

struct BareCase {
  size_t slot;
  std::function<int32_t(IQV_JavaVM&, FakeJni&)> call;
};

const BareCase kBare[] = {
    {8, [](IQV_JavaVM& vm, FakeJni& jni) { return vm.DeleteLocalRef(jni.GivenObject("it")); }},
    {9, [](IQV_JavaVM& vm, FakeJni& jni) { return vm.DeleteLocalRef2(jni.GivenObject("it")); }},
    {10, [](IQV_JavaVM& vm, FakeJni& jni) { return vm.DeleteLocalRef3(jni.GivenObject("it")); }},
    {11, [](IQV_JavaVM& vm, FakeJni& jni) { return vm.DeleteGlobalRef(jni.GivenObject("it")); }},
    {13, [](IQV_JavaVM& vm, FakeJni& jni) { return vm.NewGlobalRef(&g_out, jni.GivenObject("it")); }},
    {14, [](IQV_JavaVM& vm, FakeJni&) { return vm.NewString(&g_out, L"x"); }},
    {15, [](IQV_JavaVM& vm, FakeJni& jni) { return vm.GetStringLength(&g_length, jni.GivenString(L"x")); }},
    {16, [](IQV_JavaVM& vm, FakeJni& jni) { return vm.GetStringChars(g_buffer, nullptr, jni.GivenString(L"x")); }},
    {17, [](IQV_JavaVM& vm, FakeJni& jni) { return vm.GetStringValue(&g_text, jni.GivenString(L"x")); }},
    {18, [](IQV_JavaVM& vm, FakeJni& jni) { return vm.NewObject(&g_out, jni.GivenClass("a/B"), "()"); }},
    {19, [](IQV_JavaVM& vm, FakeJni& jni) { return vm.NewDefaultObject(&g_out, jni.GivenClass("a/B")); }}};

TEST_F(NullArguments, WithoutAnEnvironmentTheReferenceAndStringOperationsFailAndLeaveTheRecord) {
  for (const BareCase& row : kBare) {
    SCOPED_TRACE(SlotName(row.slot));
    for (const bool record : {false, true}) {
      TakeEnvironmentAway();
      if (record) GiveObjectRecord(L"from before", 7);
      g_out = &g_out;
      g_length = -1;
      g_buffer[0] = L'x';
      g_text = reinterpret_cast<IQvString*>(&g_text);
      EXPECT_EQ(row.call(Api(), Jni()), E_FAIL);
      EXPECT_EQ(Log(), (Lines{SlotLine(row.slot), kEnvironment}));
      EXPECT_EQ(ObjectRecord(), record ? Record(L"from before", 7) : kNoRecord);
      const bool givesReference = row.slot == 13 || row.slot == 14 || row.slot == 18 || row.slot == 19;
      EXPECT_EQ(g_out == nullptr, givesReference);
      EXPECT_EQ(g_length, row.slot == 15 ? 0 : -1);
      EXPECT_EQ(g_buffer[0], row.slot == 16 ? L'\0' : L'x');
      EXPECT_EQ(g_text == nullptr, row.slot == 17);
      Renew();
    }
  }
}

}  // namespace

}  // namespace qvtest
