// The VM behind the function tables: references, the record, faults, threads.
#include "tests/bridge/fake_jni.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/support/text.h"

namespace qvtest {
namespace {

constexpr char kCanary = 0x5A;
constexpr size_t kCanaryBytes = 32;

bool LegalWhilePending(const std::string& function) {
  static const std::set<std::string> legal = {"ExceptionOccurred",  "ExceptionCheck",          "ExceptionDescribe",
                                              "ExceptionClear",     "DeleteLocalRef",          "DeleteGlobalRef",
                                              "ReleaseStringChars", "ReleaseByteArrayElements"};
  return legal.contains(function);
}

std::string Shorten(const std::wstring& text) {
  constexpr size_t kLongest = 60;
  if (text.size() <= kLongest) return '"' + ToUtf8(text) + '"';
  return '"' + ToUtf8(text.substr(0, 8)) + "...\"[" + std::to_string(text.size()) + "]";
}

Thing MakeThing(FakeThing::Kind kind, std::string label, std::wstring text = {}) {
  auto thing = std::make_shared<FakeThing>();
  thing->kind = kind;
  thing->label = std::move(label);
  thing->text = std::move(text);
  return thing;
}

}  // namespace

bool CanGiveNull(const std::string& function) {
  static const std::set<std::string> able = {"FindClass",        "GetMethodID",       "GetStaticMethodID",
                                             "GetStaticFieldID", "NewObject",         "NewObjectV",
                                             "CallObjectMethod", "CallObjectMethodV", "NewString",
                                             "NewGlobalRef",     "GetStringChars",    "CallStaticObjectMethodV",
                                             "NewByteArray",     "NewObjectArray",    "GetByteArrayElements"};
  return able.contains(function);
}

bool CanThrow(const std::string& function) {
  return CanGiveNull(function) || function == "SetObjectArrayElement" || function.starts_with("Call");
}

jvalue ValueOf(jobject reference) {
  jvalue value;
  value.l = reference;  // as wide as the widest
  return value;
}

Thing Throwable(const std::string& label, const std::wstring& text) {
  return MakeThing(FakeThing::Kind::Throwable, label, text);
}
Thing Text(const std::wstring& text) { return MakeThing(FakeThing::Kind::String, Shorten(text), text); }
Thing Class(const std::string& name) { return MakeThing(FakeThing::Kind::Class, name); }
Thing Object(const std::string& label) { return MakeThing(FakeThing::Kind::Object, label); }

FakeJni::FakeJni(FakeVm& vm) : JNIEnv_{FakeJniTable()}, m_vm(vm), m_threadId(GetCurrentThreadId()) {}

jobject FakeJni::NewLocal(const Thing& thing) { return m_vm.Make(this, thing, true); }
jclass FakeJni::GivenClass(const std::string& name) { return static_cast<jclass>(m_vm.Make(this, Class(name), false)); }
jobject FakeJni::GivenObject(const std::string& label) { return m_vm.Make(this, Object(label), false); }
jstring FakeJni::GivenString(const std::wstring& text) {
  return static_cast<jstring>(m_vm.Make(this, Text(text), false));
}
jobjectArray FakeJni::GivenArray(size_t length) {
  const Thing array = MakeThing(FakeThing::Kind::ObjectArray, "array");
  array->elements.resize(length);
  return static_cast<jobjectArray>(m_vm.Make(this, array, false));
}
jbyteArray FakeJni::GivenBytes(std::vector<jbyte> bytes) {
  const Thing array = MakeThing(FakeThing::Kind::ByteArray, "bytes");
  array->bytes = std::move(bytes);
  return static_cast<jbyteArray>(m_vm.Make(this, array, false));
}

FakeVm::FakeVm() : JavaVM_{FakeVmTable()} { Reset(); }

FakeJni& FakeVm::Here() {
  const std::lock_guard guard(m_mutex);
  std::unique_ptr<FakeJni>& jni = m_threads[GetCurrentThreadId()];
  if (!jni) jni = std::make_unique<FakeJni>(*this);
  return *jni;
}

jint FakeVm::Attach(void** env) {
  Record("AttachCurrentThread()");
  if (attachResult != JNI_OK) return attachResult;
  *env = attachGivesNoEnvironment ? nullptr : &Here();
  return JNI_OK;
}

jint FakeVm::Detach() {
  Record("DetachCurrentThread()");
  const std::lock_guard guard(m_mutex);
  const auto found = m_threads.find(GetCurrentThreadId());
  if (found == m_threads.end()) return JNI_ERR;
  m_ended.push_back(std::move(found->second));
  m_threads.erase(found);
  return JNI_OK;
}

void FakeVm::FailAt(const std::string& function, int n, Fault fault) {
  const std::lock_guard guard(m_mutex);
  m_faultFunction = function;
  m_callsToFault = n;
  m_fault = fault;
  m_faultFired = false;
}

void FakeVm::Record(const std::string& line) {
  const std::lock_guard guard(m_mutex);
  m_log.push_back(line);
}

std::vector<std::string> FakeVm::TakeLog() {
  const std::lock_guard guard(m_mutex);
  return std::exchange(m_log, {});
}

ReferenceCounts FakeVm::Counts() const {
  const std::lock_guard guard(m_mutex);
  return m_counts;
}

size_t FakeVm::Pinned() const {
  const std::lock_guard guard(m_mutex);
  return m_pinned.size();
}

std::vector<std::string> FakeVm::LiveReferences() const {
  const std::lock_guard guard(m_mutex);
  std::vector<std::string> labels;
  for (const FakeReference& reference : m_references) {
    if (reference.live) labels.push_back((reference.owner == nullptr ? "global " : "") + reference.thing->label);
  }
  return labels;
}

void FakeVm::Reset() {
  const std::lock_guard guard(m_mutex);
  classes = {"java/lang/String",        "java/lang/Throwable", "java/lang/System",
             "java/net/URLClassLoader", "java/net/URL",        "java/io/File"};
  loaderClasses.clear();
  properties.clear();
  missingMembers.clear();
  answers = StandardAnswers();
  attachResult = JNI_OK;
  attachGivesNoEnvironment = false;
  for (FakeReference& reference : m_references) reference.live = false;
  for (auto& [id, jni] : m_threads) jni->SetPending(nullptr);
  m_pinned.clear();
  m_log.clear();
  m_fault = Fault::None;
  m_faultFired = false;
  m_counts = {};
}

FakeVm::Entered FakeVm::Enter(JNIEnv* env, const std::string& function, const std::string& arguments) {
  auto& jni = *static_cast<FakeJni*>(env);
  if (jni.ThreadId() != GetCurrentThreadId()) ADD_FAILURE() << function << " with another thread's environment";
  const std::lock_guard guard(m_mutex);
  const bool illegal = jni.Pending() != nullptr && !LegalWhilePending(function);
  m_log.push_back(function + "(" + arguments + ")" + (illegal ? " !pending" : ""));
  Fault fault = Fault::None;
  if (m_fault != Fault::None && function == m_faultFunction && --m_callsToFault == 0) {
    fault = m_fault;
    m_faultFired = true;
  }
  return {jni, fault};
}

Thing FakeVm::Look(JNIEnv* env, const void* reference, const std::string& function) {
  const std::lock_guard guard(m_mutex);
  if (!m_handles.contains(reference)) {
    ADD_FAILURE() << function << ": " << reference << " is not a reference";
    return Object("?");
  }
  const auto& known = *static_cast<const FakeReference*>(reference);
  if (!known.live) {
    ADD_FAILURE() << function << ": the reference to " << known.thing->label << " was deleted before";
  } else if (known.owner != nullptr && known.owner != env) {
    ADD_FAILURE() << function << ": the reference to " << known.thing->label << " is another thread's";
  }
  return known.thing;
}

std::string FakeVm::Label(const void* reference) const {
  if (reference == nullptr) return "null";
  const std::lock_guard guard(m_mutex);
  if (!m_handles.contains(reference)) return "?";
  const auto& known = *static_cast<const FakeReference*>(reference);
  return (known.owner == nullptr ? "global " : "") + known.thing->label;
}

jobject FakeVm::Make(FakeJni* owner, const Thing& thing, bool counted) {
  const std::lock_guard guard(m_mutex);
  if (counted) ++(owner != nullptr ? m_counts.localsMade : m_counts.globalsMade);
  m_references.push_back({thing, owner});
  m_handles.insert(&m_references.back());
  return reinterpret_cast<jobject>(&m_references.back());
}

void FakeVm::Delete(JNIEnv* env, void* reference, bool global) {
  if (reference == nullptr) return;
  const Thing thing = Look(env, reference, global ? "DeleteGlobalRef" : "DeleteLocalRef");
  const std::lock_guard guard(m_mutex);
  auto* const known = static_cast<FakeReference*>(reference);
  if ((known->owner == nullptr) != global) ADD_FAILURE() << thing->label << ": deleted as the wrong kind of reference";
  known->live = false;
  ++(global ? m_counts.globalsDeleted : m_counts.localsDeleted);
}

FakeMember* FakeVm::Member(const std::string& name, const std::string& signature) {
  const std::lock_guard guard(m_mutex);
  for (FakeMember& known : m_members) {
    if (known.name == name && known.signature == signature) return &known;
  }
  m_members.push_back({name, signature});
  return &m_members.back();
}

void* FakeVm::Pin(std::vector<char> content) {
  const size_t size = content.size();
  content.resize(size + kCanaryBytes, kCanary);
  content.resize(content.size() + sizeof(wchar_t));  // whoever reads on for a null stops here
  Pinning pinning{std::make_unique<char[]>(content.size()), size};
  std::copy(content.begin(), content.end(), pinning.block.get());
  void* const address = pinning.block.get();
  const std::lock_guard guard(m_mutex);
  m_pinned.push_back(std::move(pinning));
  return address;
}

std::vector<char> FakeVm::Unpin(const void* content, const std::string& function) {
  const std::lock_guard guard(m_mutex);
  const auto found = std::find_if(m_pinned.begin(), m_pinned.end(),
                                  [&](const Pinning& pinning) { return pinning.block.get() == content; });
  if (found == m_pinned.end()) {
    ADD_FAILURE() << function << ": this was never handed out, or released before";
    return {};
  }
  const char* const end = found->block.get() + found->size;
  if (std::any_of(end, end + kCanaryBytes, [](char unit) { return unit != kCanary; })) {
    ADD_FAILURE() << function << ": something wrote past the end";
  }
  std::vector<char> bytes(found->block.get(), found->block.get() + found->size);
  m_pinned.erase(found);
  return bytes;
}

}  // namespace qvtest
