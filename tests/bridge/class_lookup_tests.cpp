// FindClass: the JVM's own look-up, the fallback of a joined JVM, and what the record says after a failure.
#include <algorithm>
#include <clocale>
#include <thread>

#include "tests/bridge/bridge_test.h"

namespace qvtest {
namespace {

class ClassLookup : public BridgeTest {
 protected:
  // An unknown class: E_FAIL and null.
  void ExpectNotFound(const char* name) {
    qv_jclass found = this;
    EXPECT_EQ(Api().FindClass(&found, name), E_FAIL);
    EXPECT_EQ(found, nullptr);
  }
};

TEST_F(ClassLookup, AKnownClassIsFoundDirectlyAndTheRecordIsNotEvenFreed) {
  for (const bool created : {true, false}) {
    SetCreated(created);
    GiveObjectRecord(L"from before", 7);
    LeavePending();
    const ErrorRecord* const before = *Object().RecordSlot();
    qv_jclass found = nullptr;
    Watch();
    EXPECT_EQ(Api().FindClass(&found, "java/lang/String"), S_OK);
    EXPECT_EQ(Java().Label(found), "java/lang/String");
    EXPECT_EQ(Log(), DirectLookup("java/lang/String"));
    EXPECT_EQ(*Object().RecordSlot(), before);
    EXPECT_EQ(ObjectRecord(), Record(L"from before", 7));
    EXPECT_EQ(LocalsLeft(), 1);
    EXPECT_EQ(Jni().Pending(), nullptr) << "an exception from before is dropped";
    Renew();
  }
}

TEST_F(ClassLookup, TheServicesOwnTextIsCutAt511Characters) {
  SetCreated(true);
  // 20 characters before the name and 24 behind it.
  for (const size_t length : {1u, 466u, 467u, 468u, 480u, 491u, 492u, 511u, 512u, 2000u}) {
    SCOPED_TRACE(length);
    const std::string name(length, 'n');
    Java().FailAt("FindClass", 1, Fault::Null);
    ExpectNotFound(name.c_str());
    const std::wstring whole = L"Unable to find java " + std::wstring(length, L'n') + L" class. Check CLASSPATH.";
    EXPECT_EQ(ObjectRecord(), Record(whole.substr(0, 511), 0));
  }
}

TEST_F(ClassLookup, TheErrorIsCapturedThroughSlot59IntoAPointerOfItsOwn) {
  ErrorRecord** where = nullptr;
  SetCreated(true);
  GiveObjectRecord(L"from before", 7);
  Watch().Replace<59>([&](void*, ErrorRecord** record, qv_jnienv) {
    where = record;
    *record = qv::NewErrorRecord(L"from slot 59", 3);
    return int32_t{1};
  });
  ExpectNotFound("no/Such");
  EXPECT_NE(where, Object().RecordSlot());
  EXPECT_EQ(ObjectRecord(), Record(L"from slot 59", 3));
}

TEST_F(ClassLookup, WithoutAnEnvironmentTheRecordSaysSoUnlessThereIsOne) {
  TakeEnvironmentAway();
  ExpectNotFound("java/lang/String");
  EXPECT_EQ(ObjectRecord(), Record(kNoEnvironment, 0));
  EXPECT_EQ(Log(), (Lines{"slot 12 FindClass", kEnvironment, "slot 59 CaptureException"}));
  GiveObjectRecord(L"from before", 7);
  ExpectNotFound("java/lang/String");
  EXPECT_EQ(ObjectRecord(), Record(L"from before", 7));
  EXPECT_EQ(Log(), (Lines{"slot 12 FindClass", kEnvironment}));
}

TEST_F(ClassLookup, TheReasonWhyAThreadIsNotAttachedStays) {
  Java().attachResult = JNI_ERR;
  std::thread([this] { ExpectNotFound("java/lang/String"); }).join();
  EXPECT_EQ(ObjectRecord(), Record(L"Java VM not initialized properly. Cannot proceed!!", 0));
  EXPECT_EQ(Log(), (Lines{"AttachCurrentThread()"}));
}

// -- the fallback of a joined JVM --

class Fallback : public ClassLookup {
 protected:
  // A service object that has its loader already.
  void GiveLoader() {
    ServeClassPath(L"a.jar");
    qv_jclass found = nullptr;
    Java().loaderClasses = {"first.One"};
    EXPECT_EQ(Api().FindClass(&found, "first/One"), S_OK);
    Java().loaderClasses.clear();
    Log();
  }
};

TEST_F(Fallback, ARecordFromBeforeIsFreedAndItsExceptionWithIt) {
  GiveLoader();
  Java().loaderClasses = {"com.acme.Widget"};
  GiveObjectRecord(L"from before");
  qv_jclass found = nullptr;
  EXPECT_EQ(Api().FindClass(&found, "com/acme/Widget"), S_OK);
  EXPECT_EQ(ObjectRecord(), kNoRecord);
}

TEST_F(Fallback, TheNameIsPassedOnWithEverySlashAsADot) {
  GiveLoader();
  for (const auto& [name, dotted] : {std::pair<const char*, const char*>{"Plain", "Plain"},
                                     {"a/b/c$D", "a.b.c$D"},
                                     {"/a//b/", ".a..b."},
                                     {"a.b", "a.b"},
                                     {"[La/b;", "[La.b;"},
                                     {"", ""}}) {
    ExpectNotFound(name);
    EXPECT_EQ(ObjectRecord(), Record(L"java.lang.ClassNotFoundException: " + ToWide(dotted), -1001));
  }
  const std::string longName(5000, '/');
  ExpectNotFound(longName.c_str());
  EXPECT_EQ(ObjectRecord(),
            Record((L"java.lang.ClassNotFoundException: " + std::wstring(5000, L'.')).substr(0, 511), -1001));
}

TEST_F(Fallback, TheNameIsWidenedInTheCurrentCodePageOrCountsAsNoString) {
  GiveLoader();
  ASSERT_NE(std::setlocale(LC_CTYPE, ".932"), nullptr);
  ExpectNotFound("a/\x83\x5C");  // one letter, whose second byte looks like a backslash
  EXPECT_EQ(ObjectRecord(), Record(L"java.lang.ClassNotFoundException: a.\x30BD", -1001));
  Log();
  ExpectNotFound("a/\x83");  // half a letter
  const Lines log = Log();
  EXPECT_EQ(std::find(log.begin(), log.end(), "slot 14 NewString"), log.end());
  // How much of such a name the text shows is left to the C runtime.
  const RecordView record = ObjectRecord();
  EXPECT_TRUE(record.text.starts_with(L"Unable to find java ")) << record;
  EXPECT_TRUE(record.text.ends_with(L" class. Check CLASSPATH.")) << record;
  EXPECT_EQ(record.code, 0);
}

TEST_F(Fallback, Slot33GetsTheCallersPointerEvenWithoutALoader) {
  int calls = 0;
  qv_jclass found = nullptr;
  ServeClassPath(L"");
  Watch().Replace<33>([&](void*, qv_jobject* result, qv_jclass cls, qv_jobject object, const char* name,
                          const char* signature, qv_jobject argument) {
    ++calls;
    EXPECT_EQ(result, &found);
    EXPECT_EQ(Java().Label(cls), "java/net/URLClassLoader");
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(std::string(name) + signature, "loadClass(Ljava/lang/String;)Ljava/lang/Class;");
    EXPECT_EQ(Java().Label(argument), "\"a.B\"");
    *result = nullptr;
    return S_OK;
  });
  EXPECT_EQ(Api().FindClass(&found, "a/B"), E_FAIL);
  EXPECT_EQ(calls, 1);
}

TEST_F(Fallback, AClassThatCameBackCountsAndTheStatusIsThatOfTheBuild) {
  qv_jclass const loaded = Jni().GivenClass("a/B");
  Watch().Replace<33>([&](void*, qv_jobject* result, qv_jclass, qv_jobject, const char*, const char*, qv_jobject) {
    *result = loaded;
    return E_FAIL;
  });
  for (const int32_t status : {0, 5}) {
    ServeClassPath(L"", status);
    qv_jclass found = nullptr;
    EXPECT_EQ(Api().FindClass(&found, "a/B"), status);
    EXPECT_EQ(found, loaded);
  }
}

TEST_F(Fallback, ThroughSlots14And8GoesTheNameAsAString) {
  qv_jobject deleted = nullptr;
  qv_jstring const made = Jni().GivenString(L"replaced");
  GiveLoader();
  Watch().Replace<14>([&](void*, qv_jstring* out, const wchar_t* text) {
    EXPECT_STREQ(text, L"a.B");
    *out = made;
    return S_OK;
  });
  Watch().Replace<8>([&](void*, qv_jobject reference) {
    deleted = reference;
    return S_OK;
  });
  ExpectNotFound("a/B");
  EXPECT_EQ(ObjectRecord(), Record(L"java.lang.ClassNotFoundException: replaced", -1001));
  EXPECT_EQ(deleted, made);
}

}  // namespace
}  // namespace qvtest
