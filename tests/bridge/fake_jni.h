// A Java VM made of function tables that record every call with its arguments, for tests of whatever calls JNI.
// One FakeJni is one attached thread's environment. References are identifiable: each stands for a labelled thing, and
// using one that was deleted, or another thread's, fails the test. Every entry that has no behaviour here fails the
// test with its name. Faults make the Nth call of a function give null or leave an exception pending.
// Positive controls: fake_jni_tests.cpp.
#pragma once

#include <windows.h>

#include <jni.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "tests/support/pinned.h"

namespace qvtest {

class FakeJni;
class FakeVm;

// What a reference stands for.
struct FakeThing {
  enum class Kind { Class, Object, String, Throwable, ObjectArray, ByteArray };
  Kind kind = Kind::Object;
  std::string label;  // as it stands in the log
  std::wstring text;  // of a string: its characters; of a throwable: what its toString gives
  bool toStringIsNull = false;
  std::vector<std::shared_ptr<FakeThing>> elements;
  std::vector<jbyte> bytes;
};
using Thing = std::shared_ptr<FakeThing>;

struct FakeReference {
  Thing thing;
  FakeJni* owner;  // null: a global reference
  bool live = true;
};

struct FakeMember {
  std::string name;
  std::string signature;
};

enum class Fault {
  None,
  Null,   // null or 0 comes back, and no exception
  Throw,  // an exception is pending afterwards; look-ups and makers give null, calls their answer
};

struct ReferenceCounts {
  int localsMade = 0;
  int localsDeleted = 0;
  int globalsMade = 0;
  int globalsDeleted = 0;
};

// One thread's environment.
class FakeJni : public JNIEnv_, private Pinned {
 public:
  explicit FakeJni(FakeVm& vm);

  [[nodiscard]] FakeVm& Vm() const { return m_vm; }
  [[nodiscard]] DWORD ThreadId() const { return m_threadId; }

  // References that somebody got earlier: alive, but not among the counts.
  jclass GivenClass(const std::string& name);
  jobject GivenObject(const std::string& label);
  jstring GivenString(const std::wstring& text);
  jobjectArray GivenArray(size_t length);
  jbyteArray GivenBytes(std::vector<jbyte> bytes);

  // What a behaviour hands out; counted.
  jobject NewLocal(const Thing& thing);

  // The exception that is pending, null for none.
  void SetPending(const Thing& throwable) { m_pending = throwable; }
  [[nodiscard]] const Thing& Pending() const { return m_pending; }

 private:
  FakeVm& m_vm;
  DWORD m_threadId;
  Thing m_pending;
};

// A reference as what a call gives; null is zero whatever the type is.
jvalue ValueOf(jobject reference);

// The exception `label` whose toString gives `text`.
Thing Throwable(const std::string& label, const std::wstring& text);
Thing Text(const std::wstring& text);
Thing Class(const std::string& name);
Thing Object(const std::string& label);

class FakeVm : public JavaVM_, private Pinned {
 public:
  FakeVm();

  // The calling thread's environment; attaches without a trace when there is none.
  FakeJni& Here();

  // -- the world --

  // What FindClass knows; anything else leaves java.lang.NoClassDefFoundError pending.
  std::set<std::string> classes;
  // What a class loader's loadClass knows, in dotted names; anything else is a java.lang.ClassNotFoundException.
  std::set<std::string> loaderClasses;
  std::map<std::wstring, std::wstring> properties;
  // Look-ups of these names leave java.lang.NoSuchMethodError or java.lang.NoSuchFieldError pending.
  std::set<std::string> missingMembers;
  // What a method gives, by its name. toString, loadClass, toURL and getProperty are there from the start.
  using Answer = std::function<jvalue(FakeJni& jni, const Thing& target, const std::vector<jvalue>& arguments)>;
  std::map<std::string, Answer> answers;
  // What AttachCurrentThread returns.
  jint attachResult = JNI_OK;
  // AttachCurrentThread succeeds without an environment.
  bool attachGivesNoEnvironment = false;

  // -- faults --

  // The n-th call of the function from now on, on whichever thread.
  void FailAt(const std::string& function, int n, Fault fault);
  [[nodiscard]] bool FaultFired() const { return m_faultFired; }

  // -- the record --

  void Record(const std::string& line);
  // Everything recorded since the last time, or since Reset.
  std::vector<std::string> TakeLog();
  [[nodiscard]] ReferenceCounts Counts() const;
  // Characters and elements that were handed out and not released.
  [[nodiscard]] size_t Pinned() const;
  // References that are alive now, by label, given ones and globals included.
  std::vector<std::string> LiveReferences() const;

  // The world, faults, record and counts as in the beginning; every reference is gone. Threads stay attached.
  void Reset();

  // For the function tables:
  struct Entered {
    FakeJni& jni;
    Fault fault;
  };
  Entered Enter(JNIEnv* env, const std::string& function, const std::string& arguments);
  // What a reference stands for; fails the test when this environment may not use it.
  Thing Look(JNIEnv* env, const void* reference, const std::string& function);
  // A null owner makes a global reference.
  jobject Make(FakeJni* owner, const Thing& thing, bool counted);
  void Delete(JNIEnv* env, void* reference, bool global);
  // The id of a member; the same for the same name and signature.
  FakeMember* Member(const std::string& name, const std::string& signature);
  std::string Label(const void* reference) const;
  // A block with this content, to be given back with Unpin.
  void* Pin(std::vector<char> content);
  // The content as it is now; fails the test when it was never handed out or when something wrote past its end.
  std::vector<char> Unpin(const void* content, const std::string& function);
  jint Attach(void** env);
  jint Detach();

 private:
  struct Pinning {
    std::unique_ptr<char[]> block;
    size_t size;
  };

  mutable std::mutex m_mutex;
  std::map<DWORD, std::unique_ptr<FakeJni>> m_threads;
  std::vector<std::unique_ptr<FakeJni>> m_ended;
  std::deque<FakeReference> m_references;  // never moved: their addresses are the handles
  std::unordered_set<const void*> m_handles;
  std::deque<FakeMember> m_members;
  std::vector<Pinning> m_pinned;
  std::vector<std::string> m_log;
  std::string m_faultFunction;
  int m_callsToFault = 0;
  Fault m_fault = Fault::None;
  bool m_faultFired = false;
  ReferenceCounts m_counts;
};

const JNINativeInterface_* FakeJniTable();
const JNIInvokeInterface_* FakeVmTable();
std::map<std::string, FakeVm::Answer> StandardAnswers();

// The names of JNI's function table in order, without the four reserved places in front. For messages.
extern const char* const kJniNames[];
extern const size_t kJniNameCount;

// Functions that a fault can be put on, because the real ones can fail: with which kinds.
bool CanGiveNull(const std::string& function);
bool CanThrow(const std::string& function);

}  // namespace qvtest
