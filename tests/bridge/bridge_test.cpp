// The service joins the recorded VM in the ordinary way: its look for existing VMs finds that one.
#include "tests/bridge/bridge_test.h"

namespace qvtest {
namespace {

FakeVm* g_created = nullptr;

jint JNICALL GetCreatedJavaVMs(JavaVM** vms, jsize capacity, jsize* count) {
  EXPECT_GE(capacity, 1);
  vms[0] = g_created;
  *count = 1;
  return JNI_OK;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const RecordView& record) {
  if (!record.exists) return out << "no record";
  return out << "record \"" << ToUtf8(record.text) << "\", code " << record.code;
}

RecordView Record(const std::wstring& text, int32_t code) { return {true, text, code}; }

RecordView ViewOf(const ErrorRecord* record) {
  if (record == nullptr) return kNoRecord;
  return {true, record->text, record->code};
}

Lines CaptureOf(const std::string& throwable, const std::string& text) {
  const std::string string = '"' + text + '"';
  return {"slot 59 CaptureException", "ExceptionOccurred()", "ExceptionDescribe()", "slot 12 FindClass", kEnvironment,
          "slot 58 ExceptionClear", "ExceptionClear()", "FindClass(\"java/lang/Throwable\")",
          "GetMethodID(java/lang/Throwable, \"toString\", \"()Ljava/lang/String;\")",
          "CallObjectMethod(" + throwable + ", toString()Ljava/lang/String;)",
          // how long it is
          "slot 15 GetStringLength", kEnvironment, "GetStringLength(" + string + ")",
          // the text itself
          "slot 16 GetStringChars", kEnvironment, "slot 15 GetStringLength", kEnvironment,
          "GetStringLength(" + string + ")", "GetStringChars(" + string + ")",
          "ReleaseStringChars(" + string + ", characters)", "slot 58 ExceptionClear", "ExceptionClear()"};
}

Lines Entered(size_t slot) { return {SlotLine(slot), kEnvironment}; }

Lines DirectLookup(const std::string& name) {
  return {"slot 12 FindClass", kEnvironment, "slot 58 ExceptionClear", "ExceptionClear()",
          "FindClass(\"" + name + "\")"};
}

// The path becomes a string, a file, a URL and an element; the references go, the URL's first.
Lines UrlLines(const std::string& path, int index) {
  const std::string string = '"' + path + '"';
  const std::string file = "java/io/File(" + string + ")";
  const std::string url = "url(" + file + ")";
  return Entered(14) + Lines{"NewString(" + string + ", " + std::to_string(path.size()) + ")"} + Entered(18) +
         Lines{"GetMethodID(java/io/File, \"<init>\", \"(Ljava/lang/String;)V\")",
               "NewObjectV(java/io/File, <init>(Ljava/lang/String;)V, " + string + ")"} +
         Entered(32) +
         Lines{"GetMethodID(java/io/File, \"toURL\", \"()Ljava/net/URL;\")",
               "CallObjectMethodV(" + file + ", toURL()Ljava/net/URL;)"} +
         kNothingPending + Lines{"SetObjectArrayElement(array, " + std::to_string(index) + ", " + url + ")"} +
         Deleted(url) + Deleted(file) + Deleted(string);
}

Lines MakeLoaderLines() {
  return Entered(18) +
         Lines{"GetMethodID(java/net/URLClassLoader, \"<init>\", \"([Ljava/net/URL;)V\")",
               "NewObjectV(java/net/URLClassLoader, <init>([Ljava/net/URL;)V, array)"} +
         Entered(13) + Lines{"NewGlobalRef(java/net/URLClassLoader(array))"} + Deleted("array") +
         Deleted("java/net/URLClassLoader(array)");
}

Lines LoaderLookup(const std::string& dotted, bool loader) {
  const std::string string = '"' + dotted + '"';
  const Lines asked = {"slot 14 NewString",
                       kEnvironment,
                       "NewString(" + string + ", " + std::to_string(dotted.size()) + ")",
                       "FindClass(\"java/net/URLClassLoader\")",
                       "slot 33 CallObjectMethod2",
                       kEnvironment};
  if (!loader) return asked;
  return asked + Lines{"GetMethodID(java/net/URLClassLoader, \"loadClass\", \"(Ljava/lang/String;)Ljava/lang/Class;\")",
                       "CallObjectMethodV(global java/net/URLClassLoader(array), "
                       "loadClass(Ljava/lang/String;)Ljava/lang/Class;, " +
                           string + ")"};
}

Lines CharactersOf(const std::string& string) {
  return {"GetStringLength(" + string + ")", "GetStringChars(" + string + ")",
          "ReleaseStringChars(" + string + ", characters)"};
}

Lines Elements(size_t slot, jint releaseMode) {
  return Lines{SlotLine(slot), kEnvironment, "slot 7 CastReference", "GetByteArrayElements(bytes)"} + kNothingPending +
         Lines{"ReleaseByteArrayElements(bytes, " + std::to_string(releaseMode) + ")"} + kNothingPending;
}

Lines Deleted(const std::string& label) {
  return {"slot 8 DeleteLocalRef", kEnvironment, "DeleteLocalRef(" + label + ")"};
}

BridgeTest::BridgeTest() {
  g_created = &m_vm;
  g_pfnGetCreatedJavaVMs = GetCreatedJavaVMs;
  MakeObject();
  // The thread's entry in the registry stays until the service unloads; the books begin behind it.
  EXPECT_NE(m_object->AcquireThreadEnv(), nullptr);
  DropObject();
  m_vm.Reset();
  m_ledger.emplace();
  MakeObject();
}

BridgeTest::~BridgeTest() {
  DropObject();
  EXPECT_EQ(m_vm.Pinned(), 0u) << "characters or elements were not released";
  m_ledger.reset();
  SetCreated(false);
}

void BridgeTest::MakeObject() {
  m_object = new CQV_JNIVMManager();
  if (m_object == nullptr) throw std::bad_alloc();  // a fault that outlived its row
}

void BridgeTest::DropObject() {
  m_slots.reset();
  if (CQV_JNIVMManager* const object = std::exchange(m_object, nullptr)) object->Release();
}

void BridgeTest::Renew() {
  DropObject();
  EXPECT_EQ(m_vm.Pinned(), 0u) << "characters or elements were not released";
  m_vm.Reset();
  MakeObject();
}

void BridgeTest::GiveObjectRecord(const wchar_t* text, int32_t code) {
  m_object->ReplaceErrorRecord(qv::NewErrorRecord(text, code));
}

void BridgeTest::LeavePending(const std::wstring& text) { Jni().SetPending(Throwable("exception", text)); }

SlotTable& BridgeTest::Watch() {
  if (m_slots == nullptr) m_slots = std::make_unique<SlotTable>(m_object, m_vm);
  return *m_slots;
}

void BridgeTest::ServeClassPath(const std::wstring& text, int32_t status) {
  m_classPathCalls = 0;
  Watch().Replace<55>([=, this](void*, IQvString** out) {
    ++m_classPathCalls;
    const int32_t made = QvshrCreateString(text.c_str(), out);
    return made < 0 ? made : status;
  });
}

void BridgeTest::TakeEnvironmentAway() {
  Watch().Replace<QV_SLOT_ACQUIRE_THREAD_ENV>([](void*) { return qv_jnienv{}; });
}

}  // namespace qvtest
