// A random walk over the operations of the service on one host thread, with a model of what each must give: status,
// value, error record, pending exception. Every operation is checked at once; one that gives anything else is
// reported with all that replays it.
// The walker keeps to what the interface and JNI define: references are of the right kind and alive, and with an
// exception pending only what JNI allows then is called.
#pragma once

#include <jni.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "qvjvm/qvjvm.h"
#include "tests/support/random.h"

namespace qvtest {

// What all walkers share. The references are global ones.
struct World {
  IQV_JavaVM* shared = nullptr;  // one object that every thread uses at times
  QV_CreateJavaVMFn create = nullptr;
  qv_jclass echo = nullptr;
  qv_jclass faults = nullptr;
  qv_jclass soak = nullptr;
  qv_jclass tracked = nullptr;
  qv_jclass texts = nullptr;
  qv_jclass string = nullptr;
  qv_jclass integer = nullptr;
  qv_jclass number = nullptr;
  qv_jobject echoObject = nullptr;
  qv_jobject faultsObject = nullptr;
  qv_jobject integerObject = nullptr;
  std::wstring classPath;
  std::wstring javaVersion;
  std::wstring logs[2];

  std::atomic<uint64_t> progress = 0;  // operations done
  std::atomic<uint64_t> failed = 0;
  std::array<std::atomic<uint64_t>, QV_SLOT_COUNT> used{};  // by slot
  std::mutex lock;
  std::vector<std::string> failures;  // the first ones
  std::vector<class Walker*> walkers;
};

// A text, or how it begins where the runtimes differ.
struct Expected {
  std::wstring text;
  bool whole = true;
  int32_t code = 0;
};

// A reference that the walker holds, and what is behind it.
struct Held {
  enum class Kind { String, Bytes, Strings, Tracked };
  qv_jobject reference = nullptr;
  Kind kind = Kind::String;
  bool global = false;
  std::wstring text{};
  std::vector<int8_t> bytes{};
  std::vector<std::optional<std::wstring>> elements{};
  int32_t id = 0;
};

// The two slots of a primitive type. Echo has a method of the type's name that gives its argument back, and Faults one
// of the same name without an argument that throws that name.
template <class Value>
struct ValueCalls {
  using Call = int32_t (IQV_JavaVM::*)(Value*, qv_jclass, qv_jobject, const char*, const char*, ...) noexcept;
  int slot;
  std::array<Call, 2> calls;
  const char* type;
  char letter;
};

class Walker {
 public:
  // `origin` names the seed, the thread and which of its lives this is.
  Walker(World& world, uint64_t seed, std::string origin);
  ~Walker();
  Walker(const Walker&) = delete;
  Walker& operator=(const Walker&) = delete;

  // So many operations, with a service object of its own, made here and released at the end.
  void Walk(uint32_t operations);
  // The operation it is in.
  [[nodiscard]] std::string Where() const;

 private:
  friend struct OperationRow;
  using Kind = Held::Kind;

  // -- the frame of an operation --
  void Step();
  // Which operation with which arguments; for the report.
  [[gnu::format(gnu_printf, 3, 4)]] void Begin(int slot, const char* format, ...);
  bool Is(bool right, const char* what);
  void StatusIs(int32_t status, int32_t wanted);
  void Verify();
  void Drop(std::vector<Held>& held, size_t index);
  void NewFrame();

  // -- the model of the own object --
  [[nodiscard]] bool OnOwn() const { return m_vm == m_own; }
  // An exception that no prologue would clear: Java must not be called.
  [[nodiscard]] bool Blocked() const { return OnOwn() && m_pending && !m_record; }
  // What every typed call and array operation does first.
  void Prologue();
  void Succeeds(int32_t status) { StatusIs(status, QV_S_OK); }
  void Fails(int32_t status, Expected record);
  void Rejects(int32_t status);
  void FailsSilently(int32_t status) { StatusIs(status, QV_E_FAIL); }
  void LeavesPending(const std::wstring& text, bool whole);
  void NothingPending() { m_pending.reset(); }

  // -- things to work with --
  std::wstring RandomText();
  [[nodiscard]] Held* Pick(Kind kind);
  Held& Some(Kind kind);
  Held& Keep(Held held);
  Held MakeString(const std::wstring& text);
  bool Same(qv_jobject left, qv_jobject right);
  bool TextIs(qv_jstring string, const std::wstring& text);

  // -- identity, lifetime, errors: walk_service.cpp --
  void QueryInterface();
  void AddRefAndRelease();
  void Holds();
  void GetErrorText();
  void GetErrorCode();
  void GetJNIEnv();
  void AcquireThreadEnv();
  void Locations();
  void LogFileName();
  void LogEnabled();
  void IsCreated();
  void GetClassPath();
  void GetJavaVersion();
  void Destroy();
  void ExceptionClear();
  void CaptureException();

  // -- references, strings, objects, arrays: walk_references.cpp --
  template <class Out, class Call>
  void WithNull(int slot, const Out* out, Call&& call);
  void Delete(int slot, int32_t (IQV_JavaVM::*call)(qv_jobject) noexcept, std::vector<Held>& held);
  int32_t RandomCount(size_t bytes);
  void CastReference();
  void DeleteLocal();
  void DeleteGlobal();
  void FindClass();
  void NewGlobal();
  void NewString();
  void GetStringLength();
  void GetStringChars();
  void GetStringValue();
  void NewObject();
  void NewDefaultObject();
  void NewStringArray();
  void SetObjectArrayElement();
  void NewByteArray();
  void GetBytes();
  void SetBytes();
  void Track();

  // -- typed calls: walk_calls.cpp --
  struct Target;
  template <class Value, class Call, class Check>
  void CallTyped(int slot, const Target& right, const std::string& what, const Target& throwing, const wchar_t* thrown,
                 const Target& missing, Call&& call, Check&& check);
  Target MissingMethod();
  void IsAndGoes(qv_jobject result, qv_jobject expected);
  template <class Value>
  void GetField(int slot, int32_t (IQV_JavaVM::*get)(Value*, qv_jclass, const char*) noexcept,
                std::initializer_list<std::pair<const char*, Value>> fields,
                std::initializer_list<const char*> missing);
  template <class Value, class Passed>
  void CallValue(const ValueCalls<Value>& calls, Passed passed, Value expected);
  void CallInt();
  void CallShort();
  void CallFloat();
  void CallDouble();
  void CallByte();
  void CallVoid();
  void CallObject();
  void CallBoolean();
  void CallLong();
  void CallStaticBoolean();
  void CallStaticObject();
  void CallStaticVoid();
  void GetStaticInt();
  void GetStaticShort();
  void ThrowText();

  World& m_world;
  Random m_random;
  std::string m_origin;
  IQV_JavaVM* m_own = nullptr;
  IQV_JavaVM* m_vm = nullptr;  // of this operation: the own object or the shared one
  JNIEnv* m_env = nullptr;
  std::vector<Held> m_locals;
  std::vector<Held> m_globals;
  std::optional<Expected> m_record;
  bool m_recordIsNew = false;
  std::optional<Expected> m_pending;
  uint32_t m_references = 1;
  uint32_t m_step = 0;
  int m_slot = -1;
  char m_arguments[200] = "";
};

}  // namespace qvtest
